#ifndef PROJECT_PROJECT_SIGNALS_H
#define PROJECT_PROJECT_SIGNALS_H

#include "session/link_options.h"
#include "signals/item.h"

/// The signals of a link.
struct ProjectSignals
{
    QVector<Signal> all; ///< in the order of the project
    QString problem;     ///< a sentence that says why there are none; empty if there are
};

/// The default station of the link in the project; none without a project that can be read.
std::optional<int> projectStation(int linkId);

/// Reads the tags of the link from the project. A tag without a station belongs to the default station of the
/// link in the project: its address gets that station in front, unless it is stationOfLink, the one that
/// commands without a station go to, or options name a station themselves.
ProjectSignals readProjectSignals(const LinkOptions& options, int stationOfLink);

/// Looks up the same signals by name, in any case. The project is read with the first lookup.
FindSignals findProjectSignals(const LinkOptions& options, int stationOfLink);

#endif
