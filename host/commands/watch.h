#ifndef COMMANDS_WATCH_H
#define COMMANDS_WATCH_H

#include "session/link_options.h"
#include "signals/signal.h"

struct WatchOptions
{
    LinkOptions link;
    QStringList items;                ///< as parseItems takes them
    bool tags = false;                ///< the tags of the project instead of items
    std::optional<Notation> notation; ///< for values whose type has it
    int interval = 500;               ///< milliseconds
    std::optional<int> samples;       ///< without samples or seconds: until the user ends it
    std::optional<int> seconds;
    QString csvFile; ///< empty: no recording
};

/// Reads at an interval and shows a screen on a terminal, otherwise a line for each sample.
int runWatch(const WatchOptions& options, Console& console);

#endif
