#include "signals/values.h"

#include <QTextCodec>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>

namespace {

bool isBitType(CommandDataType type)
{
    return type == Bit || type == BitBlock;
}
bool isByteType(CommandDataType type)
{
    return type == Byte || type == Block;
}

quint64 largestUnsigned(int width)
{
    return ~quint64(0) >> (64 - width);
}

/// The values that are allowed, for an error text.
QString elementRange(CommandDataType type, std::optional<Notation> notation)
{
    const int width = elementWidth(type);
    if (notation == Notation::Float)
        return QStringLiteral("a number that single precision can hold");
    if (width == 1)
        return QStringLiteral("0 or 1");
    if (notation == Notation::Bits)
        return QStringLiteral("at most %1 binary digits").arg(width);
    const quint64 half = largestUnsigned(width) / 2;
    if (notation == Notation::Hex)
        return QStringLiteral("0 to %1 in hexadecimal").arg(largestUnsigned(width), 0, 16);
    const bool negatives = !notation || notation == Notation::Signed;
    return QStringLiteral("a whole number from %1 to %2%3")
        .arg(negatives ? QStringLiteral("-%1").arg(half + 1) : QStringLiteral("0"))
        .arg(notation == Notation::Signed ? half : largestUnsigned(width))
        .arg(notation || type != DoubleWord ? QString()
                                            : QStringLiteral(", or a number with a decimal point"));
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

/// The element's bits; nothing if the text is not a number of the type.
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

bool looksLikeFloat(const QString& text)
{
    return !text.startsWith(QLatin1String("0x"), Qt::CaseInsensitive) &&
           !text.startsWith(QLatin1String("-0x"), Qt::CaseInsensitive) &&
           (text.contains(QLatin1Char('.')) || text.contains(QLatin1Char('e'), Qt::CaseInsensitive));
}

std::optional<quint64> parseFloat(const QString& text)
{
    const std::string digits = text.toStdString();
    const char* end = digits.data() + digits.size();
    float value = 0;
    const auto result = std::from_chars(digits.data(), end, value);
    if (result.ec != std::errc() || result.ptr != end)
        return std::nullopt;
    quint32 bits = 0;
    std::memcpy(&bits, &value, sizeof bits);
    return bits;
}

std::optional<quint64> parseElement(const QString& text, CommandDataType type,
                                    std::optional<Notation> notation)
{
    return notation == Notation::Float ? parseFloat(text) : parseInteger(text, elementWidth(type), notation);
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

float toFloat(quint64 element)
{
    const auto bits = static_cast<quint32>(element);
    float value = 0;
    std::memcpy(&value, &bits, sizeof value);
    return value;
}

/// The shortest decimal number that reads back as this float.
QString shortest(float value)
{
    char text[64];
    const auto result = std::to_chars(text, text + sizeof text, value);
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
        return shortest(toFloat(element));
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
    const float value = toFloat(element);
    return std::isfinite(value) ? QJsonValue(shortest(value).toDouble()) : QJsonValue();
}

QString readableText(const QByteArray& bytes)
{
    QTextCodec::ConverterState state;
    QString text = QTextCodec::codecForName("UTF-8")->toUnicode(bytes.constData(), bytes.size(), &state);
    if (state.invalidChars > 0 || state.remainingChars > 0)
        text = QString::fromLatin1(bytes);
    const bool latin1 = state.invalidChars > 0 || state.remainingChars > 0;
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

std::optional<CommandData> encodeText(const QStringList& values, QString& error)
{
    if (values.size() != 1 || values.first().isEmpty()) {
        error = QStringLiteral("--as text takes one text that is not empty; put quotes around it");
        return std::nullopt;
    }
    const QByteArray bytes = values.first().toUtf8();
    return CommandData{bytes.size(), bytes, Notation::Text};
}

/// Whether these are single-precision numbers. A mixture is an error, because its whole numbers would be
/// ambiguous.
bool areFloats(CommandDataType type, const QStringList& values, QString& error)
{
    if (type != DoubleWord)
        return false;
    const auto floats = std::count_if(values.begin(), values.end(), looksLikeFloat);
    if (floats != 0 && floats != values.size())
        error = QStringLiteral(
            "whole numbers and numbers with a decimal point are mixed: give all of them a decimal "
            "point, or say --as float");
    return floats != 0;
}

} // namespace

const QStringList& notationNames()
{
    static const QStringList names = {QStringLiteral("uint"), QStringLiteral("int"),
                                      QStringLiteral("hex"),  QStringLiteral("float"),
                                      QStringLiteral("bits"), QStringLiteral("text")};
    return names;
}

std::optional<Notation> notationFromName(const QString& name)
{
    const int index = notationNames().indexOf(name);
    return index < 0 ? std::nullopt : std::optional(static_cast<Notation>(index));
}

QString notationProblem(CommandDataType type, Notation notation)
{
    if (notation == Notation::Float && type != DoubleWord)
        return QStringLiteral("float needs --type dword, not %1").arg(dataTypeName(type));
    if (notation == Notation::Text && !isByteType(type))
        return QStringLiteral("text needs --type byte or block, not %1").arg(dataTypeName(type));
    if (isBitType(type) && notation != Notation::Unsigned && notation != Notation::Bits)
        return QStringLiteral("a %1 is 0 or 1; only uint and bits fit it").arg(dataTypeName(type));
    return QString();
}

std::optional<CommandData> encodeValues(CommandDataType type, std::optional<Notation> notation,
                                        const QStringList& values, QString& error)
{
    if (notation == Notation::Text)
        return encodeText(values, error);
    if (!notation && areFloats(type, values, error))
        notation = Notation::Float;
    if (!error.isEmpty())
        return std::nullopt;
    CommandData data;
    for (const QString& value : values) {
        const auto element = parseElement(value, type, notation);
        if (!element) {
            error = QStringLiteral("value %1, \"%2\", does not fit a %3: it must be %4")
                        .arg(data.count + 1)
                        .arg(value, dataTypeName(type), elementRange(type, notation));
            return std::nullopt;
        }
        putElement(data.bytes, data.count++, elementWidth(type), *element);
        if (value.startsWith(QLatin1Char('-')))
            data.notation = Notation::Signed;
    }
    data.notation = notation.value_or(data.notation);
    return data;
}

QStringList valueTexts(CommandDataType type, Notation notation, int count, const QByteArray& data)
{
    if (notation == Notation::Text)
        return {readableText(data.left(count))};
    QStringList texts;
    for (int i = 0; i < count; ++i)
        texts += elementText(getElement(data, i, elementWidth(type)), elementWidth(type), notation);
    return texts;
}

QJsonArray valueNumbers(CommandDataType type, Notation notation, int count, const QByteArray& data)
{
    const bool asBits = notation == Notation::Bits;
    const int width = asBits ? 1 : elementWidth(type);
    const int elements = asBits ? count * elementWidth(type) : count;
    QJsonArray numbers;
    for (int i = 0; i < elements; ++i)
        numbers += elementNumber(getElement(data, i, width), width, notation);
    return numbers;
}
