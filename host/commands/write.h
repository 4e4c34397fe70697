#ifndef COMMANDS_WRITE_H
#define COMMANDS_WRITE_H

#include "session/link_options.h"
#include "signals/item.h"

struct WriteOptions
{
    LinkOptions link;
    QString item; ///< as parseItems takes it, but not a range
    ItemOptions options;
    QStringList values;  ///< as many as the count, if there is one
    bool verify = false; ///< read back and compare
};

/// Runs one write command. Values that do not fit are refused before anything is sent.
int runWrite(const WriteOptions& options, Console& console);

#endif
