#include "session/device_address.h"

#include <QRegularExpression>

std::optional<quint16> parsePort(const QString& text)
{
    static const QRegularExpression digits(QStringLiteral("^[0-9]{1,5}$"));
    const int port = digits.match(text).hasMatch() ? text.toInt() : 0;
    if (port < 1 || port > 65535)
        return std::nullopt;
    return static_cast<quint16>(port);
}

std::optional<DeviceAddress> parseDeviceAddress(const QString& text, QString& error)
{
    static const QRegularExpression bracketed(QStringLiteral("^\\[([0-9a-fA-F:.%\\w]+)\\](?::(.*))?$"));
    static const QRegularExpression plain(QStringLiteral("^([^\\s:\\[\\]]+)(?::(.*))?$"));
    static const QRegularExpression bareV6(QStringLiteral("^[^\\s\\[\\]]*:[^\\s\\[\\]]*:[^\\s\\[\\]]*$"));

    DeviceAddress address;
    if (bareV6.match(text).hasMatch()) {
        address.host = text;
        return address;
    }
    QRegularExpressionMatch match = bracketed.match(text);
    if (!match.hasMatch())
        match = plain.match(text);
    if (!match.hasMatch()) {
        error = QStringLiteral("must be HOST, HOST:PORT or [IPV6]:PORT, not \"%1\"").arg(text);
        return std::nullopt;
    }
    address.host = match.captured(1);
    if (match.lastCapturedIndex() < 2)
        return address;
    address.port = parsePort(match.captured(2));
    if (!address.port) {
        error =
            QStringLiteral("the port must be a number from 1 to 65535, not \"%1\"").arg(match.captured(2));
        return std::nullopt;
    }
    return address;
}
