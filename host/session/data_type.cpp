#include "session/data_type.h"

const QStringList& dataTypeNames()
{
    static const QStringList names = {
        QStringLiteral("bit"),   QStringLiteral("byte"),  QStringLiteral("word"),    QStringLiteral("dword"),
        QStringLiteral("qword"), QStringLiteral("block"), QStringLiteral("bitblock")};
    return names;
}

QString dataTypeName(CommandDataType type)
{
    return dataTypeNames().value(type);
}

std::optional<CommandDataType> dataTypeFromName(const QString& name)
{
    const int index = dataTypeNames().indexOf(name);
    return index < 0 ? std::nullopt : std::optional(static_cast<CommandDataType>(index));
}

int elementWidth(CommandDataType type)
{
    static const int widths[] = {1, 8, 16, 32, 64, 8, 1};
    return widths[type];
}

qint64 dataLength(CommandDataType type, int count)
{
    return (qint64(count) * elementWidth(type) + 7) / 8;
}
