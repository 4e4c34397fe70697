#ifndef COMMANDS_CHART_H
#define COMMANDS_CHART_H

#include "session/link_options.h"
#include "watch/chart_script.h"

struct ChartOptions
{
    LinkOptions link; ///< only its format counts
    QString record;
    QString output; ///< its ending says in which format
    RecordSelection selection;
    ChartStyle style; ///< an empty title: the name of the record
};

/// Draws a record of watch.
int runChart(const ChartOptions& options, Console& console);

#endif
