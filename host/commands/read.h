#ifndef COMMANDS_READ_H
#define COMMANDS_READ_H

#include "session/link_options.h"
#include "signals/values.h"

struct ReadOptions
{
    LinkOptions link;
    QString address;
    std::optional<CommandDataType> type; ///< without one: the area's element type
    int count = 1;
    Notation notation = Notation::Unsigned;
};

/// Runs one read command and prints a line for each element, or one JSON object.
int runRead(const ReadOptions& options, Console& console);

#endif
