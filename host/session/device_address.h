#ifndef SESSION_DEVICE_ADDRESS_H
#define SESSION_DEVICE_ADDRESS_H

#include <QString>

#include <optional>

/// What --device names.
struct DeviceAddress
{
    QString host = QStringLiteral("127.0.0.1"); ///< address text or name, IPv6 without brackets
    std::optional<quint16> port;                ///< 1 to 65535; none: the driver's own default
};

/// Splits HOST, HOST:PORT, [V6] or [V6]:PORT; an IPv6 address without brackets cannot have a port. If text is
/// none of these, the result is empty and error says what would be right.
std::optional<DeviceAddress> parseDeviceAddress(const QString& text, QString& error);

/// A TCP port as decimal text; empty if it is not from 1 to 65535.
std::optional<quint16> parsePort(const QString& text);

#endif
