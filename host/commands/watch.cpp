#include "commands/watch.h"

#include "commands/project_hints.h"
#include "session/interrupt.h"
#include "session/session.h"
#include "text/json_line.h"
#include "watch/record_writer.h"
#include "watch/sample_text.h"
#include "watch/screen.h"

#include <algorithm>
#include <cstdlib>
#include <numeric>
#include <poll.h>
#include <unistd.h>

namespace {

using Clock = PollSchedule::Clock;
using std::chrono::milliseconds;

/// Nobody can read a screen that changes faster.
constexpr milliseconds shortestRedraw{100};
/// Longest wait before ages are redrawn and Ctrl-C is noticed.
constexpr milliseconds longestWait{250};
/// How long to wait for a driver to return from an interrupted command.
constexpr milliseconds stopPatience{600};

/// Gives the items the notation if their type has it. Returns why none has it; empty if one has.
QString takeNotation(QVector<Item>& items, Notation notation)
{
    QString problem;
    bool isTaken = false;
    for (Item& item : items) {
        problem = notationProblem(item.type(), notation);
        if (problem.isEmpty() && !item.notation)
            item.notation = notation;
        isTaken = isTaken || problem.isEmpty();
    }
    return isTaken ? QString() : QStringLiteral("--as: ") + problem;
}

int elementCount(const QVector<Item>& items)
{
    return std::accumulate(items.begin(), items.end(), 0,
                           [](int sum, const Item& item) { return sum + item.count; });
}

/// One run of the command, from the first sample to the last.
class Watch
{
public:
    /// Owns none of these; recorder may be null.
    Watch(const WatchOptions& options, const QVector<Item>& items, Session& session, CsvRecorder* recorder,
          Console& console);

    int run();

private:
    void openScreen();
    PollPlan plan() const;
    bool isOver();
    void waitForNews() const;
    void takeReadings();
    void finishSample();
    void reportRecorder();
    void takeKeys();
    void follow(WatchControl::Wish wish);
    void finishWrite();
    void draw();
    ScreenContents contents() const;
    void end();
    void printSummary();
    int exitStatus();

    const WatchOptions& m_options;
    const BlockSizes m_blocks;
    const QString m_peer;
    const QString m_station;
    CsvRecorder* const m_recorder;
    std::optional<RecordWriter> m_writer;
    Console& m_console;
    WatchState m_state;
    WatchControl m_control{m_state};
    const int m_attempts;      ///< of a command
    QVector<Reading> m_sample; ///< the readings of the current sample so far
    QString m_reportedProblem; ///< the recorder's problem, as last reported
    std::unique_ptr<Screen> m_screen;
    Poller m_poller;
    const Clock::time_point m_begin = Clock::now();
    Clock::time_point m_lastDraw{};
    bool m_paused = false;
    bool m_quit = false;
    bool m_interrupted = false;
};

Watch::Watch(const WatchOptions& options, const QVector<Item>& items, Session& session, CsvRecorder* recorder,
             Console& console)
    : m_options(options), m_blocks(contextOf(session.driver(), {}).blocks), m_peer(session.link().peer()),
      m_station(QString::number(session.link().stationId())), m_recorder(recorder), m_console(console),
      m_state(items), m_attempts(effectiveSetting(session.driver(), options.link).retry + 1),
      m_poller(session, plan())
{
    if (recorder)
        m_writer.emplace(*recorder, items, milliseconds(options.interval));
    openScreen();
}

PollPlan Watch::plan() const
{
    PollPlan plan;
    plan.items = m_state.items();
    plan.blocks = m_blocks;
    plan.interval = milliseconds(m_options.interval);
    if (m_options.samples)
        plan.samples = static_cast<quint64>(*m_options.samples);
    if (m_options.seconds)
        plan.duration = std::chrono::seconds(*m_options.seconds);
    return plan;
}

/// Frames traced to the same terminal would be written across the screen.
void Watch::openScreen()
{
    const bool disturbed = m_options.link.trace && ::isatty(STDERR_FILENO) == 1;
    if (m_options.link.format == OutputFormat::Text && !disturbed && Screen::isPossible())
        m_screen = Screen::open();
}

int Watch::run()
{
    while (!isOver()) {
        waitForNews();
        takeReadings();
        if (m_recorder)
            m_recorder->syncWhenDue();
        if (m_screen) {
            finishWrite();
            takeKeys();
        }
        if (m_screen && Clock::now() - m_lastDraw >= shortestRedraw)
            draw();
    }
    end();
    return exitStatus();
}

bool Watch::isOver()
{
    m_interrupted = m_interrupted || interrupt::flag();
    const bool late = m_options.seconds && Clock::now() >= m_begin + std::chrono::seconds(*m_options.seconds);
    return m_quit || m_interrupted || late || m_poller.finished();
}

void Watch::waitForNews() const
{
    pollfd descriptors[] = {{m_poller.descriptor(), POLLIN, 0}, {STDIN_FILENO, POLLIN, 0}};
    ::poll(descriptors, m_screen ? 2 : 1, static_cast<int>(longestWait.count()));
}

void Watch::takeReadings()
{
    for (const Reading& reading : m_poller.take()) {
        m_state.add(reading);
        if (m_writer)
            m_writer->add(reading);
        m_sample += reading;
        if (reading.endsSample)
            finishSample();
    }
}

void Watch::finishSample()
{
    std::sort(m_sample.begin(), m_sample.end(),
              [](const Reading& left, const Reading& right) { return left.index < right.index; });
    if (m_options.link.format == OutputFormat::Json)
        printJsonLine(m_console.out, sampleObject(m_state.items(), m_sample));
    else if (!m_screen)
        m_console.out << sampleLine(m_state.items(), m_sample) << '\n';
    m_console.out.flush();
    m_sample.clear();
    if (m_recorder && !m_screen)
        reportRecorder();
}

/// Reports once that the record has gaps, and once that it continues.
void Watch::reportRecorder()
{
    const QString problem = m_recorder->problem();
    if (problem == m_reportedProblem)
        return;
    m_reportedProblem = problem;
    if (problem.isEmpty())
        m_console.err << "note: " << shown(m_recorder->fileName()) << " goes on, " << m_recorder->rowsLost()
                      << " row(s) are missing\n";
    else
        m_console.err << "error: cannot write " << shown(m_recorder->fileName()) << ": " << problem
                      << "; polling goes on\n";
    m_console.err.flush();
}

void Watch::takeKeys()
{
    while (const auto key = m_screen->key()) {
        m_lastDraw = Clock::time_point(); // at once
        follow(m_control.press(*key, tableRows(contents(), m_screen->size())));
    }
}

void Watch::follow(WatchControl::Wish wish)
{
    using Wish = WatchControl::Wish;
    m_interrupted = m_interrupted || wish == Wish::Interrupt;
    m_quit = m_quit || wish == Wish::Quit;
    if (wish == Wish::Pause)
        m_poller.setPaused(m_paused = !m_paused);
    else if (wish == Wish::Write)
        m_poller.write(m_control.itemToWrite(), m_control.dataToWrite());
}

void Watch::finishWrite()
{
    const auto outcome = m_poller.takeWritten();
    if (!outcome)
        return;
    m_control.finishWrite(*outcome);
    m_lastDraw = Clock::time_point();
}

ScreenContents Watch::contents() const
{
    return {m_state,     m_peer,   m_station, milliseconds(m_options.interval),
            m_recorder,  m_paused, m_control, m_screen->symbols(),
            Clock::now()};
}

void Watch::draw()
{
    m_state.setSilence(m_poller.silence(), m_attempts);
    m_screen->draw(layOutScreen(contents(), m_screen->size()));
    m_lastDraw = Clock::now();
}

/// A driver that does not return, for example from a long pause, is left behind.
void Watch::end()
{
    const bool stopped = m_poller.stop(stopPatience);
    takeReadings();
    if (m_recorder)
        m_recorder->sync();
    finishWrite();
    if (m_screen) {
        m_screen.reset();
        printSummary();
    }
    if (stopped)
        return;
    const int status = exitStatus();
    m_console.out.flush();
    m_console.err.flush();
    std::_Exit(status);
}

void Watch::printSummary()
{
    QTextStream& out = m_console.out;
    if (m_control.isWriting())
        out << "it is not known whether " << m_control.itemToWrite().signal.address << " was written\n";
    out << m_state.link().samples << " sample(s), " << m_state.link().commands << " command(s), "
        << m_state.link().failures << " failed, " << m_state.link().missed << " slot(s) missed\n";
    if (m_recorder)
        out << m_recorder->fileName() << ": " << m_recorder->rowsWritten() << " row(s) written, "
            << m_recorder->rowsLost() << " lost\n";
}

int Watch::exitStatus()
{
    if (m_recorder && m_recorder->rowsLost() > 0)
        return reportError(m_console, Refused,
                           QStringLiteral("%1 row(s) are missing in %2")
                               .arg(m_recorder->rowsLost())
                               .arg(m_recorder->fileName()));
    if (m_recorder && !m_recorder->problem().isEmpty())
        return reportError(m_console, Refused,
                           QStringLiteral("the last rows of %1 may be missing after a power cut: %2")
                               .arg(m_recorder->fileName(), m_recorder->problem()));
    if (m_interrupted)
        return Interrupted;
    if (m_state.link().commands == 0 || m_state.link().failures < m_state.link().commands)
        return Done;
    reportError(m_console, Refused, m_state.link().lastError);
    explainProjectError(m_state.link().lastError, m_console);
    return Refused;
}

RecordStations stationsOf(Session& session)
{
    return {session.link().stationId(), effectiveSetting(session.driver(), LinkOptions()).stationid};
}

int watchItems(const WatchOptions& options, QVector<Item> items, Session& session, Console& console)
{
    QString error = options.notation ? takeNotation(items, *options.notation) : QString();
    if (!error.isEmpty() && !options.tags)
        return reportError(console, WrongCommandLine, error);
    if (elementCount(items) > mostWatchedElements)
        return reportError(
            console, WrongCommandLine,
            QStringLiteral("watch takes at most %1 elements at once").arg(mostWatchedElements));
    error.clear();
    if (options.link.format == OutputFormat::Text)
        items = eachValue(items);
    std::unique_ptr<CsvRecorder> recorder;
    if (!options.csvFile.isEmpty())
        recorder = CsvRecorder::open(options.csvFile, recordHeader(items, stationsOf(session)), error);
    if (!error.isEmpty())
        return reportError(console, WrongCommandLine, QStringLiteral("--csv: ") + error);
    interrupt::endInOwnTime();
    return Watch(options, items, session, recorder.get(), console).run();
}

int watchTags(const WatchOptions& options, Session& session, Console& console)
{
    QString error;
    const WatchedTags tags = itemsOfTags(options.link, session, error);
    if (tags.ofOthers > 0)
        console.err << "note: " << tags.ofOthers << " tag(s) of other stations than " << *options.link.station
                    << " are left out\n";
    if (tags.unknown > 0)
        console.err << "note: " << tags.unknown << " tag(s) are left out: " << shown(tags.problem) << '\n';
    if (!error.isEmpty())
        return reportError(console, Refused, error);
    return watchItems(options, tags.items, session, console);
}

} // namespace

int runWatch(const WatchOptions& options, Console& console)
{
    if (options.items.isEmpty() == !options.tags)
        return reportError(console, WrongCommandLine,
                           QStringLiteral("watch needs either addresses or --tags"));
    if (options.notation == Notation::Text)
        return reportError(console, WrongCommandLine, QStringLiteral("--as: watch shows numbers, not text"));
    QString error;
    const auto session = Session::start(options.link, console.err, error);
    if (!session)
        return reportError(console, WrongCommandLine, error);
    if (options.tags)
        return watchTags(options, *session, console);
    const QVector<Item> items = itemsOfTexts(options.items, options.link, *session, error);
    if (!error.isEmpty())
        return reportError(console, WrongCommandLine, error);
    return watchItems(options, items, *session, console);
}
