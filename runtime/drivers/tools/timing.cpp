#include "timing.h"

#include <cerrno>
#include <ctime>

void HRSleep(unsigned long ms)
{
    timespec wanted;
    wanted.tv_sec = static_cast<time_t>(ms / 1000);
    wanted.tv_nsec = static_cast<long>(ms % 1000) * 1000000L;
    timespec remaining;
    while (nanosleep(&wanted, &remaining) != 0 && errno == EINTR)
        wanted = remaining;
}

qint64 CurrentMSecsSinceBoot()
{
    timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<qint64>(now.tv_sec) * 1000 + now.tv_nsec / 1000000;
}
