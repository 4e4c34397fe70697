#include "session/waiting.h"

#include <poll.h>

bool Waiting::forDescriptor(int descriptor, short events) const
{
    while (!stopped()) {
        const timespec limit = slice();
        pollfd waited = {descriptor, events, 0};
        if (::ppoll(&waited, 1, &limit, nullptr) > 0)
            return true;
        if (limit.tv_nsec == 0)
            return false;
    }
    return false;
}
