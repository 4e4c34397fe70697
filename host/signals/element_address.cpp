#include "signals/element_address.h"

#include <QRegularExpression>

CommandDataType typeOfArea(const QString& address)
{
    static const QRegularExpression bitArea(QStringLiteral("^(?:FN5DO|DO|DI)"),
                                            QRegularExpression::CaseInsensitiveOption);
    return bitArea.match(address).hasMatch() ? Bit : Word;
}

ElementAddresses::ElementAddresses(const QString& address, CommandDataType type)
    : m_address(address), m_type(type), m_bitArea(typeOfArea(address) == Bit)
{
    static const QRegularExpression parts(
        QStringLiteral("^(F..[A-Z]*|[A-Z]*)([0-9]{1,9})(?:\\.([0-9]{0,9}))?(.*)$"),
        QRegularExpression::CaseInsensitiveOption);
    const QRegularExpressionMatch match = parts.match(address);
    m_hasNumber = match.hasMatch();
    m_prefix = match.captured(1);
    m_number = match.captured(2).toULongLong();
    m_bit = match.captured(3).toULongLong();
    m_suffix = match.captured(4);
}

QString ElementAddresses::withNumber(quint64 offset) const
{
    return m_prefix + QString::number(m_number + offset) + m_suffix;
}

QString ElementAddresses::at(int index) const
{
    const auto element = static_cast<quint64>(index);
    if (!m_hasNumber)
        return index == 0 ? m_address : QStringLiteral("%1 +%2").arg(m_address).arg(index);
    switch (m_type) {
    case Bit:
    case BitBlock:
        if (m_bitArea)
            return withNumber(element);
        return QStringLiteral("%1%2.%3")
            .arg(m_prefix)
            .arg(m_number + (m_bit + element) / 16)
            .arg((m_bit + element) % 16);
    case Byte:
    case Block:
        if (m_bitArea)
            return withNumber(8 * element);
        return withNumber(element / 2) + (element % 2 ? QStringLiteral(" high") : QStringLiteral(" low"));
    case DoubleWord:
        return withNumber(2 * element);
    case QuadWord:
        return withNumber(4 * element);
    case Word:
        break;
    }
    return withNumber(element);
}
