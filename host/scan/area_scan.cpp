#include "scan/area_scan.h"

#include <algorithm>

namespace scan {
namespace {

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
        return m_findings;
    }

private:
    /// Returns whether all of the range can be read.
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
        if (m_givenUp || count <= m_plan.finest)
            return mark(first, count, Range::Refused, answer.text);
        const int half = count / 2;
        const bool lowerIsReadable = scanRange(first, half);
        const bool upperIsReadable = scanRange(first + half, count - half);
        const bool isReadable = lowerIsReadable && upperIsReadable;
        if (isReadable)
            m_findings.mostInRequest = std::min(m_findings.mostInRequest, count - half);
        return isReadable;
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
