#ifndef COMMANDS_MISSING_PROJECT_H
#define COMMANDS_MISSING_PROJECT_H

#include "text/console.h"

/// If the error of a command is that the driver found no project, and there is none, says on stderr how to
/// make one; if it is that the project lacks the link or its default station, where to see them. Returns
/// whether it said so.
bool explainMissingProject(const QString& error, Console& console);

#endif
