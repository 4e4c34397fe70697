#include "session/waiting.h"

#include <algorithm>
#include <poll.h>

bool Waiting::forDescriptor(int descriptor, short events) const
{
    while (!stopped()) {
        const std::chrono::nanoseconds left = remaining();
        const timespec limit = {0, std::min<std::chrono::nanoseconds>(left, longestBlindness).count()};
        pollfd waited = {descriptor, events, 0};
        if (::ppoll(&waited, 1, &limit, nullptr) > 0)
            return true;
        if (left.count() == 0)
            return false;
    }
    return false;
}
