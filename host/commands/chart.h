#ifndef COMMANDS_CHART_H
#define COMMANDS_CHART_H

#include "session/link_options.h"

struct ChartOptions
{
    LinkOptions link; ///< only its format counts
    QString record;
    QString output; ///< its ending says in which format
    QString title;  ///< empty: the name of the record
};

/// Draws a record of watch.
int runChart(const ChartOptions& options, Console& console);

#endif
