#ifndef COMMANDS_SCAN_H
#define COMMANDS_SCAN_H

#include "session/link_options.h"

#include <QStringList>
#include <QVector>

struct ScanOptions
{
    LinkOptions link;
    QVector<int> stations; ///< empty: the link's own
    QStringList areas;     ///< of scanAreaNames(); empty: all
    int first = 1;
    int last = 65536;
    int finest = 1; ///< a refused range of so many elements or fewer is not divided
};

/// The areas that can be scanned, one for each kind of data that a device holds.
const QStringList& scanAreaNames();

/// Finds out which stations answer and which elements of their areas can be read. Ctrl-C prints what was
/// found by then.
int runScan(const ScanOptions& options, Console& console);

#endif
