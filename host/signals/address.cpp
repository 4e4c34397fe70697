#include "signals/address.h"

#include <QRegularExpression>

namespace {

constexpr int largestByte = 255;
constexpr int firstRegisterArea = 3;

const QStringList& areaNames()
{
    static const QStringList names = {QStringLiteral("DI"), QStringLiteral("DO"),    QStringLiteral("FN5DO"),
                                      QStringLiteral("HR"), QStringLiteral("FN6HR"), QStringLiteral("IR")};
    return names;
}

QRegularExpression pattern(const char* text)
{
    return QRegularExpression(QLatin1String(text), QRegularExpression::CaseInsensitiveOption |
                                                       QRegularExpression::DotMatchesEverythingOption);
}

/// The address behind one of the notations with the kind of the element as a digit in front: 40001, 400001,
/// 4x1 and so on. Empty when text is none of them.
QString withoutDigitForArea(const QString& text)
{
    static const auto notations = pattern("^([0-9]+-)?([0134])(?:x([0-9]+)|([0-9]{4,5}))(\\.[0-9]+)?$");
    const auto parts = notations.match(text);
    const int number = (parts.captured(3) + parts.captured(4)).toInt();
    if (number < 1 || number > largestNumber)
        return QString();
    static const char* const areas[] = {"DO", "DI", "", "IR", "HR"};
    return parts.captured(1) + QLatin1String(areas[parts.captured(2).toInt()]) + QString::number(number) +
           parts.captured(5);
}

QString noArea(const QString& text)
{
    if (text.isEmpty())
        return QStringLiteral("is no address");
    const QString address = withoutDigitForArea(text);
    return address.isEmpty() ? QStringLiteral("is in no area of the driver (%1)")
                                   .arg(areaNames().join(QStringLiteral(", ")))
                             : QStringLiteral("is %1 here").arg(address);
}

/// What is wrong with the text behind an address.
QString surplus(const QString& rest)
{
    if (rest.startsWith(QLatin1Char('-')))
        return QStringLiteral("has more behind the number than .BIT or SW; a range is written HR1..HR8");
    if (rest.startsWith(QLatin1Char(',')) || rest.startsWith(QLatin1Char(';')))
        return QStringLiteral("is more than one address; put blanks between them");
    return QStringLiteral("has more behind the number than .BIT or SW");
}

/// Returns what is wrong, empty when address is all of the text.
QString parse(const QString& text, Address& address)
{
    static const auto grammar =
        pattern("^(?:([0-9]+)-)?(FN5DO|FN6HR|DI|DO|HR|IR)([0-9]*)(?:(\\.)([0-9]*))?(SW)?(.*)$");
    const auto parts = grammar.match(text);
    if (!parts.hasMatch())
        return noArea(text);
    bool isStation = true;
    if (!parts.captured(1).isEmpty())
        address.station = parts.captured(1).toInt(&isStation);
    if (!isStation || address.station.value_or(0) > largestByte)
        return QStringLiteral("names a station beyond 255");
    address.area = areaNames().indexOf(parts.captured(2).toUpper());
    address.number = parts.captured(3).toInt();
    if (address.number < 1 || address.number > largestNumber)
        return QStringLiteral("must have a number from 1 to %1 behind the area").arg(largestNumber);
    address.text = text.mid(parts.capturedStart(2));
    if (address.isInBitArea() && address.text.size() > parts.capturedLength(2) + parts.capturedLength(3))
        return parts.captured(7).isEmpty() ? QStringLiteral("must end with the number of the bit")
                                           : surplus(parts.captured(7));
    if (!parts.captured(4).isEmpty()) {
        bool isBit = false;
        address.bit = parts.captured(5).toInt(&isBit);
        if (!isBit || *address.bit > largestByte)
            return QStringLiteral("must have a bit number from 0 to 255 behind the point");
        if (address.number + *address.bit / bitsOfRegister > largestNumber)
            return QStringLiteral("is a bit behind the last register");
    }
    address.highWordFirst = !parts.captured(6).isEmpty();
    return parts.captured(7).isEmpty() ? QString() : surplus(parts.captured(7));
}

} // namespace

Grammar grammarOfDriver(const QString& driverName)
{
    return driverName == QLatin1String("Modbus TCP Slave") ? Grammar::ModbusTcp : Grammar::Foreign;
}

bool Address::isInBitArea() const
{
    return !isForeign() && area < firstRegisterArea;
}

int Address::position() const
{
    return isInBitArea() ? number - 1 : (number - 1) * bitsOfRegister + bit.value_or(0);
}

Address Address::at(int position, bool withBit) const
{
    Address other = *this;
    other.number = (isInBitArea() ? position : position / bitsOfRegister) + 1;
    other.text = areaNames().at(area) + QString::number(other.number);
    if (!isInBitArea())
        other.bit = withBit ? std::optional(position % bitsOfRegister) : std::nullopt;
    if (other.bit)
        other.text += QStringLiteral(".%1").arg(*other.bit);
    if (highWordFirst)
        other.text += QLatin1String("SW");
    return other;
}

QString Address::fullText() const
{
    return station ? QStringLiteral("%1-%2").arg(*station).arg(text) : text;
}

QString Address::plainText() const
{
    return isForeign() ? fullText() : at(position(), bit.has_value()).fullText();
}

std::optional<Address> parseAddress(const QString& text, Grammar grammar, QString& problem)
{
    Address address;
    address.text = text;
    if (grammar == Grammar::Foreign && !text.isEmpty())
        return address;
    const QString wrong = parse(text, address);
    if (wrong.isEmpty())
        return address;
    problem = quoted(text) + QLatin1Char(' ') + wrong;
    return std::nullopt;
}

bool hasStation(const QString& tag)
{
    static const auto qualified = pattern("^([0-9]{1,3})-.");
    const auto parts = qualified.match(tag);
    return parts.hasMatch() && parts.captured(1).toInt() <= largestByte;
}

std::optional<Address> parseTag(const QString& text, Grammar grammar, QString& problem)
{
    if (grammar == Grammar::ModbusTcp || !hasStation(text))
        return parseAddress(text, grammar, problem);
    Address address;
    address.station = text.section(QLatin1Char('-'), 0, 0).toInt();
    address.text = text.section(QLatin1Char('-'), 1);
    return address;
}

const QStringList& areasToScan()
{
    static const QStringList names = {QStringLiteral("HR"), QStringLiteral("IR"), QStringLiteral("DO"),
                                      QStringLiteral("DI")};
    return names;
}

Address firstAddress(const QString& area)
{
    QString problem;
    return parseAddress(area + QLatin1Char('1'), Grammar::ModbusTcp, problem).value_or(Address());
}

QString quoted(const QString& text)
{
    constexpr int longest = 40;
    QString shown = text.left(longest);
    for (QChar& character : shown)
        character = character.isPrint() ? character : QLatin1Char('?');
    return QStringLiteral("\"%1%2\"").arg(shown, text.size() > longest ? QStringLiteral("...") : QString());
}
