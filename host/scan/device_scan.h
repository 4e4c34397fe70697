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

/// One request: count elements of an area of a station, from number first on.
struct Request
{
    int station;
    Area area;
    int first;
    int count;
};

/// Sends one request and waits for what comes of it.
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
    int probeRetries = 0; ///< repetitions of the first request to a station while nothing answers
    int retries = 0;      ///< the same of the requests that follow
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
    QVector<ScannedArea> areas; ///< those of the plan, of a station that is there
};

struct DeviceFindings
{
    QVector<ScannedStation> stations; ///< those that were asked, in the plan's order
    int requests = 0;
    QString stopped; ///< the reason of the Stopped answer that ended the scan early; empty: it is complete
};

/// How far the scan is: done of total steps of the phase that label names.
using ShowProgress = std::function<void(const QString& label, qint64 done, qint64 total)>;

/// Areas in a row that were given up without any answer, which make a station be given up.
constexpr int silentAreasOfAStation = 2;

/// Asks each station of the plan for one element, the first of the first area, and then scans all areas of
/// those that answer; an exception is an answer. One request at a time; only requests without an answer are
/// repeated. A device that stays unreachable ends the scan. A station is given up, its other areas not asked,
/// when silentAreasOfAStation of its areas say nothing at all.
DeviceFindings scanDevice(const DevicePlan& plan, Requester& requester, const ShowProgress& showProgress);

} // namespace scan

#endif
