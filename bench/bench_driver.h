#ifndef BENCH_DRIVER_H
#define BENCH_DRIVER_H

#include "commands.h"
#include "project/project_file.h"
#include "session/driver_plugin.h"
#include "tools.h"

#include <cstdio>
#include <cstdlib>
#include <stdexcept>

/// Benchmarks give up at the first failure: the figure of a failed command means nothing.
[[noreturn]] inline void giveUp(const QString& reason)
{
    throw std::runtime_error(reason.toStdString());
}

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

/// Writes a project with link 1, default station 1 and these tags next to the running program. tags.forEach
/// calls its argument with the address of each tag.
template<typename Tags>
void makeProject(const Tags& tags)
{
    const QString problem = makeProjectFolder();
    if (!problem.isEmpty())
        giveUp(problem);
    ProjectWriter writer(GetDatabaseName());
    writer.addLink({1, ethernetHmiPort});
    writer.addNode({1, 1, true, QStringLiteral("127.0.0.1"), 502});
    tags.forEach([&](const QString& address) { writer.addTag({1, address}); });
    if (!writer.commit())
        giveUp(writer.error());
}

/// One coil: enough for a driver to work with.
struct OneTag
{
    template<typename Visit>
    void forEach(Visit visit) const
    {
        visit(QStringLiteral("DO1"));
    }
};

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
