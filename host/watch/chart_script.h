#ifndef WATCH_CHART_SCRIPT_H
#define WATCH_CHART_SCRIPT_H

#include "watch/record.h"

#include <QByteArray>

/// Formats of a chart.
enum class ChartFormat
{
    Svg,
    Png
};

/// Which numbers have a panel, and so an axis of values, in common.
enum class ChartAxes
{
    Unit, ///< those of one unit
    Each  ///< none
};

struct ChartStyle
{
    QString title;
    ChartFormat format = ChartFormat::Svg;
    ChartAxes axes = ChartAxes::Unit;
};

/// What gnuplot has to do to draw a record: panels for numbers, and one for bits with a lane for each, above
/// one time axis. Columns without any value are left out; the record has one with a value.
QByteArray chartScript(const Record& record, const ChartStyle& style);

#endif
