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
/// The runtime is built apart from the drivers and calls through the virtual table: the order of the
/// operations is part of the contract and never changes. One driver object is called from one thread at a
/// time. No operation throws. Pointers to settings that an operation returns are new objects which the
/// caller deletes.
class DriverInterface
{
public:
    virtual ~DriverInterface() {}

    /// Number of addressable units of the device, for the runtime's tag editor.
    virtual int totalSize() = 0;

    /// Writes command.count elements from data (see CommandDataType for the layout). Data shorter than the
    /// command counts as padded with zero bytes, longer data as cut. Returns true on success; on failure
    /// hasError() and getLastError() tell why.
    virtual bool write(AbstractDeviceInterface* device, const CommunicatorCommand& command,
                       const QByteArray& data) = 0;

    /// Reads command.count elements. Returns their bytes (see CommandDataType for the layout); on failure
    /// an empty array, and hasError() and getLastError() tell why.
    virtual QByteArray read(AbstractDeviceInterface* device, const CommunicatorCommand& command) = 0;

    virtual bool initialize(AbstractDeviceInterface* device) = 0;
    virtual bool validation(const QString& text) = 0;
    virtual QString name() { return QLatin1String("Not Assigned"); }
    virtual QString vender() { return QLatin1String("Not Assigned"); }
    virtual QString getVersionNumber() { return QLatin1String("Not Assigned"); }

    /// The link settings to start from; the caller deletes the record.
    virtual DeviceSetting* getDefaultSerialDeviceSetting() = 0;

    /// The protocol settings to start from; the caller deletes the record.
    virtual DriverSetting* getDefaultDriverSetting() = 0;

    /// The link settings to start from as one text: serial parameters, or the TCP port.
    virtual QString getStringBasedDefaultDriverSetting() { return QLatin1String("RS232,9600,EVEN,7,1"); }

    virtual int supportedCommunicationFlags() = 0;
    virtual void setDebugMode(bool on) = 0;

    /// Largest number of registers that the runtime shall put into one command.
    virtual int getBlockAccessSize() = 0;

    /// Largest number of bits that the runtime shall put into one command.
    virtual int getBitBlockAccessSize() = 0;

    /// Whether the last command failed.
    virtual bool hasError() = 0;

    /// Text of the last failure; it stays when a later command succeeds.
    virtual QString getLastError() = 0;

    virtual QObject* getThisObject() = 0;
    virtual bool isSupportSessionCommand() { return false; }
    // By value, as the runtime's virtual table has it. NOLINTNEXTLINE(performance-unnecessary-value-param)
    virtual void setSessionCommand(QList<CommunicatorCommand> commands) { Q_UNUSED(commands) }
    virtual void clearSessionCommand() {}
    virtual bool deviceSettingChanged(const DeviceSetting* setting)
    {
        Q_UNUSED(setting)
        return true;
    }
    virtual bool isConnected(AbstractDeviceInterface* device)
    {
        Q_UNUSED(device)
        return true;
    }
};

#define DriverInterface_iid "com.valdrith.drivers.DriverInterface/1.1"
Q_DECLARE_INTERFACE(DriverInterface, DriverInterface_iid)

/// Each plug-in defines it: a new driver, which the caller deletes.
extern "C" Q_DECL_EXPORT DriverInterface* CreateDriver();

#endif
