#ifndef COMMANDS_SCAN_H
#define COMMANDS_SCAN_H

#include "session/link_options.h"

#include <QStringList>
#include <QVector>

struct ScanOptions
{
    LinkOptions link;
    QVector<int> stations; ///< empty: the link's station
    QStringList areas;     ///< from areasToScan(); empty: all
    int first = 1;
    int last = 65536;
    int finest = 1; ///< a refused range of this many elements or fewer is not divided
    QString output; ///< image of the values read, with their tag list in FILE.csv; empty: neither
};

/// Finds out which stations answer and which elements of their areas can be read. After Ctrl-C it prints and
/// writes what it has found so far.
int runScan(const ScanOptions& options, Console& console);

#endif
