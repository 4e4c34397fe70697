#ifndef WATCH_TIME_AXIS_H
#define WATCH_TIME_AXIS_H

#include <QString>

/// How the time axis of a chart is written; its length decides. Times are seconds since 1970 UTC.
struct TimeAxis
{
    double origin;  ///< the time that is 0 on the axis
    double length;  ///< 1 at least
    QString format; ///< of a time of day, as strftime has it; empty: seconds since origin, in steps that suit
    double step;    ///< from one label to the next, so that they do not touch; on whole days, hours, minutes
    QString label;
};

/// width: of the axis in characters.
TimeAxis timeAxis(double begin, double end, int width);

#endif
