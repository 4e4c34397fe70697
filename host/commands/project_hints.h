#ifndef COMMANDS_PROJECT_HINTS_H
#define COMMANDS_PROJECT_HINTS_H

#include "session/link_options.h"
#include "signals/item.h"
#include "text/console.h"

/// Prints a note on stderr if the driver's error means that the project is missing, or that it has no such
/// link: how to make a project, or where to see the links. Returns whether it did.
bool explainProjectError(const QString& error, Console& console);

/// Prints a note on stderr if an item is an address without a station and the project's default station is
/// not stationOfLink. Nothing if options name a station.
void explainStation(const QVector<Item>& items, const LinkOptions& options, int stationOfLink,
                    Console& console);

#endif
