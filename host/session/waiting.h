#ifndef SESSION_WAITING_H
#define SESSION_WAITING_H

#include <algorithm>
#include <atomic>
#include <chrono>
#include <ctime>

/// How long a call may still wait: until its deadline, or until the stop flag is raised.
class Waiting
{
public:
    using Clock = std::chrono::steady_clock;

    /// Nothing wakes a wait, so it checks the stop flag this often.
    static constexpr std::chrono::milliseconds longestBlindness{200};

    /// The deadline is this many milliseconds from now. stopFlag may be null; it is not owned.
    Waiting(int milliseconds, const std::atomic<bool>* stopFlag)
        : Waiting(Clock::now() + std::chrono::milliseconds(milliseconds), stopFlag)
    {
    }

    Waiting(Clock::time_point deadline, const std::atomic<bool>* stopFlag)
        : m_deadline(deadline), m_stopFlag(stopFlag)
    {
    }

    bool stopped() const { return m_stopFlag && m_stopFlag->load(std::memory_order_relaxed); }

    /// Zero once the deadline has passed.
    std::chrono::nanoseconds remaining() const
    {
        const auto left = m_deadline - Clock::now();
        return left > Clock::duration::zero() ? left : Clock::duration::zero();
    }

    /// How long to wait before the next check of the stop flag.
    timespec slice() const
    {
        const std::chrono::nanoseconds wait =
            std::min<std::chrono::nanoseconds>(remaining(), longestBlindness);
        return {0, static_cast<long>(wait.count())};
    }

    /// The wait of the first of several tries that share the remaining time equally.
    Waiting share(std::size_t tries) const
    {
        return Waiting(Clock::now() + remaining() / static_cast<long>(tries), m_stopFlag);
    }

    /// Waits for the poll events (POLLIN, POLLOUT) on a descriptor. Returns true if one of them, an error or
    /// a hang-up is present; false if the deadline has passed or the stop flag was raised.
    bool forDescriptor(int descriptor, short events) const;

private:
    Clock::time_point m_deadline;
    const std::atomic<bool>* m_stopFlag;
};

#endif
