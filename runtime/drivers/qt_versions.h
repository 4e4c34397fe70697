#ifndef QT_VERSIONS_H
#define QT_VERSIONS_H

#include <QtGlobal>
#include <QtPlugin>

// What differs between Qt 4.8 and Qt 5.15, in one place.

#if QT_VERSION >= 0x050000
/// Qt 5 finds the interface identifier in metadata that moc writes together with qt_plugin_instance.
#define DRIVER_PLUGIN_METADATA(iid) Q_PLUGIN_METADATA(IID iid)
#else
/// Qt 4.8 looks only for its verification text; qt_plugin_instance is ours to write.
#define DRIVER_PLUGIN_METADATA(iid)
#define DRIVER_DEFINES_PLUGIN_INSTANCE
#endif

/// Qt 4.8 defines it only if Qt itself was built with hidden symbols.
#ifndef Q_DECL_HIDDEN
#define Q_DECL_HIDDEN
#endif

#endif
