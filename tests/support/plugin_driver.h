#ifndef PLUGIN_DRIVER_H
#define PLUGIN_DRIVER_H

#include "project/project_file.h"
#include "session/driver_plugin.h"
#include "tools.h"

#include <stdexcept>

// For programs that measure the plug-in as it ships.

/// Ends a measurement: the figure of a failed command means nothing.
[[noreturn]] inline void giveUp(const QString& reason)
{
    throw std::runtime_error(reason.toStdString());
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
    tags.forEach([&](const QString& address) { writer.addTag({1, signalAt(address)}); });
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

#endif
