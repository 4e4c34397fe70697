#ifndef SESSION_DRIVER_PLUGIN_H
#define SESSION_DRIVER_PLUGIN_H

#include "driver_interface.h"

#include <QString>

#include <memory>

/// The two ways in which a plug-in hands out a driver.
enum class PluginEntry
{
    CreateDriver,  ///< the function CreateDriver: a new driver for each call
    PluginInstance ///< Qt's plug-in loader: the library's one driver
};

/// Whether this is the Modbus TCP driver, whose frames and addresses the host can explain. What another
/// driver says and takes passes through as it is.
bool isModbusTcp(DriverInterface& driver);

/// A loaded plug-in with one driver of it. The library stays loaded as long as this object lives; the driver
/// dies with it.
class DriverPlugin
{
public:
    virtual ~DriverPlugin() = default;
    DriverPlugin(const DriverPlugin&) = delete;
    DriverPlugin& operator=(const DriverPlugin&) = delete;

    /// Loads the plug-in and takes a driver from it. An empty fileName stands for
    /// drivers/libmodbus_tcp_slave.so in the folder of the running program. On failure the result is null and
    /// error holds one sentence that names the file and why: missing, no file, not a shared library, built
    /// for another machine, cut off, not a driver, or what the system's loader says.
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
