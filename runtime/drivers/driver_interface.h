#ifndef DRIVER_INTERFACE_H
#define DRIVER_INTERFACE_H

#include "abstract_device_interface.h"
#include "communicator_command.h"

#include <QByteArray>
#include <QList>
#include <QObject>
#include <QString>

class DeviceSetting;
class DriverSetting;

/// The contract between the runtime and a driver.
///
/// The runtime is built separately from the drivers and calls through the virtual table: the order of the
/// operations is part of the contract and never changes. The runtime gets a driver object from the plug-in,
/// asks it what it is and what it can do (name() to getBitBlockAccessSize()), and from then on passes it
/// commands: read() or write(), then hasError() and getLastError(). One driver object is called from one
/// thread at a time. No operation throws. Operations that return pointers to settings return new objects,
/// which the caller deletes.
///
/// Every driver implements the pure virtual operations; the defaults of the others suit most drivers.
class DriverInterface
{
public:
    virtual ~DriverInterface() {}

    /// Number of addressable units of the device, for the runtime's tag editor. A driver without such a limit
    /// returns any large number.
    virtual int totalSize() = 0;

    /// Writes command.count elements from data, which is laid out as CommandDataType says. Called for each
    /// write on the panel, with the link to the device, connected or not; blocks until the device has replied
    /// or all attempts have failed. Data of bytes, words and double words counts as padded with zero bytes if
    /// it is shorter than the command, and as cut if it is longer; bit data is taken as it is. Returns true
    /// on success; on failure hasError() and getLastError() tell why.
    virtual bool write(AbstractDeviceInterface* device, const CommunicatorCommand& command,
                       const QByteArray& data) = 0;

    /// Reads command.count elements. Called for each read on the panel, otherwise like write(). Returns the
    /// elements' bytes, laid out as CommandDataType says; on failure an empty array, and hasError() and
    /// getLastError() tell why.
    virtual QByteArray read(AbstractDeviceInterface* device, const CommunicatorCommand& command) = 0;

    /// Called once for each link, before its first command, for one-time preparation; device may be null.
    /// Returns whether the driver can work. A driver with nothing to prepare returns true.
    virtual bool initialize(AbstractDeviceInterface* device) = 0;

    /// Whether the driver accepts a text that was entered for it, such as a licence. A driver without such
    /// texts returns false.
    virtual bool validation(const QString& text) = 0;

    /// The driver in the lists that an engineer chooses from: protocol, vendor, and version such as "1.0.0".
    /// Called after loading; overriding them is optional.
    virtual QString name() { return QLatin1String("Not Assigned"); }
    virtual QString vender() { return QLatin1String("Not Assigned"); }
    virtual QString getVersionNumber() { return QLatin1String("Not Assigned"); }

    /// Link settings that a new link starts with; the caller deletes the record. A TCP driver returns a
    /// record too; nobody uses its serial parameters.
    virtual DeviceSetting* getDefaultSerialDeviceSetting() = 0;

    /// Protocol settings that a new link starts with: timeout, retries, station, pause. The caller deletes
    /// the record.
    virtual DriverSetting* getDefaultDriverSetting() = 0;

    /// Link settings that a new link starts with, as one text: serial parameters, or the decimal TCP port.
    virtual QString getStringBasedDefaultDriverSetting() { return QLatin1String("RS232,9600,EVEN,7,1"); }

    /// Which kinds of link the driver works over, as the runtime's flags: 0x100 is TCP.
    virtual int supportedCommunicationFlags() = 0;

    /// Called when somebody switches the driver's diagnostics on or off. A driver without diagnostics does
    /// nothing.
    virtual void setDebugMode(bool on) = 0;

    /// Largest number of registers, 1 or more, that the runtime may put into one command. The runtime splits
    /// larger reads and writes; the driver never does.
    virtual int getBlockAccessSize() = 0;

    /// The same in bits, for commands of bits.
    virtual int getBitBlockAccessSize() = 0;

    /// Whether the last command failed. Called after each command.
    virtual bool hasError() = 0;

    /// Text of the last failure, for the operator; it stays when a later command succeeds.
    virtual QString getLastError() = 0;

    /// The driver as a QObject, which the runtime casts and deletes. Never null.
    virtual QObject* getThisObject() = 0;

    /// Whether the driver wants to know in advance which commands a screen of the panel will repeat. Only
    /// such a driver gets the next two calls, when a screen opens and when it closes.
    virtual bool isSupportSessionCommand() { return false; }
    // By value, as the runtime's virtual table has it. NOLINTNEXTLINE(performance-unnecessary-value-param)
    virtual void setSessionCommand(QList<CommunicatorCommand> commands) { Q_UNUSED(commands) }
    virtual void clearSessionCommand() {}

    /// Called when somebody has changed a link's settings. Returns whether the driver can go on with them; a
    /// driver that reads them from the link whenever it needs them returns true.
    virtual bool deviceSettingChanged(const DeviceSetting* setting)
    {
        Q_UNUSED(setting)
        return true;
    }

    /// Whether commands can go to the device at once. A driver with a connection returns
    /// device->isConnected(), one without returns true.
    virtual bool isConnected(AbstractDeviceInterface* device)
    {
        Q_UNUSED(device)
        return true;
    }
};

#define DriverInterface_iid "com.valdrith.drivers.DriverInterface/1.1"
Q_DECLARE_INTERFACE(DriverInterface, DriverInterface_iid)

/// Every plug-in defines this. Returns a new driver, which the caller deletes.
extern "C" Q_DECL_EXPORT DriverInterface* CreateDriver();

#endif
