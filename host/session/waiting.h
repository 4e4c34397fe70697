#ifndef SESSION_WAITING_H
#define SESSION_WAITING_H

#include <algorithm>
#include <atomic>
#include <chrono>
#include <ctime>

/// How long a call may still wait: until its deadline, or until somebody raises the stop flag.
class Waiting
{
public:
    using Clock = std::chrono::steady_clock;

    /// Nobody wakes a wait: it looks at the stop flag this often.
    static constexpr std::chrono::milliseconds longestBlindness{200};

    /// The deadline is so many milliseconds from now. stopFlag may be null; it is not owned.
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

    /// How long to wait before the next look at the stop flag.
    timespec slice() const
    {
        return {0, std::min<std::chrono::nanoseconds>(remaining(), longestBlindness).count()};
    }

    /// This one's remaining time divided among so many tries: the wait of the first of them.
    Waiting share(std::size_t tries) const
    {
        return Waiting(Clock::now() + remaining() / static_cast<long>(tries), m_stopFlag);
    }

    /// Waits for the poll events (POLLIN, POLLOUT) on a descriptor. Returns true when one of them, or an
    /// error or hang-up, is there; false when the deadline has passed or the stop flag was raised.
    bool forDescriptor(int descriptor, short events) const;

private:
    Clock::time_point m_deadline;
    const std::atomic<bool>* m_stopFlag;
};

#endif
