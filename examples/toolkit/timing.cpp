#include "tools/timing.h"

#include <cstdio>

int main()
{
    const qint64 before = CurrentMSecsSinceBoot();
    HRSleep(20);
    std::printf("20 ms are over: %s\n", CurrentMSecsSinceBoot() - before >= 19 ? "yes" : "no");
}
