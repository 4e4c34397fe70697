#ifndef COMMANDS_PROJECT_TAGS_H
#define COMMANDS_PROJECT_TAGS_H

#include "session/link_options.h"

struct ProjectImportOptions
{
    LinkOptions link; ///< its link id says whose tags are replaced
    QString file;
};

struct ProjectExportOptions
{
    LinkOptions link; ///< its link id says whose tags are written
    QString file;     ///< empty: stdout
};

/// Replaces the tags of a link of the project with those of a CSV file, or leaves the project as it is.
int runProjectImport(const ProjectImportOptions& options, Console& console);

/// Writes the tags of a link of the project as CSV that runProjectImport reads.
int runProjectExport(const ProjectExportOptions& options, Console& console);

#endif
