#ifndef COMMANDS_PROJECT_H
#define COMMANDS_PROJECT_H

#include "session/link_options.h"

#include <QStringList>

struct ProjectCreateOptions
{
    LinkOptions link; ///< its link id, station and device go into the project
    QStringList tags;
    QString tagFile;      ///< as runProjectImport takes it; empty: none
    bool replace = false; ///< a project that is there
};

struct ProjectShowOptions
{
    LinkOptions link;     ///< its driver and format are used
    bool allTags = false; ///< also all runs of bits
};

/// Makes a project beside the program with one link and its default station.
int runProjectCreate(const ProjectCreateOptions& options, Console& console);

/// Prints the links, nodes and tags of the project next to the program.
int runProjectShow(const ProjectShowOptions& options, Console& console);

#endif
