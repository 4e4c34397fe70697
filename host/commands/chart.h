#ifndef COMMANDS_CHART_H
#define COMMANDS_CHART_H

#include "session/link_options.h"
#include "watch/chart_script.h"

struct ChartOptions
{
    LinkOptions link; ///< only its format is used
    QString record;
    QString output; ///< its suffix gives the format
    RecordSelection selection;
    ChartStyle style; ///< an empty title: the name of the record
};

/// Draws a record made by watch.
int runChart(const ChartOptions& options, Console& console);

#endif
