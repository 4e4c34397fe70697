#ifndef COMMANDS_READ_H
#define COMMANDS_READ_H

#include "session/link_options.h"
#include "signals/item.h"

struct ReadOptions
{
    LinkOptions link;
    QStringList items; ///< as parseItems takes them
    ItemOptions options;
};

/// Reads the items in turn: prints a line per value, or a JSON object per command.
int runRead(const ReadOptions& options, Console& console);

#endif
