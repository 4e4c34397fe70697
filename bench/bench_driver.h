#ifndef BENCH_DRIVER_H
#define BENCH_DRIVER_H

#include "commands.h"
#include "driver_plugin.h"
#include "project_file.h"
#include "tools.h"

#include <cstdio>
#include <cstdlib>

/// Benchmarks give up at the first thing that goes wrong: a figure of a failed command means nothing.
[[noreturn]] inline void giveUp(const QString& reason)
{
    std::fprintf(stderr, "benchmark: %s\n", qPrintable(reason));
    std::exit(1);
}

/// Writes a project with link 1, default station 1 and these tags beside the running program.
template<typename Tags>
void makeProject(const Tags& tags)
{
    const QString problem = makeProjectFolder();
    if (!problem.isEmpty())
        giveUp(problem);
    ProjectWriter writer(GetDatabaseName());
    writer.addLink({1, ethernetHmiPort});
    writer.addNode({1, 1, true, QStringLiteral("127.0.0.1"), 502});
    for (const QString& address : tags)
        writer.addTag({1, address});
    if (!writer.commit())
        giveUp(writer.error());
}

/// A driver of the plug-in as it ships, loaded as driverhost loads it.
inline std::unique_ptr<DriverPlugin> loadDriver()
{
    QString error;
    auto plugin = DriverPlugin::load(QStringLiteral(PLUGIN_FILE), PluginEntry::CreateDriver, error);
    if (!plugin)
        giveUp(error);
    return plugin;
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
