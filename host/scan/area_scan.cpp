#include "scan/area_scan.h"

#include <algorithm>

namespace scan {
namespace {

/// A refused range of this size is asked for element by element. Halving it further would end up asking for
/// most elements one by one anyway, after their pairs and fours.
constexpr int fewElements = 8;

class AreaScan
{
public:
    AreaScan(const AreaPlan& plan, const ReadRange& read, const Settled& settled)
        : m_plan(plan), m_read(read), m_settled(settled)
    {
        m_findings.mostInRequest = plan.mostInRequest;
    }

    AreaFindings run()
    {
        for (int next = m_plan.first; next <= m_plan.last;) {
            const int left = m_plan.last - next + 1;
            const int count = m_givenUp ? left : std::min(m_findings.mostInRequest, left);
            scanRange(next, count);
            next += count;
        }
        if (m_plan.finest > 1)
            findBorders();
        return m_findings;
    }

private:
    /// Returns whether the whole range can be read.
    bool scanRange(int first, int count)
    {
        if (m_givenUp)
            return mark(first, count, m_restState, m_restReason);
        const Answer answer = m_read(first, count);
        m_silences = answer.kind == Answer::Silence ? m_silences + 1 : 0;
        switch (answer.kind) {
        case Answer::Data:
            return mark(first, count, Range::Readable, QString());
        case Answer::Exception:
            return scanRefused(first, count, answer);
        case Answer::Silence:
            if (m_silences == silencesOfAnArea)
                giveUp(Range::NotAsked, answer.text);
            return mark(first, count, Range::NoAnswer, answer.text);
        case Answer::Unreachable:
        case Answer::Stopped:
            break;
        }
        giveUp(Range::NotAsked, answer.text);
        return mark(first, count, Range::NotAsked, answer.text);
    }

    bool scanRefused(int first, int count, const Answer& answer)
    {
        if (answer.code == illegalFunction && m_findings.ranges.isEmpty())
            giveUp(Range::Refused, answer.text);
        // Most devices have something at the beginning of an area.
        const int finest = first == m_plan.first ? 1 : std::min(m_plan.finest, m_findings.mostInRequest);
        if (m_givenUp || count <= finest)
            return mark(first, count, m_givenUp ? Range::Refused : m_refusal, answer.text);
        const int part = m_plan.finest == 1 && count <= fewElements ? 1 : (count + 1) / 2;
        bool isReadable = true;
        for (int done = 0; done < count; done += part)
            isReadable = scanRange(first + done, std::min(part, count - done)) && isReadable;
        if (isReadable)
            m_findings.mostInRequest = std::min(m_findings.mostInRequest, part);
        return isReadable;
    }

    /// A refused range next to a readable one may begin or end with readable elements, fewer than the finest
    /// range that was refused as a whole.
    void findBorders()
    {
        QVector<Range>& ranges = m_findings.ranges;
        for (int i = 0; i + 1 < ranges.size(); ++i) {
            Range& left = ranges[i];
            Range& right = ranges[i + 1];
            const int span = std::min(m_plan.finest, m_findings.mostInRequest);
            if (left.state == Range::Readable && right.state == m_refusal) {
                const int first = right.first;
                right.first +=
                    mostReadable(std::min(span, right.last - first + 1), [first](int) { return first; });
                left.last = right.first - 1;
            } else if (left.state == m_refusal && right.state == Range::Readable) {
                const int last = left.last;
                left.last -= mostReadable(std::min(span, last - left.first + 1),
                                          [last](int count) { return last - count + 1; });
                right.first = left.last + 1;
            }
        }
    }

    /// The largest count below refused, starting at firstOf(count), that can be read at once; a count of
    /// refused cannot.
    int mostReadable(int refused, const std::function<int(int count)>& firstOf)
    {
        int readable = 0;
        while (readable + 1 < refused && !m_givenUp) {
            const int middle = (readable + refused) / 2;
            const Answer answer = m_read(firstOf(middle), middle);
            if (answer.kind == Answer::Data)
                readable = middle;
            else
                refused = middle;
            if (!answer.isThere())
                giveUp(Range::NotAsked, answer.text);
        }
        return readable;
    }

    void giveUp(Range::State restState, const QString& restReason)
    {
        m_givenUp = true;
        m_restState = restState;
        m_restReason = restReason;
    }

    /// Returns whether the state is Readable.
    bool mark(int first, int count, Range::State state, const QString& reason)
    {
        QVector<Range>& ranges = m_findings.ranges;
        const int last = first + count - 1;
        if (!ranges.isEmpty() && ranges.last().state == state && ranges.last().reason == reason)
            ranges.last().last = last;
        else
            ranges.append({first, last, state, reason});
        m_settled(count);
        return state == Range::Readable;
    }

    const AreaPlan m_plan;
    const ReadRange& m_read;
    const Settled& m_settled;
    const Range::State m_refusal = m_plan.finest == 1 ? Range::Refused : Range::NotDivided;
    AreaFindings m_findings;
    int m_silences = 0;
    bool m_givenUp = false;
    Range::State m_restState = Range::NotAsked;
    QString m_restReason;
};

} // namespace

AreaFindings scanArea(const AreaPlan& plan, const ReadRange& read, const Settled& settled)
{
    return AreaScan(plan, read, settled).run();
}

} // namespace scan
