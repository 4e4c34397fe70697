#ifndef BENCH_DRIVER_H
#define BENCH_DRIVER_H

#include "commands.h"
#include "plugin_driver.h"

#include <cstdio>

/// A whole number from the command line; 0 for anything else.
inline int countOf(const char* argument)
{
    return QByteArray(argument).toInt();
}

/// Runs the benchmark. Returns the exit status of the program.
template<typename Benchmark>
int reportFailure(Benchmark benchmark)
{
    try {
        benchmark();
        return 0;
    } catch (const std::runtime_error& failure) {
        std::fprintf(stderr, "benchmark: %s\n", failure.what());
        return 1;
    }
}

inline void runCommand(DriverInterface& driver, AbstractDeviceInterface& link,
                       const MeasuredCommand& measured, const QByteArray& data)
{
    const bool done = measured.isWrite ? driver.write(&link, measured.command, data)
                                       : !driver.read(&link, measured.command).isEmpty();
    if (!done)
        giveUp(QLatin1String(measured.name) + QLatin1String(": ") + driver.getLastError());
}

#endif
