#include "signals/signal.h"

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
