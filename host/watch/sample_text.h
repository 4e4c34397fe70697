#ifndef WATCH_SAMPLE_TEXT_H
#define WATCH_SAMPLE_TEXT_H

#include "watch/poller.h"
#include "watch/watched_items.h"

#include <QJsonObject>

// One sample, the readings of all items at about the same time, as a line of text. readings holds one reading
// per item, in their order.

/// RFC 3339 with milliseconds, UTC: 2026-11-22T22:58:05.123Z. time is in milliseconds since 1970 UTC.
QString utcText(qint64 time);

/// For people: the time, then each element with its value; for a failed command, its error instead of the
/// values, in full where it is another one than that before.
QString sampleLine(const QVector<Item>& items, const QVector<Reading>& readings);

/// For programs: time, sample (counted from 1) and readings, an array of what "read" prints for each command.
QJsonObject sampleObject(const QVector<Item>& items, const QVector<Reading>& readings);

#endif
