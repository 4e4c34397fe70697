#include "watch/record_writer.h"

#include "signals/values.h"
#include "text/csv_reader.h"
#include "text/json_line.h"
#include "watch/record.h"
#include "watch/sample_text.h"
#include "watch/watched_items.h"

#include <algorithm>

namespace {

constexpr qint64 shortestGap = 500; ///< less is a busy machine

QByteArray csvLine(const QStringList& fields)
{
    QByteArrayList texts;
    for (const QString& field : fields)
        texts += field.isEmpty() ? QByteArray() : csvField(field.toUtf8().replace('\n', ' '));
    return texts.join(',') + '\n';
}

QByteArray rowOf(qint64 time, const QStringList& values, const QString& milliseconds,
                 const QStringList& errors)
{
    return csvLine(QStringList{utcText(time)} + values +
                   QStringList{milliseconds, errors.join(QStringLiteral("; "))});
}

/// The notation in which the numbers stand in the record, if it is not that of the type.
std::optional<Notation> recordedNotation(const Item& item)
{
    const bool isDecimal = item.notation == Notation::Signed || item.notation == Notation::Float;
    const bool isUsual = item.signal.name.isEmpty() && item.notation == layoutOf(item.type()).notation;
    return isDecimal && !isUsual ? item.notation : std::nullopt;
}

/// What is different from other items at the same address.
QString optionsOf(const Item& item)
{
    QString text;
    const auto usual = item.address.isBit() ? SignalType::DriverBit : SignalType::DriverWord;
    const ByteOrder order = item.address.highWordFirst ? ByteOrder::ABCD : ByteOrder::CDAB;
    if (item.type().kind != usual)
        text += QLatin1Char(':') + signalTypeName(item.type());
    if (item.order() != order)
        text += QLatin1Char(':') + byteOrderName(item.order());
    return text;
}

} // namespace

QStringList columnHeadings(const Item& item, const RecordStations& stations)
{
    Item own = item;
    const int station = item.address.station.value_or(stations.link);
    own.address.station = station == stations.byDefault ? std::nullopt : std::optional(station);
    own.signal.address = own.address.fullText();
    const bool isNamed = !item.signal.name.isEmpty();
    const bool isForeign = item.address.isForeign();
    const auto notation = recordedNotation(item);
    QStringList headings;
    for (QString name : own.elementNames()) {
        if (own.address.station && (isForeign || (isNamed && !item.address.station)))
            name += QStringLiteral(" (station %1)").arg(station);
        if (!isNamed)
            name += optionsOf(item);
        if (notation)
            name += QLatin1Char(':') + notationNames().at(static_cast<int>(*notation));
        headings += columnHeading(name, notation ? QString() : item.signal.unit);
    }
    return headings;
}

QByteArray recordHeader(const QVector<Item>& items, const RecordStations& stations)
{
    QStringList fields = {QStringLiteral("time")};
    for (const Item& item : items)
        fields += columnHeadings(item, stations);
    return csvLine(fields + QStringList{QStringLiteral("milliseconds"), QStringLiteral("error")});
}

RecordWriter::RecordWriter(CsvRecorder& recorder, const QVector<Item>& items,
                           std::chrono::milliseconds interval)
    : m_recorder(recorder), m_items(items), m_interval(interval.count())
{
    for (const Item& item : items) {
        m_firstFields += m_fields.size();
        for (int i = 0; i < item.count; ++i)
            m_fields += QString();
    }
    if (recorder.isContinued())
        m_notes += QStringLiteral("watch was started again");
}

void RecordWriter::add(const Reading& reading)
{
    if (reading.sample != m_sample) {
        m_sample = reading.sample;
        m_milliseconds = 0;
        noteGap(reading.sampleTime);
        const bool isSlow = reading.time - reading.sampleTime > m_interval;
        startRow(isSlow ? reading.time : reading.sampleTime);
    } else if (reading.time - m_rowTime > m_interval) {
        writeRow(QString());
        startRow(reading.time);
    }
    put(reading);
    m_lastTime = reading.time;
    if (reading.endsSample)
        writeRow(QString::number(roundedMilliseconds(m_milliseconds), 'f', 3));
}

void RecordWriter::startRow(qint64 time)
{
    m_rowTime = time;
    m_errors.clear();
    std::fill(m_fields.begin(), m_fields.end(), QString());
}

void RecordWriter::noteGap(qint64 time)
{
    const qint64 gap = m_lastTime ? time - *m_lastTime : 0;
    if (gap > std::max(2 * m_interval, shortestGap))
        m_notes +=
            QStringLiteral("nothing was read for %1 s").arg(static_cast<double>(gap) / 1000, 0, 'f', 1);
    else if (gap < 0)
        m_notes += QStringLiteral("the clock was set back");
}

void RecordWriter::put(const Reading& reading)
{
    const Item& item = m_items.at(reading.index);
    if (reading.beginsCommand)
        m_milliseconds += reading.outcome.milliseconds;
    if (!reading.outcome.done()) {
        if (m_errors.isEmpty() || !m_errors.last().endsWith(reading.outcome.error))
            m_errors += QStringLiteral("%1: %2").arg(item.signal.address, reading.outcome.error);
        return;
    }
    int field = m_firstFields.at(reading.index);
    for (const QString& value : decimalTexts(item, reading.outcome.data))
        m_fields[field++] = value;
}

/// Leaves the milliseconds out if the sample goes on in another row.
void RecordWriter::writeRow(const QString& milliseconds)
{
    const quint64 lost = m_recorder.rowsLost();
    QStringList notes = m_notes;
    if (lost > m_lostNoted)
        notes += QStringLiteral("%1 row(s) are missing").arg(lost - m_lostNoted);
    const QByteArray row = rowOf(m_rowTime, m_fields, milliseconds, m_errors);
    QStringList none = m_fields;
    std::fill(none.begin(), none.end(), QString());
    const QByteArray note = rowOf(m_rowTime, none, QStringLiteral("0.000"), notes);
    m_recorder.append(notes.isEmpty() ? row : note + row);
    if (m_recorder.rowsLost() > lost)
        return; // it stays to be said
    m_notes.clear();
    m_lostNoted = lost;
}
