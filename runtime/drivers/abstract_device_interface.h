#ifndef ABSTRACT_DEVICE_INTERFACE_H
#define ABSTRACT_DEVICE_INTERFACE_H

#include <QString>

class DeviceSetting;

/// The runtime's link to one device. The runtime owns it; a driver only calls it, on the thread on which the
/// runtime called the driver. Any call may block for up to the link's timeout.
class AbstractDeviceInterface
{
public:
    virtual ~AbstractDeviceInterface() {}

    /// Reads up to maxLength bytes of the device's reply into buffer. Returns the number of bytes read; less
    /// than maxLength, 0 or negative if no more came.
    virtual int readData(char* buffer, int maxLength) = 0;

    /// Sends length bytes. Returns the number of bytes sent; anything but length is a failure.
    virtual int writeData(const char* data, int length) = 0;

    /// Establishes the link, or re-establishes it. Returns true when it is up.
    virtual bool open() = 0;

    /// Drops the link. Bytes of the device that are still in transit must not reach a later readData.
    virtual void close() = 0;

    /// The link's settings; the runtime keeps ownership.
    virtual DeviceSetting* deviceSetting() = 0;

    /// Whether the link is up.
    virtual bool isConnected() = 0;

    /// How often a failed command is repeated: a driver makes at most retryCount() + 1 attempts.
    virtual int retryCount() = 0;

    /// Station (Modbus unit identifier) to address; drivers use the low 8 bits.
    virtual int stationId() = 0;

    /// Pause in milliseconds before each attempt; 0 or less is no pause.
    virtual int commandDelay() = 0;

    /// Text of the link's last error, for the operator.
    virtual QString errorString() = 0;
};

#endif
