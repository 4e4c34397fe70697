#ifndef WATCH_MOMENT_H
#define WATCH_MOMENT_H

#include <QDate>
#include <QString>
#include <QTime>

#include <optional>

/// A time as people write it, in UTC.
struct Moment
{
    QDate day; ///< not valid: no day was given
    QTime time;

    /// Seconds since 1970; uses the day otherwise if the moment has none.
    double seconds(QDate otherwise) const;
};

/// Accepts "2026-11-22 22:58:05.250", "2026-11-22T22:58:05Z", "2026-11-22 22:58", "2026-11-22" (its
/// midnight), "22:58:05" and "22:58". Nothing if the text is none of these.
std::optional<Moment> parseMoment(const QString& text);

#endif
