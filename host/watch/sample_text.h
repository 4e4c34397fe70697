#ifndef WATCH_SAMPLE_TEXT_H
#define WATCH_SAMPLE_TEXT_H

#include "watch/poller.h"
#include "watch/watched_items.h"

#include <QJsonObject>

// One sample, the readings of all items at about one time, as a line of text. readings holds one for each
// item, in their order.

/// RFC 3339 with milliseconds, UTC: 2026-11-22T22:58:05.123Z. The argument counts milliseconds since 1970
/// UTC.
QString utcText(qint64 time);

/// For people: the time, then each element with its value; of a command that failed its error in place of the
/// values.
QString sampleLine(const QVector<WatchedItem>& items, const QVector<Reading>& readings);

/// For programs: time, sample (counts from 1) and readings, an array with what "read" prints of each command.
QJsonObject sampleObject(const QVector<WatchedItem>& items, const QVector<Reading>& readings);

/// The header of a record, ended by a line feed: time, a column for each element, milliseconds, error.
QByteArray csvHeader(const QVector<WatchedItem>& items);

/// A row of a record: numbers are decimal, those that could not be read are empty; milliseconds is what all
/// commands took together, error what the driver said of those that failed.
QByteArray csvRow(const QVector<WatchedItem>& items, const QVector<Reading>& readings);

#endif
