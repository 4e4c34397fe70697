#ifndef SCAN_AREA_SCAN_H
#define SCAN_AREA_SCAN_H

#include "session/answer.h"
#include "signals/address.h"

#include <QVector>

#include <functional>

namespace scan {

/// Consecutive elements of one area with the same findings.
struct Range
{
    enum State
    {
        Readable,
        Refused,    ///< answered with an exception
        NotDivided, ///< refused as a whole; single elements may be readable
        NoAnswer,   ///< asked for, but no answer
        NotAsked    ///< given up before they were asked for
    };

    int first;
    int last;
    State state;
    QString reason; ///< in the driver's words; empty if readable
};

/// What to find out about one area of one station.
struct AreaPlan
{
    int first = 1;
    int last = largestNumber;
    int mostInRequest = 1; ///< most elements in one request
    int finest = 1;        ///< a refused range of this many elements or fewer is not divided, unless it
                           ///< begins with first or is longer than the requests that the station takes
                           ///< (readable elements at its ends are still found)
};

struct AreaFindings
{
    QVector<Range> ranges; ///< all elements of the plan, in order; neighbours differ in state or reason
    int mostInRequest = 1; ///< the plan's, or less if the station carries less in a request
};

/// Asks once for count elements, starting at first.
using ReadRange = std::function<Answer(int first, int count)>;

/// Is called when the findings about this many more elements are final.
using Settled = std::function<void(int elements)>;

/// An area is given up after this many unanswered requests in a row.
constexpr int silencesOfAnArea = 2;

/// Finds out which elements of an area can be read. It asks for as many as a request carries; a refused range
/// is halved until its parts can be read or are as small as the plan allows, which are then NotDivided. The
/// border between readable and other elements is always exact. If both halves of a refused range are
/// readable, the station carries less in a request; from then on requests ask for no more than that.
///
/// Exception code 01 is about the function code, not about the elements: as the first answer it settles the
/// whole area. A range without an answer is not split, and the area is given up after silencesOfAnArea of
/// them in a row. Nothing more is asked after Stopped.
///
/// The plan's first is from 1 to last, last at most largestNumber, the other two at least 1.
AreaFindings scanArea(const AreaPlan& plan, const ReadRange& read, const Settled& settled);

} // namespace scan

#endif
