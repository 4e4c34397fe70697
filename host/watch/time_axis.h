#ifndef WATCH_TIME_AXIS_H
#define WATCH_TIME_AXIS_H

#include <QString>

/// How the time axis of a chart is labelled, depending on its length. Times are seconds since 1970 UTC.
struct TimeAxis
{
    double origin;  ///< the time that is 0 on the axis
    double length;  ///< at least 1
    QString format; ///< strftime format of a time of day; empty: seconds since origin, in suitable steps
    double step;    ///< from one label to the next, wide enough for them; whole days, hours, minutes
    QString label;
};

/// width: length of the axis in characters.
TimeAxis timeAxis(double begin, double end, int width);

#endif
