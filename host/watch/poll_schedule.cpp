#include "watch/poll_schedule.h"

/// Returns the number of slots that are skipped.
quint64 PollSchedule::advance(Clock::time_point now)
{
    m_slot += m_interval;
    if (m_slot >= now)
        return 0;
    const auto late = now - m_slot;
    const auto skipped = late / m_interval + (late % m_interval == Clock::duration::zero() ? 0 : 1);
    m_slot += skipped * m_interval;
    return static_cast<quint64>(skipped);
}

void PollSchedule::resume(Clock::time_point now)
{
    if (m_slot < now)
        advance(now);
}
