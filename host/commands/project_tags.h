#ifndef COMMANDS_PROJECT_TAGS_H
#define COMMANDS_PROJECT_TAGS_H

#include "project/project_file.h"
#include "session/link_options.h"
#include "signals/address.h"
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

/// Replaces the tags of a link of the project with those of a tag list (see importTags), or leaves the
/// project as it is.
int runProjectImport(const ProjectImportOptions& options, Console& console);

/// Writes the tags of a link of the project as a tag list that runProjectImport reads: comma-separated,
/// UTF-8.
int runProjectExport(const ProjectExportOptions& options, Console& console);

/// A file with tags and its content.
struct TagFile
{
    QString name;
    QByteArray content;
};

/// Reads a file or pipe to its end. If it cannot be read, or has more than 256 MiB, the result is empty and
/// problem says so.
std::optional<TagFile> readTagFile(const QString& name, QString& problem);

/// Adds the tags of a tag list to the link of the project that is written. Returns Done, or the status of
/// what it has reported; nothing must be committed then.
int takeTags(const LinkOptions& link, const TagFile& file, Grammar grammar, ProjectWriter& writer,
             Console& console);

#endif
