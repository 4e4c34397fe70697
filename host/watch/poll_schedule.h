#ifndef WATCH_POLL_SCHEDULE_H
#define WATCH_POLL_SCHEDULE_H

#include <QtGlobal>

#include <chrono>

/// When polls begin: in slots that follow each other at the interval from the first one on, on the monotonic
/// clock. What a poll takes does not move the slots behind it; a slot that comes while a poll is going on is
/// missed, never made up for.
class PollSchedule
{
public:
    using Clock = std::chrono::steady_clock;

    /// The first slot is at start. interval is above 0.
    PollSchedule(Clock::time_point start, Clock::duration interval) : m_slot(start), m_interval(interval) {}

    /// The slot in which the next poll begins.
    Clock::time_point slot() const { return m_slot; }

    /// The poll of slot() is over, at now. Makes slot() the first one that is not before now.
    void polled(Clock::time_point now) { m_missed += advance(now); }

    /// Nobody could poll in slot().
    void notPolled(Clock::time_point now) { m_missed += 1 + advance(now); }

    /// Leaves the slots up to now out without calling them missed: polling was paused.
    void resume(Clock::time_point now);

    /// Slots that were missed so far.
    quint64 missed() const { return m_missed; }

private:
    quint64 advance(Clock::time_point now);

    Clock::time_point m_slot;
    Clock::duration m_interval;
    quint64 m_missed = 0;
};

#endif
