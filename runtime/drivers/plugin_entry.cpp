#include "driver_interface.h"
#include "qt_versions.h"

#include <QPointer>

// The entry points that are the same in every plug-in; CreateDriver is the driver's own.

/// The runtime's Qt 4.8 loads a module only if it finds this text, the one that its own build of Qt would
/// have written. The loader searches the file for it, so the text stays in one piece, in a section of its
/// own.
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
/// The module's single instance; recreated after the runtime has deleted it.
Q_DECL_EXPORT QObject* qt_plugin_instance()
{
    static QPointer<QObject> instance;
    if (!instance)
        instance = CreateDriver()->getThisObject();
    return instance.data();
}
#endif

} // extern "C"
