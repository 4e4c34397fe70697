#include "signals/values.h"

#include "session/data_type.h"

#include <QTextCodec>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>

namespace {

quint64 largestUnsigned(int width)
{
    return ~quint64(0) >> (64 - width);
}

bool isText(const Item& item)
{
    return item.type().kind == SignalType::String;
}

/// Bytes that are one text together.
bool isByteText(const Item& item)
{
    return item.notation == Notation::Text && !isText(item);
}

bool isScaled(const Item& item)
{
    return !item.notation && (item.signal.scale != 1 || item.signal.offset != 0);
}

bool isDriversOwn(const Item& item)
{
    return item.type().kind > SignalType::String;
}

/// The notation of values from the command line; none: decimal or hexadecimal, negative or not.
std::optional<Notation> notationOfInput(const Item& item)
{
    if (item.notation || isDriversOwn(item))
        return item.notation;
    return layoutOf(item.type()).notation;
}

/// The registers of one value with the least significant byte first, or the first character of a string. The
/// same again gives the registers back.
QByteArray rearranged(QByteArray registers, ByteOrder order, bool text)
{
    const bool lowByteFirst = order == ByteOrder::BADC || order == ByteOrder::DCBA;
    if (lowByteFirst != text) {
        for (int i = 0; i + 1 < registers.size(); i += 2)
            std::iter_swap(registers.begin() + i, registers.begin() + i + 1);
    }
    if (!text && (order == ByteOrder::ABCD || order == ByteOrder::BADC)) {
        for (int left = 0, right = registers.size() - 2; left < right; left += 2, right -= 2)
            std::swap_ranges(registers.begin() + left, registers.begin() + left + 2,
                             registers.begin() + right);
    }
    return registers;
}

/// Smallest and largest number that a value can hold, before it is scaled.
std::pair<double, double> numberRange(const Item& item)
{
    const int width = layoutOf(item.type()).width;
    const auto notation = notationOfInput(item);
    if (notation == Notation::Float)
        return width == 32
                   ? std::pair(-double(std::numeric_limits<float>::max()),
                               double(std::numeric_limits<float>::max()))
                   : std::pair(std::numeric_limits<double>::lowest(), std::numeric_limits<double>::max());
    const auto most = static_cast<double>(largestUnsigned(width));
    return notation == Notation::Signed ? std::pair(-std::ceil(most / 2), std::floor(most / 2))
                                        : std::pair(0.0, most);
}

QString number(double value)
{
    return QString::number(value, 'g', 15);
}

QString scaledRange(const Item& item)
{
    const auto [least, most] = numberRange(item);
    const auto [first, last] = std::minmax(
        {least * item.signal.scale + item.signal.offset, most * item.signal.scale + item.signal.offset});
    const double step = std::abs(item.signal.scale);
    const QString steps =
        notationOfInput(item) == Notation::Float ? QString() : QStringLiteral(" in steps of ") + number(step);
    return QStringLiteral("a number from %1 to %2%3").arg(number(first), withUnit(item, number(last)), steps);
}

/// What a value must be, for an error text.
QString valueRange(const Item& item)
{
    const int width = layoutOf(item.type()).width;
    const auto notation = notationOfInput(item);
    if (isScaled(item))
        return scaledRange(item);
    if (notation == Notation::Float)
        return QStringLiteral("a number that %1 precision can hold")
            .arg(width == 32 ? QStringLiteral("single") : QStringLiteral("double"));
    if (width == 1)
        return QStringLiteral("0 or 1");
    if (notation == Notation::Bits)
        return QStringLiteral("at most %1 binary digits").arg(width);
    const quint64 half = largestUnsigned(width) / 2;
    if (notation == Notation::Hex)
        return QStringLiteral("0 to %1 in hexadecimal").arg(largestUnsigned(width), 0, 16);
    const bool negatives = !notation || notation == Notation::Signed;
    return QStringLiteral("a whole number from %1 to %2")
        .arg(negatives ? QStringLiteral("-%1").arg(half + 1) : QStringLiteral("0"))
        .arg(notation == Notation::Signed ? half : largestUnsigned(width));
}

std::optional<quint64> parseDigits(const std::string& digits, int base)
{
    quint64 value = 0;
    const char* end = digits.data() + digits.size();
    const auto result = std::from_chars(digits.data(), end, value, base);
    if (result.ec != std::errc() || result.ptr != end)
        return std::nullopt;
    return value;
}

int baseOf(std::optional<Notation> notation, bool prefixed)
{
    if (notation == Notation::Bits)
        return 2;
    return prefixed || notation == Notation::Hex ? 16 : 10;
}

/// The element's bits, or nothing when the text is no number of the type.
std::optional<quint64> parseInteger(const QString& text, int width, std::optional<Notation> notation)
{
    QString digits = text;
    const bool negative = digits.startsWith(QLatin1Char('-'));
    if (negative)
        digits.remove(0, 1);
    const bool prefixed = digits.startsWith(QLatin1String("0x"), Qt::CaseInsensitive);
    if (prefixed)
        digits.remove(0, 2);
    const auto magnitude = parseDigits(digits.toStdString(), baseOf(notation, prefixed));
    if (!magnitude || digits.startsWith(QLatin1Char('-')))
        return std::nullopt;
    const quint64 most = largestUnsigned(width);
    const bool mayBeNegative = width > 1 && (!notation || notation == Notation::Signed);
    if (negative)
        return mayBeNegative && *magnitude <= most / 2 + 1 ? std::optional(most & (0 - *magnitude))
                                                           : std::nullopt;
    return *magnitude <= (notation == Notation::Signed ? most / 2 : most) ? magnitude : std::nullopt;
}

template<class Number>
std::optional<Number> parseNumber(const QString& text)
{
    const std::string digits = text.toStdString();
    const char* end = digits.data() + digits.size();
    Number value = 0;
    const auto result = std::from_chars(digits.data(), end, value);
    return result.ec == std::errc() && result.ptr == end ? std::optional(value) : std::nullopt;
}

template<class Bits, class Number>
Bits bitsOf(Number value)
{
    static_assert(sizeof(Bits) == sizeof(Number));
    Bits bits = 0;
    std::memcpy(&bits, &value, sizeof bits);
    return bits;
}

/// A float keeps its shortest decimal number by being read in its own precision.
std::optional<quint64> parseFloat(const QString& text, int width)
{
    if (width == 32) {
        const auto value = parseNumber<float>(text);
        return value ? std::optional<quint64>(bitsOf<quint32>(*value)) : std::nullopt;
    }
    const auto value = parseNumber<double>(text);
    return value ? std::optional(bitsOf<quint64>(*value)) : std::nullopt;
}

/// A number in the unit of the signal.
std::optional<quint64> parseScaled(const Item& item, const QString& text)
{
    constexpr double tolerance = 1e-6; ///< of a step, far above the error of the calculation
    const auto value = parseNumber<double>(text);
    const double unscaled = value ? (*value - item.signal.offset) / item.signal.scale : NAN;
    const auto [least, most] = numberRange(item);
    if (!std::isfinite(unscaled) || unscaled < least - tolerance || unscaled > most + tolerance)
        return std::nullopt;
    const int width = layoutOf(item.type()).width;
    if (notationOfInput(item) == Notation::Float)
        return width == 32 ? bitsOf<quint32>(static_cast<float>(unscaled)) : bitsOf<quint64>(unscaled);
    const double whole = std::round(unscaled);
    if (std::abs(unscaled - whole) > tolerance)
        return std::nullopt;
    return parseInteger(QString::number(whole, 'f', 0), width, notationOfInput(item));
}

std::optional<quint64> parseValue(const Item& item, const QString& text)
{
    if (isScaled(item))
        return parseScaled(item, text);
    const int width = layoutOf(item.type()).width;
    const auto notation = notationOfInput(item);
    return notation == Notation::Float ? parseFloat(text, width) : parseInteger(text, width, notation);
}

void putElement(QByteArray& bytes, int index, int width, quint64 element)
{
    if (width == 1) {
        const int byte = index / 8;
        if (byte == bytes.size())
            bytes.append('\0');
        bytes[byte] = static_cast<char>(bytes.at(byte) | static_cast<int>(element << (index % 8)));
        return;
    }
    for (int shift = 0; shift < width; shift += 8)
        bytes.append(static_cast<char>(element >> shift & 0xff));
}

quint64 getElement(const QByteArray& bytes, int index, int width)
{
    const auto byteAt = [&](int at) { return unsigned(static_cast<unsigned char>(bytes.at(at))); };
    if (width == 1)
        return byteAt(index / 8) >> (index % 8) & 1u;
    quint64 element = 0;
    for (int i = 0; i < width / 8; ++i)
        element |= quint64(byteAt(index * (width / 8) + i)) << (8 * i);
    return element;
}

double toDouble(quint64 element, int width)
{
    if (width == 64) {
        double value = 0;
        std::memcpy(&value, &element, sizeof value);
        return value;
    }
    const auto bits = static_cast<quint32>(element);
    float value = 0;
    std::memcpy(&value, &bits, sizeof value);
    return static_cast<double>(value);
}

/// The shortest decimal number that is this float, of 32 or 64 bits, and no other.
QString shortest(double value, int width)
{
    char text[64];
    const auto result = width == 32 ? std::to_chars(text, text + sizeof text, static_cast<float>(value))
                                    : std::to_chars(text, text + sizeof text, value);
    return QString::fromLatin1(text, static_cast<int>(result.ptr - text));
}

qint64 signExtended(quint64 element, int width)
{
    const quint64 sign = quint64(1) << (width - 1);
    return static_cast<qint64>((element ^ sign) - sign);
}

QString elementText(quint64 element, int width, Notation notation)
{
    switch (notation) {
    case Notation::Signed:
        return QString::number(signExtended(element, width));
    case Notation::Hex:
        return QStringLiteral("0x%1").arg(element, width / 4, 16, QLatin1Char('0'));
    case Notation::Float:
        return shortest(toDouble(element, width), width);
    case Notation::Bits:
        return QStringLiteral("%1").arg(element, width, 2, QLatin1Char('0'));
    case Notation::Unsigned:
    case Notation::Text:
        break;
    }
    return QString::number(element);
}

QJsonValue elementNumber(quint64 element, int width, Notation notation)
{
    if (notation == Notation::Signed)
        return signExtended(element, width);
    if (notation != Notation::Float) {
        const auto number = static_cast<qint64>(element);
        return number < 0 ? QJsonValue(static_cast<double>(element)) : QJsonValue(number);
    }
    const double value = toDouble(element, width);
    return std::isfinite(value) ? QJsonValue(shortest(value, width).toDouble()) : QJsonValue();
}

QString readableText(const QByteArray& bytes)
{
    QTextCodec::ConverterState state;
    QString text = QTextCodec::codecForName("UTF-8")->toUnicode(bytes.constData(), bytes.size(), &state);
    const bool latin1 = state.invalidChars > 0 || state.remainingChars > 0;
    if (latin1)
        text = QString::fromLatin1(bytes);
    QString readable;
    for (const QChar character : text) {
        const bool plain = character.isPrint() || character.isSurrogate();
        if (plain && !(latin1 && character.unicode() > 126))
            readable += character;
        else
            readable += QStringLiteral("\\x%1").arg(character.unicode(), 2, 16, QLatin1Char('0'));
    }
    return readable;
}

/// Puts in the bytes of the one text. Returns what is wrong, empty if nothing is.
QString appendByteText(const QStringList& values, CommandData& data)
{
    if (values.size() != 1 || values.first().isEmpty())
        return QStringLiteral("--as text takes one text that is not empty; put quotes around it");
    data.bytes = values.first().toUtf8();
    data.count = data.bytes.size();
    return QString();
}

/// Appends the bytes of one value. Returns what it must be when it is not.
QString appendValue(const Item& item, const QString& value, CommandData& data)
{
    const TypeLayout layout = layoutOf(item.type());
    if (isText(item)) {
        const QByteArray text = value.toUtf8();
        if (text.size() > item.type().length)
            return QStringLiteral("at most %1 bytes of UTF-8").arg(item.type().length);
        const QByteArray filled = text + QByteArray(layout.width / 8 - text.size(), '\0');
        data.bytes += rearranged(filled, item.order(), true);
        return QString();
    }
    const auto element = parseValue(item, value);
    if (!element)
        return valueRange(item);
    if (isDriversOwn(item) || layout.isBit()) {
        putElement(data.bytes, data.count, layout.width, *element);
        return QString();
    }
    QByteArray bytes;
    putElement(bytes, 0, layout.width, *element);
    data.bytes += rearranged(bytes, item.order(), false);
    return QString();
}

/// For a scaled signal: the numbers below and above one that lies between two of its steps, else empty.
QString neighboursOf(const Item& item, const QString& value)
{
    const auto typed = parseNumber<double>(value);
    if (!typed || notationOfInput(item) == Notation::Float)
        return QString();
    const double steps = (*typed - item.signal.offset) / item.signal.scale;
    const auto [least, most] = numberRange(item);
    if (!(steps > least && steps < most))
        return QString();
    const auto [below, above] = std::minmax({std::floor(steps) * item.signal.scale + item.signal.offset,
                                             std::ceil(steps) * item.signal.scale + item.signal.offset});
    return QStringLiteral("; the nearest are %1 and %2").arg(number(below), number(above));
}

/// Whether values are typed as decimal numbers, not as bits, hexadecimal digits or text.
bool takesDecimals(const Item& item)
{
    const auto notation = notationOfInput(item);
    return !isText(item) && layoutOf(item.type()).width > 1 && notation != Notation::Bits &&
           notation != Notation::Hex;
}

/// What may help with a value that does not fit; empty if nothing is known. --type would not help with a
/// signal, whose type comes from its list.
QString hintFor(const Item& item, const QString& value)
{
    if (!takesDecimals(item))
        return QString();
    if (value.contains(QLatin1Char(',')))
        return QStringLiteral("; the decimal sign is a point, and blanks separate values");
    if (!item.signal.unit.isEmpty() && value.endsWith(item.signal.unit))
        return QStringLiteral("; leave out the unit");
    if (isScaled(item))
        return neighboursOf(item, value);
    const bool isWhole = notationOfInput(item) != Notation::Float;
    if (isWhole && value.contains(QLatin1Char('.')) && item.signal.name.isEmpty())
        return QStringLiteral("; take --type float32 for a number with a decimal point, which fills two "
                              "registers");
    return QString();
}

QString misfit(const Item& item, int position, const QString& value, const QString& wanted)
{
    const QString type = signalTypeName(item.type());
    const QString article =
        type.startsWith(QLatin1String("int")) ? QStringLiteral("an") : QStringLiteral("a");
    return QStringLiteral("value %1, \"%2\", does not fit %3 %4: it must be %5%6")
        .arg(position)
        .arg(value, article, type, wanted, hintFor(item, value));
}

/// Appends all values. Returns what is wrong with the first one that does not fit, empty if all do.
QString appendValues(const Item& item, const QStringList& values, CommandData& data)
{
    for (const QString& value : values) {
        const QString wanted = appendValue(item, value, data);
        ++data.count;
        if (!wanted.isEmpty())
            return misfit(item, data.count, value, wanted);
        if (isDriversOwn(item) && !item.notation && !isScaled(item) && value.startsWith(QLatin1Char('-')))
            data.notation = Notation::Signed;
    }
    return QString();
}

/// Why the last byte of the data would zero the other half of its register; empty when it does not.
QString halfRegisterProblem(const Item& item, int bytes)
{
    if (item.address.isForeign() || item.address.isBit())
        return QString();
    if (isText(item) && item.type().length % 2 != 0)
        return QStringLiteral(
                   "%1 ends in the middle of a register, whose other half would become 0: take string(%2)")
            .arg(signalTypeName(item.type()))
            .arg(item.type().length + 1);
    if (layoutOf(item.type()).width == 8 && bytes % 2 != 0)
        return QStringLiteral(
                   "%1 byte(s) end in the middle of a register, whose other half would become 0: give "
                   "one byte more, or write words (--type word)")
            .arg(bytes);
    return QString();
}

quint64 valueAt(const Item& item, const QByteArray& data, int index)
{
    const TypeLayout layout = layoutOf(item.type());
    if (isDriversOwn(item) || layout.isBit())
        return getElement(data, index, layout.width);
    const int bytes = layout.width / 8;
    return getElement(rearranged(data.mid(index * bytes, bytes), item.order(), false), 0, layout.width);
}

/// The bytes of a string, zero bytes included.
QByteArray stringAt(const Item& item, const QByteArray& data, int index)
{
    const int bytes = layoutOf(item.type()).width / 8;
    return rearranged(data.mid(index * bytes, bytes), item.order(), true).left(item.type().length);
}

QString stringText(const Item& item, const QByteArray& bytes)
{
    if (item.notation.value_or(Notation::Text) == Notation::Text)
        return readableText(QByteArray(bytes.constData())); // up to the first zero byte
    QStringList texts;
    for (const char byte : bytes)
        texts += elementText(static_cast<unsigned char>(byte), 8, *item.notation);
    return texts.join(QLatin1Char(' '));
}

double scaledNumber(const Item& item, quint64 value)
{
    const TypeLayout layout = layoutOf(item.type());
    double unscaled = static_cast<double>(value);
    if (layout.notation == Notation::Float)
        unscaled = toDouble(value, layout.width);
    else if (layout.notation == Notation::Signed)
        unscaled = static_cast<double>(signExtended(value, layout.width));
    return unscaled * item.signal.scale + item.signal.offset;
}

/// A scaled number, without the digits that single precision does not have.
QString scaledText(const Item& item, double scaled)
{
    const TypeLayout layout = layoutOf(item.type());
    const bool isSingle = layout.notation == Notation::Float && layout.width == 32 &&
                          std::abs(scaled) <= double(std::numeric_limits<float>::max());
    return isSingle ? shortest(scaled, 32) : number(scaled);
}

QString valueText(const Item& item, quint64 value)
{
    const TypeLayout layout = layoutOf(item.type());
    const int decimals = item.notation ? -1 : item.signal.decimals.value_or(-1);
    if (isScaled(item) || (decimals >= 0 && layout.notation == Notation::Float)) {
        const double scaled = scaledNumber(item, value);
        return decimals >= 0 ? QString::number(scaled, 'f', decimals) : scaledText(item, scaled);
    }
    const QString text = elementText(value, layout.width, item.notation.value_or(layout.notation));
    return decimals > 0 && !layout.isBit() ? text + QLatin1Char('.') + QString(decimals, QLatin1Char('0'))
                                           : text;
}

QJsonValue valueNumber(const Item& item, quint64 value)
{
    const TypeLayout layout = layoutOf(item.type());
    if (!isScaled(item))
        return elementNumber(value, layout.width, item.notation.value_or(layout.notation));
    const double scaled = scaledNumber(item, value);
    return std::isfinite(scaled) ? QJsonValue(scaledText(item, scaled).toDouble()) : QJsonValue();
}

} // namespace

std::optional<CommandData> encodeValues(const Item& item, const QStringList& values, QString& error)
{
    CommandData data;
    data.notation = item.notation;
    error = isByteText(item) ? appendByteText(values, data) : appendValues(item, values, data);
    if (error.isEmpty())
        error = halfRegisterProblem(item, data.bytes.size());
    return error.isEmpty() ? std::optional(data) : std::nullopt;
}

QStringList valueTexts(const Item& item, const QByteArray& data)
{
    if (isByteText(item))
        return {readableText(data.left(item.count))};
    QStringList texts;
    for (int i = 0; i < item.count; ++i)
        texts += isText(item) ? stringText(item, stringAt(item, data, i))
                              : valueText(item, valueAt(item, data, i));
    return texts;
}

QJsonArray valueNumbers(const Item& item, const QByteArray& data)
{
    const int width = layoutOf(item.type()).width;
    QJsonArray numbers;
    for (int i = 0; i < item.count; ++i) {
        if (isText(item))
            numbers += stringText(item, stringAt(item, data, i));
        else if (item.notation == Notation::Bits)
            for (int bit = 0; bit < width; ++bit)
                numbers += static_cast<int>(valueAt(item, data, i) >> bit & 1);
        else
            numbers += valueNumber(item, valueAt(item, data, i));
    }
    return numbers;
}

QVector<QByteArray> valueData(const Item& item, const QByteArray& data)
{
    const int width = layoutOf(item.type()).width;
    QVector<QByteArray> values;
    for (int i = 0; i < item.count; ++i)
        values += width == 1 ? QByteArray(1, static_cast<char>(getElement(data, i, 1)))
                             : data.mid(i * width / 8, width / 8);
    return values;
}

QString withUnit(const Item& item, const QString& text)
{
    return item.notation || item.signal.unit.isEmpty() ? text : text + QLatin1Char(' ') + item.signal.unit;
}
