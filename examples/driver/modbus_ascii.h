#ifndef MODBUS_ASCII_H
#define MODBUS_ASCII_H

#include "device_setting.h"
#include "driver_interface.h"
#include "driver_setting.h"
#include "qt_versions.h"

/// Holding registers over Modbus ASCII, for serial devices behind a TCP device server.
///
/// An address is HR and the one-based number of a register, HR1 to HR65536. Elements are made of whole bytes
/// (bytes, blocks, words, double words, quad words) in consecutive registers, low register first, and low
/// byte of each register first. The registers of a command are read (function code 3) or written (16) in one
/// request; an odd number of bytes is padded with a zero byte. Bits are refused.
///
/// The protocol does not number its requests, so a late reply looks like the reply to the next request. Every
/// failure therefore closes the link, which drops late bytes; only an exception reply leaves it open.
class ModbusAscii : public QObject, public DriverInterface
{
    Q_OBJECT
    Q_INTERFACES(DriverInterface)
    DRIVER_PLUGIN_METADATA(DriverInterface_iid)

public:
    // From the Modbus standard. The last two are limits of one request.
    static const int AddressSpace = 65536;
    static const int MaxReadRegisters = 125;
    static const int MaxWriteRegisters = 123;

    // What the driver does.
    QByteArray read(AbstractDeviceInterface* device, const CommunicatorCommand& command) override;
    bool write(AbstractDeviceInterface* device, const CommunicatorCommand& command,
               const QByteArray& data) override;
    bool hasError() override { return m_hasError; }
    QString getLastError() override { return m_lastError; }

    // What it says about itself.
    QString name() override { return QLatin1String("Modbus ASCII over TCP"); }
    QString vender() override { return QLatin1String("Modbus"); }
    QString getVersionNumber() override { return QLatin1String("1.0.0"); }
    int totalSize() override { return AddressSpace; }
    int getBlockAccessSize() override { return MaxReadRegisters; }
    int getBitBlockAccessSize() override { return 0; }
    int supportedCommunicationFlags() override { return EthernetDevice; }
    QObject* getThisObject() override { return this; }

    // Defaults of a new link: the TCP port, timeout in milliseconds, retries, station and delay.
    QString getStringBasedDefaultDriverSetting() override { return QLatin1String("4001"); }
    DriverSetting* getDefaultDriverSetting() override { return new DriverSetting(3000, 3, 1, 0); }
    DeviceSetting* getDefaultSerialDeviceSetting() override
    {
        return new DeviceSetting(EthernetDevice, QLatin1String("COM2"), 9600, 8, 0, 2);
    }

    // Nothing to prepare or print, and no text to check.
    bool initialize(AbstractDeviceInterface*) override { return true; }
    bool validation(const QString&) override { return false; }
    void setDebugMode(bool) override {}
    bool isConnected(AbstractDeviceInterface* device) override { return device->isConnected(); }

private:
    struct Transaction;

    // Return the data of the reply. On failure they set the error and return an empty array.
    QByteArray run(AbstractDeviceInterface* device, const Transaction& transaction);
    QByteArray attempt(AbstractDeviceInterface* device, const Transaction& transaction);
    QByteArray dataOf(AbstractDeviceInterface* device, const Transaction& transaction,
                      const QByteArray& reply);

    // Set the error and return an empty array, for the functions above to return.
    QByteArray fail(const QString& text);
    QByteArray failAndClose(AbstractDeviceInterface* device, const QString& text);

    /// Puts the command in front of the error text: number and name of its elements, station and address.
    void describe(const char* format, int station, const CommunicatorCommand& command);

    bool m_hasError = false;
    QString m_lastError;
};

#endif
