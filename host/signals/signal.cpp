#include "signals/signal.h"

#include "session/data_type.h"

const QStringList& signalTypeNames()
{
    static const QStringList names =
        QStringLiteral("bool int16 uint16 int32 uint32 int64 uint64 float32 float64 string(N) "
                       "bit byte word dword qword block bitblock")
            .split(QLatin1Char(' '));
    return names;
}

std::optional<SignalType> parseSignalType(const QString& text)
{
    if (text.startsWith(QLatin1String("string(")) && text.endsWith(QLatin1Char(')'))) {
        const QString digits = text.mid(7).chopped(1);
        const int length = digits.toInt();
        if (length < 1 || length > longestString || digits != QString::number(length))
            return std::nullopt;
        return SignalType{SignalType::String, length};
    }
    const int index = signalTypeNames().indexOf(text);
    return index < 0 ? std::nullopt : std::optional(SignalType{static_cast<SignalType::Kind>(index)});
}

QString signalTypeName(SignalType type)
{
    if (type.kind == SignalType::String)
        return QStringLiteral("string(%1)").arg(type.length);
    return signalTypeNames().at(type.kind);
}

const QStringList& byteOrderNames()
{
    static const QStringList names = {QStringLiteral("ABCD"), QStringLiteral("CDAB"), QStringLiteral("BADC"),
                                      QStringLiteral("DCBA")};
    return names;
}

std::optional<ByteOrder> parseByteOrder(const QString& text)
{
    const int index = byteOrderNames().indexOf(text.toUpper());
    return index < 0 ? std::nullopt : std::optional(static_cast<ByteOrder>(index));
}

QString byteOrderName(ByteOrder order)
{
    return byteOrderNames().at(static_cast<int>(order));
}

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

TypeLayout layoutOf(SignalType type)
{
    static const TypeLayout layouts[] = {{Bit, 1, 1, Notation::Unsigned},   {Word, 1, 16, Notation::Signed},
                                         {Word, 1, 16, Notation::Unsigned}, {Word, 2, 32, Notation::Signed},
                                         {Word, 2, 32, Notation::Unsigned}, {Word, 4, 64, Notation::Signed},
                                         {Word, 4, 64, Notation::Unsigned}, {Word, 2, 32, Notation::Float},
                                         {Word, 4, 64, Notation::Float}};
    if (type.kind < SignalType::String)
        return layouts[type.kind];
    if (type.kind == SignalType::String) {
        const int registers = (type.length + 1) / 2;
        return {Word, registers, 16 * registers, Notation::Text};
    }
    const auto element = static_cast<CommandDataType>(type.kind - SignalType::DriverBit);
    return {element, 1, elementWidth(element), Notation::Unsigned};
}

QString notationProblem(SignalType type, Notation notation)
{
    const TypeLayout layout = layoutOf(type);
    const QString name = signalTypeName(type);
    const bool showsBytes = notation == Notation::Hex || notation == Notation::Bits;
    if (type.kind == SignalType::String)
        return showsBytes || notation == Notation::Text
                   ? QString()
                   : QStringLiteral("a string is no number; only text, hex and bits fit it");
    if (notation == Notation::Float && layout.width != 32 && layout.width != 64)
        return QStringLiteral("float needs --type float32, float64 or dword, not %1").arg(name);
    if (notation == Notation::Text && layout.width != 8)
        return QStringLiteral("text needs --type string(N), byte or block, not %1").arg(name);
    if (layout.isBit() && notation != Notation::Unsigned && notation != Notation::Bits)
        return QStringLiteral("a %1 is 0 or 1; only uint and bits fit it").arg(name);
    return QString();
}
