#include "csv_fields.h"

QString csvField(const QString& text)
{
    QString field = text;
    field.replace(QLatin1Char('\n'), QLatin1Char(' ')).remove(QLatin1Char('\r'));
    if (!field.contains(QLatin1Char(',')) && !field.contains(QLatin1Char('"')))
        return field;
    field.replace(QLatin1Char('"'), QLatin1String("\"\""));
    return QLatin1Char('"') + field + QLatin1Char('"');
}

std::optional<QStringList> csvFieldsOf(const QString& line)
{
    QStringList fields = {QString()};
    bool quoted = false;
    for (int i = 0; i < line.size(); ++i) {
        const QChar character = line.at(i);
        const bool isQuote = character == QLatin1Char('"');
        if (quoted && isQuote && line.midRef(i + 1, 1) == QLatin1String("\"")) {
            fields.last() += character;
            ++i;
        } else if (isQuote && quoted) {
            quoted = false;
            if (i + 1 < line.size() && line.at(i + 1) != QLatin1Char(','))
                return std::nullopt;
        } else if (isQuote && fields.last().isEmpty()) {
            quoted = true;
        } else if (character == QLatin1Char(',') && !quoted) {
            fields += QString();
        } else {
            fields.last() += character;
        }
    }
    return quoted ? std::nullopt : std::optional(fields);
}
