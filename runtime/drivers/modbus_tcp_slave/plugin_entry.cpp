#include "modbus_tcp_slave.h"

#include <QPointer>

/// The runtime's Qt 4.8 loads a module only when it finds this text, the one that its own build of Qt would
/// have written. The loader scans the file for it, so it stays in a section of its own and unmangled.
__attribute__((section(".qtplugin"), used)) static const char verificationData[] =
    "pattern=QT_PLUGIN_VERIFICATION_DATA\n"
    "version=4.8.6\n"
    "debug=false\n"
    "buildkey=arm linux g++-4 no-pkg-config";

extern "C" {

Q_DECL_EXPORT const char* qt_plugin_query_verification_data()
{
    return verificationData;
}

#ifdef DRIVER_DEFINES_PLUGIN_INSTANCE
/// The module's one shared object; made again when the runtime has deleted it.
Q_DECL_EXPORT QObject* qt_plugin_instance()
{
    static QPointer<QObject> instance;
    if (!instance)
        instance = new DriverModbusTcpSlave;
    return instance.data();
}
#endif

/// A new driver object; the caller deletes it.
Q_DECL_EXPORT DriverInterface* CreateDriver()
{
    return new DriverModbusTcpSlave;
}

} // extern "C"
