#ifndef SESSION_DRIVER_PLUGIN_H
#define SESSION_DRIVER_PLUGIN_H

#include "driver_interface.h"

#include <QString>

#include <memory>

/// The two ways to get a driver from a plug-in.
enum class PluginEntry
{
    CreateDriver,  ///< the function CreateDriver: a new driver for each call
    PluginInstance ///< Qt's plug-in loader: the library's one driver
};

/// Whether this is the Modbus TCP driver, whose frames and addresses the host can explain. Those of another
/// driver pass through untouched.
bool isModbusTcp(DriverInterface& driver);

/// A loaded plug-in with one of its drivers. The library stays loaded as long as this object lives; the
/// driver is destroyed with it.
class DriverPlugin
{
public:
    virtual ~DriverPlugin() = default;
    DriverPlugin(const DriverPlugin&) = delete;
    DriverPlugin& operator=(const DriverPlugin&) = delete;

    /// Loads the plug-in and takes a driver from it. An empty fileName means drivers/libmodbus_tcp_slave.so
    /// in the folder of the running program. On failure the result is null and error holds one sentence that
    /// names the file and the reason: missing, not a file, not a shared library, built for another machine,
    /// truncated, not a driver, or what the system's loader says.
    static std::unique_ptr<DriverPlugin> load(const QString& fileName, PluginEntry entry, QString& error);

    DriverInterface& driver() const { return *m_driver; }
    const QString& fileName() const { return m_fileName; }

protected:
    explicit DriverPlugin(const QString& fileName) : m_fileName(fileName) {}

    DriverInterface* m_driver = nullptr; ///< set by load's helpers before anybody sees the object

private:
    const QString m_fileName;
};

#endif
