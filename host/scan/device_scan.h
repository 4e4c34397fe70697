#ifndef SCAN_DEVICE_SCAN_H
#define SCAN_DEVICE_SCAN_H

#include "communicator_command.h"
#include "scan/area_scan.h"

#include <QString>
#include <QVector>

namespace scan {

/// An area as the driver reads it.
struct Area
{
    QString name;         ///< its prefix in HMI addresses
    CommandDataType type; ///< of one element
    int mostInRequest;    ///< elements
};

/// One request: count elements of an area of a station, starting at number first.
struct Request
{
    int station;
    Area area;
    int first;
    int count;
};

/// Sends one request and waits for its outcome.
class Requester
{
public:
    virtual ~Requester() = default;
    virtual Answer ask(const Request& request) = 0;
};

struct DevicePlan
{
    QVector<int> stations;
    QVector<Area> areas; ///< at least one
    int first = 1;
    int last = largestNumber;
    int finest = 1;       ///< as in AreaPlan
    int probeRetries = 0; ///< repetitions of the first request to a station that does not answer
    int retries = 0;      ///< the same for later requests
};

struct ScannedArea
{
    Area area;
    AreaFindings findings;
};

struct ScannedStation
{
    int station;
    Answer probe;               ///< to the first request
    QVector<ScannedArea> areas; ///< those of the plan, if the station exists
};

struct DeviceFindings
{
    QVector<ScannedStation> stations; ///< those that were asked, in the order of the plan
    int requests = 0;
    QString stopped; ///< why a Stopped answer ended the scan early; empty: the scan is complete
};

/// The progress of the scan: done of total steps of the phase that label names.
using ShowProgress = std::function<void(const QString& label, qint64 done, qint64 total)>;

/// A station is given up after this many areas in a row were given up without any answer.
constexpr int silentAreasOfAStation = 2;

/// Asks each station of the plan for one element, the first of the first area, then scans all areas of the
/// stations that answer; an exception is an answer. Sends one request at a time and repeats only requests
/// without an answer. A device that stays unreachable ends the scan. A station is given up, and its other
/// areas not asked for, if silentAreasOfAStation of its areas do not answer at all.
DeviceFindings scanDevice(const DevicePlan& plan, Requester& requester, const ShowProgress& showProgress);

} // namespace scan

#endif
