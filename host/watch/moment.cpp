#include "watch/moment.h"

#include <QDateTime>
#include <QRegularExpression>

double Moment::seconds(QDate otherwise) const
{
    const QDateTime moment(day.isValid() ? day : otherwise, time, Qt::UTC);
    return static_cast<double>(moment.toMSecsSinceEpoch()) / 1000;
}

std::optional<Moment> parseMoment(const QString& text)
{
    static const QRegularExpression parts(QRegularExpression::anchoredPattern(
        QStringLiteral("(\\d{4}-\\d\\d-\\d\\d)?(?:(?:^|[ T])"
                       "(\\d\\d:\\d\\d(?::\\d\\d(?:\\.\\d{1,3})?)?)Z?)?")));
    const QRegularExpressionMatch match = parts.match(text);
    const QString day = match.captured(1);
    const QString time = match.captured(2);
    const Moment moment = {QDate::fromString(day, Qt::ISODate),
                           time.isEmpty() ? QTime(0, 0) : QTime::fromString(time, Qt::ISODateWithMs)};
    const bool isThere = !day.isEmpty() || !time.isEmpty();
    const bool isRight = (day.isEmpty() || moment.day.isValid()) && moment.time.isValid();
    return isThere && isRight ? std::optional(moment) : std::nullopt;
}
