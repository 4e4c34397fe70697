#include "modbus_tcp_slave.h"

#include "device_setting.h"
#include "driver_setting.h"

#include <QSet>

#include <mutex>

static const QString VERSION_STRING = QLatin1String("1.0.0");

/// A connection name that no other driver object of this process has drawn, because the connection outlives
/// the object. Drawing alone would not do: every thread starts from the same seed, so objects made on
/// different threads draw the same numbers.
static QString drawConnectionName()
{
    static std::mutex mutex;
    static QSet<QString> drawn;

    const std::lock_guard<std::mutex> lock(mutex);
    QString name;
    do {
        name = QString::number(qrand());
    } while (drawn.contains(name));
    drawn.insert(name);
    return name;
}

/// Addressable units of a device, as the runtime's tag editor counts them.
static const int TotalSize = 0x44000;

/// The runtime's flag for a driver whose link is a TCP connection.
static const int TcpCommunication = 0x100;

DriverInterface* CreateDriver()
{
    return new DriverModbusTcpSlave;
}

DriverModbusTcpSlave::DriverModbusTcpSlave()
    : hasCommError(false), debugMode(false), databaseOpened(false), databaseLoaded(false), transactionId(0),
      bitAddressRegExp(QLatin1String("^(\\d+)-((?:FN5)?DO|DI)(\\d+)"), Qt::CaseInsensitive),
      connectionName(drawConnectionName())
{
}

DriverModbusTcpSlave::~DriverModbusTcpSlave()
{
}

int DriverModbusTcpSlave::totalSize()
{
    return TotalSize;
}

bool DriverModbusTcpSlave::initialize(AbstractDeviceInterface*)
{
    return true;
}

bool DriverModbusTcpSlave::validation(const QString&)
{
    return false;
}

QString DriverModbusTcpSlave::name()
{
    return QLatin1String("Modbus TCP Slave");
}

QString DriverModbusTcpSlave::vender()
{
    return QLatin1String("Modbus");
}

QString DriverModbusTcpSlave::getVersionNumber()
{
    return VERSION_STRING;
}

DeviceSetting* DriverModbusTcpSlave::getDefaultSerialDeviceSetting()
{
    // The last two are the runtime's codes for stop bits and parity; a TCP link has neither.
    return new DeviceSetting(EthernetDevice, QLatin1String("COM2"), 9600, 8, 0, 2);
}

DriverSetting* DriverModbusTcpSlave::getDefaultDriverSetting()
{
    return new DriverSetting(3000, 3, 1, 0);
}

QString DriverModbusTcpSlave::getStringBasedDefaultDriverSetting()
{
    return QLatin1String("502");
}

int DriverModbusTcpSlave::supportedCommunicationFlags()
{
    return TcpCommunication;
}

void DriverModbusTcpSlave::setDebugMode(bool on)
{
    debugMode = on;
}

int DriverModbusTcpSlave::getBlockAccessSize()
{
    return modbus_tcp::MaxReadRegisters;
}

int DriverModbusTcpSlave::getBitBlockAccessSize()
{
    return modbus_tcp::MaxReadBits;
}

bool DriverModbusTcpSlave::hasError()
{
    return hasCommError;
}

QString DriverModbusTcpSlave::getLastError()
{
    return lastError;
}

QObject* DriverModbusTcpSlave::getThisObject()
{
    return qobject_cast<QObject*>(this);
}

bool DriverModbusTcpSlave::isConnected(AbstractDeviceInterface* device)
{
    return device->isConnected();
}

void DriverModbusTcpSlave::setCommError(const QString& text)
{
    hasCommError = true;
    lastError = text;
}

bool DriverModbusTcpSlave::fail(const QString& text)
{
    setCommError(text);
    return false;
}

bool DriverModbusTcpSlave::failAndClose(AbstractDeviceInterface* device, const QString& text)
{
    setCommError(text);
    device->close();
    return false;
}

void DriverModbusTcpSlave::clearError()
{
    hasCommError = false;
}
