#include "watch/sample_text.h"

#include "signals/item_report.h"
#include "text/json_line.h"

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

} // namespace

QString utcText(qint64 time)
{
    return QDateTime::fromMSecsSinceEpoch(time, Qt::UTC).toString(Qt::ISODateWithMs);
}

QString sampleLine(const QVector<Item>& items, const QVector<Reading>& readings)
{
    QString line = utcText(readings.first().sampleTime);
    QString error;
    for (const Reading& reading : readings) {
        const bool isSame = !reading.outcome.done() && reading.outcome.error == error;
        line +=
            QLatin1String("  ") + (isSame ? items.at(reading.index).signal.address + QLatin1String(" error")
                                          : readingText(items.at(reading.index), reading));
        error = reading.outcome.error;
    }
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
