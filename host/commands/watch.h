#ifndef COMMANDS_WATCH_H
#define COMMANDS_WATCH_H

#include "session/link_options.h"
#include "signals/values.h"

struct WatchOptions
{
    LinkOptions link;
    QStringList addresses;                  ///< ADDRESS[:TYPE[:COUNT]]
    bool tags = false;                      ///< in place of addresses: the tags of the project
    Notation notation = Notation::Unsigned; ///< of those whose type has it
    int interval = 500;                     ///< milliseconds
    std::optional<int> samples;             ///< these two: none is until somebody ends it
    std::optional<int> seconds;
    QString csvFile; ///< empty: nothing is recorded
};

/// Reads at an interval: a screen on a terminal, else a line for each sample.
int runWatch(const WatchOptions& options, Console& console);

#endif
