#include "scan/device_copy.h"

#include "signals/signal.h"
#include "tools/bits.h"

#include <QtEndian>

namespace scan {

void DeviceCopy::add(const Request& request, const QByteArray& data)
{
    const bool isBit = request.area.type == Bit;
    for (int i = 0; i < request.count; ++i) {
        const quint16 value =
            isBit ? quint16(getBit(data, i)) : qFromLittleEndian<quint16>(data.constData() + 2 * i);
        m_values[{request.station, request.area.name, request.first + i}] = {value, isBit};
    }
}

QByteArray DeviceCopy::image() const
{
    QString text;
    for (const auto& [element, value] : m_values) {
        const auto& [station, area, number] = element;
        text += QStringLiteral("%1-%2%3 = %4\n").arg(station).arg(area).arg(number).arg(value.value);
    }
    return text.toUtf8();
}

QByteArray DeviceCopy::tagList(int ownStation) const
{
    QString text = QStringLiteral("address,name,type,comment\n");
    for (const auto& [element, value] : m_values) {
        const auto& [station, area, number] = element;
        const SignalType type{value.isBit ? SignalType::Bool : SignalType::UInt16};
        const QString prefix = station == ownStation ? QString() : QStringLiteral("%1-").arg(station);
        text += QStringLiteral("%1%2%3,,%4,scan read %5\n")
                    .arg(prefix, area)
                    .arg(number)
                    .arg(signalTypeName(type))
                    .arg(value.value);
    }
    return text.toUtf8();
}

} // namespace scan
