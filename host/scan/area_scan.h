#ifndef SCAN_AREA_SCAN_H
#define SCAN_AREA_SCAN_H

#include "scan/answer.h"

#include <QVector>

#include <functional>

namespace scan {

constexpr int largestNumber = 65536; ///< of an element; the first one has the number 1

/// Elements of one area that follow each other and have the same said of them.
struct Range
{
    enum State
    {
        Readable,
        Refused,  ///< answered with an exception
        NoAnswer, ///< asked for without an answer
        NotAsked  ///< given up before
    };

    int first;
    int last;
    State state;
    QString reason; ///< in the driver's words; empty when readable
};

/// What to find out about one area of one station.
struct AreaPlan
{
    int first = 1;
    int last = largestNumber;
    int mostInRequest = 1; ///< elements that one request can carry
    int finest = 1;        ///< a refused range of so many elements or fewer is not divided any more
                           ///< (what can be read at its ends is found none the less)
};

struct AreaFindings
{
    QVector<Range> ranges; ///< all elements of the plan, in order; neighbours differ in state or reason
    int mostInRequest = 1; ///< the plan's, or less when the station carries no more in a request
};

/// Asks once for count elements from first on.
using ReadRange = std::function<Answer(int first, int count)>;

/// Is told that so many more elements of the plan are settled.
using Settled = std::function<void(int elements)>;

/// Requests without an answer, one after the other, that make an area be given up.
constexpr int silencesOfAnArea = 2;

/// Finds out which elements of an area can be read. It asks for as many as a request carries; a range that is
/// refused is halved until its parts can be read or are as fine as the plan wants. Where a part that can be
/// read meets a refused one, the border is exact in any case. Both halves of a refused range being readable
/// means that the station carries less in a request; from then on no more is asked for.
///
/// Exception code 01 speaks of the function code, not of the elements: as the first answer it settles the
/// whole area. A range without an answer is not divided, and the area is given up after silencesOfAnArea of
/// them in a row. Nothing is asked any more after Stopped.
///
/// The plan's first is from 1 to last, last at most largestNumber, the other two at least 1.
AreaFindings scanArea(const AreaPlan& plan, const ReadRange& read, const Settled& settled);

} // namespace scan

#endif
