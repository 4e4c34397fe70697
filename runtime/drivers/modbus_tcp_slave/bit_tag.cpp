#include "bit_tag.h"

#include "modbus_tcp_slave.h"
#include "tools.h"

#include <climits>

using modbus_tcp::beginsWith;

namespace {

/// One-based number of a tag as the zero-based address of its bit.
unsigned short bitAddress(int number)
{
    return static_cast<unsigned short>(static_cast<unsigned int>(number) - 1);
}

bool isAscii(const QString& text)
{
    const QChar* const characters = text.constData();
    int i = 0;
    while (i < text.size() && characters[i].unicode() < 128)
        ++i;
    return i == text.size();
}

bool isDigit(QChar character)
{
    return character.unicode() >= '0' && character.unicode() <= '9';
}

/// The decimal number at next, which moves behind it; 0 if it is above largest, as QString converts.
quint32 takeNumber(const QChar*& next, quint32 largest)
{
    quint64 number = 0;
    for (; isDigit(*next); ++next)
        number = qMin<quint64>(number * 10 + (next->unicode() - quint64('0')), Q_UINT64_C(1) << 32);
    return number <= largest ? static_cast<quint32>(number) : 0;
}

/// What the regular expression makes of an ASCII text, without its price.
bool readQualifiedTag(const QChar* next, BitTag& tag)
{
    const QChar* const start = next;
    tag.station = static_cast<unsigned char>(takeNumber(next, UINT_MAX));
    if (next == start || *next != QLatin1Char('-'))
        return false;
    ++next;
    if (beginsWith(next, "FN5DO"))
        next += 3;
    tag.isInput = beginsWith(next, "DI");
    if (!tag.isInput && !beginsWith(next, "DO"))
        return false;
    next += 2;
    if (!isDigit(*next))
        return false;
    tag.address = bitAddress(static_cast<int>(takeNumber(next, INT_MAX)));
    return true;
}

bool readQualifiedTag(const QString& text, const QRegExp& qualified, BitTag& tag)
{
    if (qualified.indexIn(text) != 0)
        return false;
    tag.station = static_cast<unsigned char>(qualified.cap(1).toUInt());
    tag.isInput = qualified.cap(2).startsWith(QLatin1String("DI"), Qt::CaseInsensitive);
    tag.address = bitAddress(qualified.cap(3).toInt());
    return true;
}

} // namespace

bool readBitTag(const QString& text, unsigned char defaultStation, const QRegExp& qualified, BitTag& tag)
{
    const bool isFN5 = beginsWith(text.constData(), "FN5DO");
    tag.isInput = beginsWith(text.constData(), "DI");
    if (isFN5 || tag.isInput || beginsWith(text.constData(), "DO")) {
        tag.station = defaultStation;
        tag.address = bitAddress(ExtractPLCDeviceAddress(isFN5 ? text.mid(3) : text, 10));
        return true;
    }
    return isAscii(text) ? readQualifiedTag(text.constData(), tag) : readQualifiedTag(text, qualified, tag);
}
