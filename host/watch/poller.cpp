#include "watch/poller.h"

#include "session/interrupt.h"
#include "signals/verified_write.h"

#include <QDateTime>

#include <sys/eventfd.h>
#include <unistd.h>

namespace {

/// Most readings that wait to be taken: minutes of polling at the usual intervals.
constexpr int mostReadings = 4096;

/// Bytes that a driver's first command may take, with the database that it opens. Qt would end the program
/// without a word if it ran out of memory there.
constexpr std::size_t memoryOfFirstCommand = 16u << 20;

} // namespace

Poller::Poller(Session& session, const PollPlan& plan)
    : m_session(session), m_plan(plan),
      m_reader(plan.items, plan.blocks,
               [this](const CommunicatorCommand& command, std::optional<int> station, bool isOnce) {
                   m_session.link().setOnce(isOnce);
                   CommandOutcome outcome = m_session.read(command, station);
                   m_session.link().setOnce(false);
                   return outcome;
               }),
      m_event(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
{
    m_thread = std::thread([this] { run(); });
}

Poller::~Poller()
{
    stop(std::chrono::milliseconds(0));
    m_thread.join();
    ::close(m_event);
}

void Poller::run()
{
    std::exception_ptr failure;
    m_session.link().setStopFlag(&m_stopping);
    try {
        m_session.link().setOnSilence([this](int attempt) {
            noteSilence(Silence{m_isWriting ? QVector<int>() : m_reader.current(), attempt});
        });
        poll();
    } catch (...) {
        failure = std::current_exception();
    }
    m_session.link().setStopFlag(&interrupt::flag());
    m_session.link().setOnSilence({});
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_failure = failure;
    m_ended = true;
    ::eventfd_write(m_event, 1);
    m_changed.notify_all();
}

void Poller::poll()
{
    ::operator delete(::operator new(memoryOfFirstCommand));
    const auto begin = PollSchedule::Clock::now();
    PollSchedule schedule(begin, m_plan.interval);
    for (quint64 sample = 1; !m_plan.samples || sample <= *m_plan.samples; ++sample) {
        if (m_plan.duration && schedule.slot() >= begin + *m_plan.duration)
            break;
        if (!waitForSlot(schedule))
            break;
        pollAll(sample, schedule.missed());
        schedule.polled(PollSchedule::Clock::now());
    }
}

/// Returns false if the polling has to end. A slot is missed if there is no room for its readings.
bool Poller::waitForSlot(PollSchedule& schedule)
{
    std::unique_lock<std::mutex> lock(m_mutex);
    while (!m_stopping) {
        if (m_toWrite) {
            lock.unlock();
            writeIfWanted();
            lock.lock();
            continue;
        }
        if (m_paused) {
            m_changed.wait(lock);
            schedule.resume(PollSchedule::Clock::now());
            continue;
        }
        if (PollSchedule::Clock::now() < schedule.slot()) {
            m_changed.wait_until(lock, schedule.slot());
            continue;
        }
        if (m_readings.size() < mostReadings)
            return true;
        schedule.notPolled(PollSchedule::Clock::now());
    }
    return false;
}

void Poller::pollAll(quint64 sample, quint64 missed)
{
    Reading reading;
    reading.sample = sample;
    reading.sampleTime = QDateTime::currentMSecsSinceEpoch();
    reading.missed = missed;
    reading.time = reading.sampleTime;
    int left = m_plan.items.size();
    const auto report = [&](int index, const CommandOutcome& outcome, bool isFirst) {
        reading.index = index;
        reading.endsSample = --left == 0;
        reading.beginsCommand = isFirst;
        reading.outcome = outcome;
        if (isFirst) {
            reading.time = QDateTime::currentMSecsSinceEpoch();
            reading.doneAt = PollSchedule::Clock::now();
            reading.connected = m_session.link().isConnected();
            reading.connectionsMade = m_session.link().connectionsMade();
        }
        if (outcome.done() || !m_stopping)
            publish(reading);
    };
    m_reader.readAll(report, [this] {
        noteSilence(std::nullopt);
        writeIfWanted();
        return m_stopping.load();
    });
    noteSilence(std::nullopt);
}

void Poller::writeIfWanted()
{
    std::unique_lock<std::mutex> lock(m_mutex);
    if (!m_toWrite || m_stopping)
        return;
    const auto [item, data] = *m_toWrite;
    lock.unlock();
    m_isWriting = true;
    const CommandOutcome outcome = writeAndVerify(m_session, item, data);
    m_isWriting = false;
    noteSilence(std::nullopt);
    lock.lock();
    m_toWrite.reset();
    m_written = outcome;
    ::eventfd_write(m_event, 1);
}

void Poller::write(const Item& item, const QByteArray& data)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_toWrite.emplace(item, data);
    m_changed.notify_all();
}

std::optional<CommandOutcome> Poller::takeWritten()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return std::exchange(m_written, std::nullopt);
}

void Poller::noteSilence(std::optional<Silence> silence)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_silence = std::move(silence);
    if (m_silence)
        ::eventfd_write(m_event, 1);
}

std::optional<Silence> Poller::silence()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_silence;
}

void Poller::publish(const Reading& reading)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_readings.append(reading);
    ::eventfd_write(m_event, 1);
}

QVector<Reading> Poller::take()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    eventfd_t count = 0;
    ::eventfd_read(m_event, &count);
    if (m_ended)
        ::eventfd_write(m_event, 1);
    QVector<Reading> taken;
    taken.swap(m_readings);
    return taken;
}

bool Poller::finished()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_failure)
        std::rethrow_exception(m_failure);
    return m_ended && m_readings.isEmpty();
}

void Poller::setPaused(bool paused)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_paused = paused;
    m_changed.notify_all();
}

bool Poller::stop(std::chrono::milliseconds patience)
{
    std::unique_lock<std::mutex> lock(m_mutex);
    m_stopping = true;
    m_changed.notify_all();
    return m_changed.wait_for(lock, patience, [this] { return m_ended; });
}
