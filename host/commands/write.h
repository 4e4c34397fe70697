#ifndef COMMANDS_WRITE_H
#define COMMANDS_WRITE_H

#include "session/link_options.h"
#include "signals/values.h"

struct WriteOptions
{
    LinkOptions link;
    QString address;
    std::optional<CommandDataType> type; ///< without one: the area's element type
    std::optional<int> count;            ///< if given, it must be the number of values
    std::optional<Notation> notation;    ///< without one: as encodeValues says
    QStringList values;
};

/// Runs one write command. Values that do not fit are refused before anything is sent.
int runWrite(const WriteOptions& options, Console& console);

#endif
