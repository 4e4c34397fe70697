#ifndef WATCH_RECORD_WRITER_H
#define WATCH_RECORD_WRITER_H

#include "watch/csv_recorder.h"
#include "watch/poller.h"

/// Stations, 0 to 255.
struct RecordStations
{
    int link = 1;      ///< of items that name none
    int byDefault = 1; ///< goes without saying in a heading
};

/// The headings of an item's columns: each as watch takes it, and says all that decides about the numbers
/// below it, so that no others can continue a record. HR100, 3-HR100:dword, HR1:float32:ABCD, HR5:int, and
/// with the unit if the numbers are in it: Oven 3 temp [°C].
QStringList columnHeadings(const Item& item, const RecordStations& stations);

/// The header of a record, including the line feed: time, a column for each value, milliseconds, error.
QByteArray recordHeader(const QVector<Item>& items, const RecordStations& stations);

/// Makes a record of readings, each value at the time at which it was read; record.h describes the rows.
class RecordWriter
{
public:
    /// The recorder has the header of these items, and must outlive the writer.
    RecordWriter(CsvRecorder& recorder, const QVector<Item>& items, std::chrono::milliseconds interval);

    /// Readings come in the order in which they were made. Rows are written as soon as they are complete: a
    /// sample's only row at its end, or one for each interval that the sample takes.
    void add(const Reading& reading);

private:
    void startRow(qint64 time);
    void noteGap(qint64 time);
    void put(const Reading& reading);
    void writeRow(const QString& milliseconds);

    CsvRecorder& m_recorder;
    const QVector<Item> m_items;
    const qint64 m_interval;    ///< milliseconds, as all times; those of day since 1970 UTC
    QVector<int> m_firstFields; ///< of the items
    quint64 m_sample = 0;
    std::optional<qint64> m_lastTime; ///< of a reading
    qint64 m_rowTime = 0;
    QStringList m_fields;
    QStringList m_errors;
    double m_milliseconds = 0; ///< of the sample
    QStringList m_notes;       ///< for a row without values in front of the next one
    quint64 m_lostNoted = 0;   ///< rows
};

#endif
