#ifndef WATCH_POLLER_H
#define WATCH_POLLER_H

#include "session/session.h"
#include "signals/item.h"
#include "watch/block_reader.h"
#include "watch/poll_schedule.h"

#include <QVector>

#include <atomic>
#include <condition_variable>
#include <exception>
#include <mutex>
#include <optional>
#include <thread>

/// What a poller has to do.
struct PollPlan
{
    QVector<Item> items; ///< of one sample; one or more
    BlockSizes blocks;
    std::chrono::milliseconds interval{0}; ///< from one sample's beginning to the next one's, 1 or more
    std::optional<quint64> samples;        ///< ends after this many
    std::optional<std::chrono::seconds> duration; ///< no sample begins later than this after the start
};

/// The outcome of one item of a sample. Items that are read together have the same outcome but for the data.
struct Reading
{
    int index = 0;             ///< of the item in the plan; the items of a sample come in any order
    quint64 sample = 0;        ///< counts from 1
    qint64 sampleTime = 0;     ///< when the sample began, in milliseconds since 1970 UTC
    bool endsSample = false;   ///< it is the sample's last
    bool beginsCommand = true; ///< it is the first one of its command
    CommandOutcome outcome;
    qint64 time = 0;                              ///< when it was made, in milliseconds since 1970 UTC
    std::chrono::steady_clock::time_point doneAt; ///< the same
    bool connected = false;                       ///< whether the link was up after the command
    int connectionsMade = 0;                      ///< by the link so far
    quint64 missed = 0;                           ///< slots missed before the sample
};

/// A command that is waiting for its second or a later attempt.
struct Silence
{
    QVector<int> items; ///< that it reads; none for a write
    int attempt = 0;
};

/// Runs read commands at an interval on a thread of its own, so that a slow device does not hold up the
/// display, nor a slow disk or terminal the polling.
///
/// Readings are kept until they are taken. If nobody takes them for long, slots are missed and memory does
/// not grow.
class Poller
{
public:
    /// Throws std::system_error if no thread can be started. The session must outlive the poller; nobody else
    /// may use it before stop() has returned true.
    Poller(Session& session, const PollPlan& plan);

    /// Ends the polling, however long the current command takes.
    ~Poller();
    Poller(const Poller&) = delete;
    Poller& operator=(const Poller&) = delete;

    /// Readable while there is something to take, or once the polling has ended.
    int descriptor() const { return m_event; }

    /// The readings since the last call, oldest first.
    QVector<Reading> take();

    /// True once no more readings will come and all have been taken. Throws what the polling has thrown, such
    /// as std::bad_alloc.
    bool finished();

    /// The command that has not been answered so far; nothing while all is well.
    std::optional<Silence> silence();

    /// Writes the data of an item, reads it back and compares as soon as the current command is over, even
    /// while paused. The item must be one command. One at a time: not before takeWritten() gave the last one.
    void write(const Item& item, const QByteArray& data);

    /// The outcome of write(), once, when it is there.
    std::optional<CommandOutcome> takeWritten();

    /// While paused, no sample begins; a running one is completed.
    void setPaused(bool paused);

    /// Ends the polling and the current wait for the device; an unfinished command gives no reading. Returns
    /// false if the driver has not returned within patience.
    bool stop(std::chrono::milliseconds patience);

private:
    void run();
    void poll();
    bool waitForSlot(PollSchedule& schedule);
    void pollAll(quint64 sample, quint64 missed);
    void writeIfWanted();
    void noteSilence(std::optional<Silence> silence);
    void publish(const Reading& reading);

    Session& m_session;
    const PollPlan m_plan;
    BlockReader m_reader;
    const int m_event;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    QVector<Reading> m_readings;
    std::optional<Silence> m_silence;
    std::optional<std::pair<Item, QByteArray>> m_toWrite;
    std::optional<CommandOutcome> m_written;
    bool m_isWriting = false; ///< of the poller's thread
    bool m_paused = false;
    std::atomic<bool> m_stopping{false}; ///< the link's waits check it too
    bool m_ended = false;
    std::exception_ptr m_failure; ///< what ended the polling
    std::thread m_thread;
};

#endif
