#include "watch/sample_text.h"

#include "signals/element_report.h"
#include "text/csv_reader.h"
#include "text/json_line.h"

#include <QByteArrayList>
#include <QDateTime>

namespace {

QString readingText(const WatchedItem& item, const Reading& reading)
{
    if (!reading.outcome.done())
        return QStringLiteral("%1 error: %2").arg(item.command.address, reading.outcome.error);
    const QStringList names = elementNames(item);
    const QStringList values =
        valueTexts(item.command.dataType, item.notation, item.command.count, reading.outcome.data);
    QStringList cells;
    for (int i = 0; i < values.size(); ++i)
        cells += names.at(i) + QLatin1Char('=') + values.at(i);
    return cells.join(QStringLiteral("  "));
}

QByteArray csvLine(const QStringList& fields)
{
    QByteArrayList quoted;
    for (const QString& field : fields)
        quoted += csvField(field.toUtf8().replace('\n', ' '));
    return quoted.join(',') + '\n';
}

} // namespace

QString utcText(qint64 time)
{
    return QDateTime::fromMSecsSinceEpoch(time, Qt::UTC).toString(Qt::ISODateWithMs);
}

QString sampleLine(const QVector<WatchedItem>& items, const QVector<Reading>& readings)
{
    QString line = utcText(readings.first().sampleTime);
    for (const Reading& reading : readings)
        line += QLatin1String("  ") + readingText(items.at(reading.index), reading);
    return line;
}

QJsonObject sampleObject(const QVector<WatchedItem>& items, const QVector<Reading>& readings)
{
    QJsonArray outcomes;
    for (const Reading& reading : readings) {
        const WatchedItem& item = items.at(reading.index);
        outcomes += outcomeObject({item.command, item.notation, OutputFormat::Json}, reading.outcome.data,
                                  reading.outcome);
    }
    return {{QStringLiteral("time"), utcText(readings.first().sampleTime)},
            {QStringLiteral("sample"), static_cast<qint64>(readings.first().sample)},
            {QStringLiteral("readings"), outcomes}};
}

QByteArray csvHeader(const QVector<WatchedItem>& items)
{
    QStringList fields = {QStringLiteral("time")};
    for (const WatchedItem& item : items) {
        for (const QString& name : elementNames(item))
            fields += columnName(name, item.command.dataType);
    }
    fields += {QStringLiteral("milliseconds"), QStringLiteral("error")};
    return csvLine(fields);
}

QByteArray csvRow(const QVector<WatchedItem>& items, const QVector<Reading>& readings)
{
    QStringList fields = {utcText(readings.first().sampleTime)};
    QStringList errors;
    double milliseconds = 0;
    for (const Reading& reading : readings) {
        const WatchedItem& item = items.at(reading.index);
        milliseconds += reading.outcome.milliseconds;
        if (reading.outcome.done()) {
            fields += decimalTexts(item, reading.outcome.data);
            continue;
        }
        errors += QStringLiteral("%1: %2").arg(item.command.address, reading.outcome.error);
        for (int i = 0; i < item.command.count; ++i)
            fields += QString();
    }
    fields += {QString::number(roundedMilliseconds(milliseconds), 'f', 3), errors.join(QStringLiteral("; "))};
    return csvLine(fields);
}
