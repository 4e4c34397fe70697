#ifndef COMMANDS_READ_H
#define COMMANDS_READ_H

#include "session/link_options.h"
#include "signals/values.h"

struct ReadOptions
{
    LinkOptions link;
    QString address;
    std::optional<CommandDataType> type; ///< none: what the area is made of
    int count = 1;
    Notation notation = Notation::Unsigned;
};

/// One read command: a line for each element, or one JSON object.
int runRead(const ReadOptions& options, Console& console);

#endif
