#ifndef COMMANDS_PROJECT_H
#define COMMANDS_PROJECT_H

#include "session/link_options.h"

#include <QStringList>

struct ProjectCreateOptions
{
    LinkOptions link; ///< its link id, station and device go into the project
    QStringList tags;
    QString tagFile; ///< one address per line; empty: no file
};

struct ProjectShowOptions
{
    LinkOptions link;     ///< its driver and format are used
    bool allTags = false; ///< also all runs of bits
};

/// Replaces the project next to the program with a new one that has one link and its default station.
int runProjectCreate(const ProjectCreateOptions& options, Console& console);

/// Prints the links, nodes and tags of the project next to the program.
int runProjectShow(const ProjectShowOptions& options, Console& console);

#endif
