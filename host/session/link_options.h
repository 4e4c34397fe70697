#ifndef SESSION_LINK_OPTIONS_H
#define SESSION_LINK_OPTIONS_H

#include "session/device_address.h"
#include "session/driver_plugin.h"
#include "text/console.h"

/// Options shared by all commands that use a driver.
struct LinkOptions
{
    QString driverFile; ///< empty: the one of DriverPlugin::load
    PluginEntry entry = PluginEntry::CreateDriver;
    DeviceAddress device;       ///< without a port: the driver's own default
    std::optional<int> station; ///< without these four: the driver's own default
    std::optional<int> retry;
    std::optional<int> timeout; ///< milliseconds
    std::optional<int> delay;   ///< milliseconds
    int linkId = 1;
    OutputFormat format = OutputFormat::Text;
    bool trace = false;
};

#endif
