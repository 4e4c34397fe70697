#ifndef COMMANDS_WRITE_H
#define COMMANDS_WRITE_H

#include "session/link_options.h"
#include "signals/values.h"

struct WriteOptions
{
    LinkOptions link;
    QString address;
    std::optional<CommandDataType> type; ///< none: what the area is made of
    std::optional<int> count;            ///< given, it must be the number of the values
    std::optional<Notation> notation;    ///< none: as encodeValues says
    QStringList values;
};

/// One write command. Values that do not fit are refused before anything is sent.
int runWrite(const WriteOptions& options, Console& console);

#endif
