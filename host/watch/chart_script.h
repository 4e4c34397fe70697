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

/// Which numbers share a panel, and so an axis of values.
enum class ChartAxes
{
    Unit, ///< numbers of the same unit
    Each  ///< none
};

struct ChartStyle
{
    QString title;
    ChartFormat format = ChartFormat::Svg;
    ChartAxes axes = ChartAxes::Unit;
};

/// The gnuplot script that draws a record: panels for numbers, and one for bits with a lane for each, above a
/// common time axis. Columns without values are left out; at least one column must have a value.
QByteArray chartScript(const Record& record, const ChartStyle& style);

#endif
