#ifndef COMMANDS_PROJECT_HINTS_H
#define COMMANDS_PROJECT_HINTS_H

#include "session/link_options.h"
#include "signals/item.h"
#include "text/console.h"

/// If the error of a command is that the driver found no project, and there is none, says on stderr how to
/// make one; if it is that the project lacks the link or its default station, where to see them. Returns
/// whether it said so.
bool explainMissingProject(const QString& error, Console& console);

/// Says on stderr, once, if one of the items is a bare address, whose station nobody has named, and the
/// link's station is another one than the project's default, to which signals go.
void explainStation(const QVector<Item>& items, const LinkOptions& options, int stationOfLink,
                    Console& console);

#endif
