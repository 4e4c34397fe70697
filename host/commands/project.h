#ifndef COMMANDS_PROJECT_H
#define COMMANDS_PROJECT_H

#include "session/link_options.h"

#include <QStringList>

struct ProjectCreateOptions
{
    LinkOptions link; ///< its link id, station and device go into the project
    QStringList tags;
    QString tagFile; ///< one address on each line; empty: none
};

struct ProjectShowOptions
{
    LinkOptions link;     ///< its driver and format count
    bool allTags = false; ///< and all runs of bits
};

/// Replaces the project beside the program by a new one with one link and its default station.
int runProjectCreate(const ProjectCreateOptions& options, Console& console);

/// Prints the links, nodes and tags of the project beside the program.
int runProjectShow(const ProjectShowOptions& options, Console& console);

#endif
