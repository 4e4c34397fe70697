#ifndef COMMANDS_H
#define COMMANDS_H

#include "console.h"
#include "options.h"

// The commands of driverhost, each in a file of its own. Each writes its result to console.out and everything
// else to console.err, and returns an ExitStatus.

/// What the driver says about itself.
int runInfo(const LinkOptions& options, Console& console);

/// One read command: a line for each element, or one JSON object.
int runRead(const ReadOptions& options, Console& console);

/// One write command. Values that do not fit are refused before anything is sent.
int runWrite(const WriteOptions& options, Console& console);

/// Reads at an interval: a screen on a terminal, else a line for each sample.
int runWatch(const WatchOptions& options, Console& console);

/// Draws a record of watch.
int runChart(const ChartOptions& options, Console& console);

/// Replaces the project beside the program by a new one with one link and its default station.
int runProjectCreate(const ProjectCreateOptions& options, Console& console);

/// Prints the links, nodes and tags of the project beside the program.
int runProjectShow(const ProjectShowOptions& options, Console& console);

/// Finds out which stations answer and which elements of their areas can be read. Ctrl-C prints what was
/// found by then.
int runScan(const ScanOptions& options, Console& console);

/// Replaces the tags of a link of the project by those of a CSV file, or leaves the project as it is.
int runProjectImport(const ProjectImportOptions& options, Console& console);

/// Writes the tags of a link of the project as CSV that runProjectImport reads.
int runProjectExport(const ProjectExportOptions& options, Console& console);

#endif
