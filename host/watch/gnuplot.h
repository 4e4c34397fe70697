#ifndef WATCH_GNUPLOT_H
#define WATCH_GNUPLOT_H

#include "watch/record.h"

#include <QByteArray>

/// Formats of a chart.
enum class ChartFormat
{
    Svg,
    Png
};

/// What gnuplot has to do to draw a record: one panel for numbers, one for bits with a lane for each, as far
/// as there are such columns. The record has samples.
QByteArray gnuplotScript(const Record& record, const QString& title, ChartFormat format);

/// Runs gnuplot, a program of its own. The result is the picture; it is empty, and error says why, when
/// gnuplot is not installed or refuses the script.
QByteArray runGnuplot(const QByteArray& script, QString& error);

#endif
