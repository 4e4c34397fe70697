#ifndef COMMANDS_MISSING_PROJECT_H
#define COMMANDS_MISSING_PROJECT_H

#include "session/session.h"
#include "text/console.h"

/// If a command failed because the driver found no project, and there is none, says on stderr how to make
/// one. Returns whether it said so.
bool explainMissingProject(const CommandOutcome& outcome, Console& console);

#endif
