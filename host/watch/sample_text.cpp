#include "watch/sample_text.h"

#include "signals/item_report.h"
#include "text/csv_reader.h"
#include "text/json_line.h"

#include <QByteArrayList>
#include <QDateTime>

namespace {

QString readingText(const Item& item, const Reading& reading)
{
    if (!reading.outcome.done())
        return QStringLiteral("%1 error: %2").arg(item.signal.address, reading.outcome.error);
    const QStringList names = item.elementNames();
    const QStringList values = valueTexts(item, reading.outcome.data);
    QStringList cells;
    for (int i = 0; i < values.size(); ++i)
        cells += names.at(i) + QLatin1Char('=') + withUnit(item, values.at(i));
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

QString sampleLine(const QVector<Item>& items, const QVector<Reading>& readings)
{
    QString line = utcText(readings.first().sampleTime);
    for (const Reading& reading : readings)
        line += QLatin1String("  ") + readingText(items.at(reading.index), reading);
    return line;
}

QJsonObject sampleObject(const QVector<Item>& items, const QVector<Reading>& readings)
{
    QJsonArray outcomes;
    for (const Reading& reading : readings) {
        const Item& item = items.at(reading.index);
        outcomes += outcomeObject(item, reading.outcome.data, reading.outcome);
    }
    return {{QStringLiteral("time"), utcText(readings.first().sampleTime)},
            {QStringLiteral("sample"), static_cast<qint64>(readings.first().sample)},
            {QStringLiteral("readings"), outcomes}};
}

QByteArray csvHeader(const QVector<Item>& items)
{
    QStringList fields = {QStringLiteral("time")};
    for (const Item& item : items)
        fields += columnNames(item);
    fields += {QStringLiteral("milliseconds"), QStringLiteral("error")};
    return csvLine(fields);
}

QByteArray csvRow(const QVector<Item>& items, const QVector<Reading>& readings)
{
    QStringList fields = {utcText(readings.first().sampleTime)};
    QStringList errors;
    double milliseconds = 0;
    for (const Reading& reading : readings) {
        const Item& item = items.at(reading.index);
        milliseconds += reading.outcome.milliseconds;
        if (reading.outcome.done()) {
            fields += decimalTexts(item, reading.outcome.data);
            continue;
        }
        errors += QStringLiteral("%1: %2").arg(item.signal.address, reading.outcome.error);
        for (int i = 0; i < item.count; ++i)
            fields += QString();
    }
    fields += {QString::number(roundedMilliseconds(milliseconds), 'f', 3), errors.join(QStringLiteral("; "))};
    return csvLine(fields);
}
