#ifndef COMMANDS_PROJECT_READS_H
#define COMMANDS_PROJECT_READS_H

#include "project/project_file.h"
#include "project/read_plan.h"
#include "session/link_options.h"
#include "text/console.h"

#include <QJsonArray>

/// What the driver will ask devices for when the runtime reads the project's bits as bytes.
struct ProjectReads
{
    QVector<AreaReadPlan> plans; ///< of all links
    QStringList notes;           ///< why a link has no plan, in the driver's words
    int mostInRequest = 0;       ///< bits; the driver refuses to read longer runs at once
};

/// Loads the driver that the options name, once for each link, and asks it. If it cannot be loaded there is
/// one note, with the reason.
ProjectReads readsOfProject(const LinkOptions& options, const QVector<ProjectLink>& links);

/// Prints a table with a line for each area of each station, and one with the runs: all of them, or the first
/// ones of the first areas.
void printReads(const ProjectReads& reads, bool allRuns, QTextStream& out);

/// One object for each area of each station.
QJsonArray toJson(const ProjectReads& reads, bool allRuns);

#endif
