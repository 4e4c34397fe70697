#ifndef COMMANDS_PROJECT_TAGS_H
#define COMMANDS_PROJECT_TAGS_H

#include "project/project_file.h"
#include "session/link_options.h"
#include "text/console.h"

struct ProjectImportOptions
{
    LinkOptions link; ///< its link id says whose tags are replaced
    QString file;
};

struct ProjectExportOptions
{
    LinkOptions link;                   ///< its link id is whose tags are written
    QString file = QStringLiteral("-"); ///< that one is stdout
};

/// Replaces the tags of a link of the project with those of a CSV file, or leaves the project as it is.
int runProjectImport(const ProjectImportOptions& options, Console& console);

/// Writes the tags of a link of the project as CSV that runProjectImport reads.
int runProjectExport(const ProjectExportOptions& options, Console& console);

/// Adds the tags of a CSV file to the link of the project that is written. Returns Done, or the status of
/// what it has reported; nothing must be committed then.
int takeTagFile(const LinkOptions& link, const QString& fileName, ProjectWriter& writer, Console& console);

#endif
