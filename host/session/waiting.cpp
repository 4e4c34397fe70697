#include "session/waiting.h"

#include <poll.h>

bool Waiting::forDescriptor(int descriptor, short events) const
{
    while (!stopped()) {
        const long long left = remaining().count();
        const timespec limit = {static_cast<time_t>(left / 1000000000), static_cast<long>(left % 1000000000)};
        pollfd waited = {descriptor, events, 0};
        if (::ppoll(&waited, 1, &limit, nullptr) > 0)
            return true;
        if (left == 0)
            return false;
    }
    return false;
}
