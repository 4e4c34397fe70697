#ifndef WATCH_POLL_SCHEDULE_H
#define WATCH_POLL_SCHEDULE_H

#include <QtGlobal>

#include <chrono>

/// When polls begin: in slots at the interval, starting with the first one, on the monotonic clock. A long
/// poll does not move later slots; a slot that comes while a poll is running is missed and never made up for.
class PollSchedule
{
public:
    using Clock = std::chrono::steady_clock;

    /// The first slot is at start. interval must be above 0.
    PollSchedule(Clock::time_point start, Clock::duration interval) : m_slot(start), m_interval(interval) {}

    /// The slot in which the next poll begins.
    Clock::time_point slot() const { return m_slot; }

    /// The poll of slot() ended at now. Makes slot() the first one that is not before now.
    void polled(Clock::time_point now) { m_missed += advance(now); }

    /// The time of slot() passed without a poll.
    void notPolled(Clock::time_point now) { m_missed += 1 + advance(now); }

    /// Skips the slots up to now without counting them as missed, because polling was paused.
    void resume(Clock::time_point now);

    /// Slots missed so far.
    quint64 missed() const { return m_missed; }

private:
    quint64 advance(Clock::time_point now);

    Clock::time_point m_slot;
    Clock::duration m_interval;
    quint64 m_missed = 0;
};

#endif
