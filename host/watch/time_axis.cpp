#include "watch/time_axis.h"

#include <QDateTime>

#include <algorithm>
#include <cmath>

namespace {

constexpr double briefly = 120;
constexpr double day = 86400;

/// Labels at every step; their length includes a blank on either side.
struct Labels
{
    double step;
    QString format;
    int width;
    QString name;
};

Labels labelsAt(double step, bool severalDays)
{
    if (step >= day)
        return {step, QStringLiteral("%Y-%m-%d"), 12, QStringLiteral("day")};
    if (severalDays)
        return {step, QStringLiteral("%m-%d %H:%M"), 13, QStringLiteral("month-day and time")};
    if (step >= 60)
        return {step, QStringLiteral("%H:%M"), 7, QStringLiteral("time of day")};
    return {step, QStringLiteral("%H:%M:%S"), 10, QStringLiteral("time of day")};
}

Labels labelsFor(double length, int width)
{
    const double steps[] = {1,    2,    5,    10,    15,    30,    60,  120,     300,     600,      900,
                            1800, 3600, 7200, 10800, 21600, 43200, day, 2 * day, 5 * day, 10 * day, 20 * day};
    for (const double step : steps) {
        Labels labels = labelsAt(step, length > day);
        if (length / step * labels.width <= width)
            return labels;
    }
    const double most = width / 12.0;
    return labelsAt(std::ceil(length / most / (50 * day)) * 50 * day, true);
}

} // namespace

TimeAxis timeAxis(double begin, double end, int width)
{
    const double length = std::max(end - begin, 1.0);
    const QDateTime start = QDateTime::fromMSecsSinceEpoch(static_cast<qint64>(begin * 1000), Qt::UTC);
    if (length <= briefly)
        return {begin, length, QString(), 0,
                QStringLiteral("seconds since %1 UTC")
                    .arg(start.toString(QStringLiteral("yyyy-MM-dd HH:mm:ss")))};
    const Labels labels = labelsFor(length, width);
    const QString label =
        QStringLiteral("%1, UTC, from %2 on").arg(labels.name, start.toString(QStringLiteral("yyyy-MM-dd")));
    return {0, length, labels.format, labels.step, label};
}
