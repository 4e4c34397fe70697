#ifndef PROJECT_READ_PLAN_H
#define PROJECT_READ_PLAN_H

#include "driver_interface.h"

#include <QString>
#include <QVector>

/// Bits of one area that a byte read asks the device for in one request.
struct BitRun
{
    int first; ///< number, from 1
    int last;
};

/// What byte reads over a bit area of one station will request.
struct AreaReadPlan
{
    int linkId;
    int station;
    QString area; ///< "DI" or "DO"
    QVector<BitRun> runs;
};

/// Asks the driver itself, by byte reads over a link that answers every request with zeros and remembers it;
/// no network is used. The driver must be new: it loads the project of the link with its first command.
///
/// plans gets one entry for each bit area of each station for which the driver has tags, in the order of the
/// stations. Runs continue across the ends of single reads, so they are as long as possible. Returns an empty
/// text, or the driver's reason for not loading the project.
QString planReads(DriverInterface& driver, int linkId, QVector<AreaReadPlan>& plans);

#endif
