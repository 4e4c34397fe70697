#include "commands/scan.h"

#include "commands/project_hints.h"
#include "scan/device_copy.h"
#include "scan/device_scan.h"
#include "scan/number_list.h"
#include "session/interrupt.h"
#include "session/session.h"
#include "signals/item.h"
#include "text/json_line.h"
#include "text/new_file.h"
#include "text/progress_bar.h"
#include "text/shown.h"
#include "text/text_table.h"

#include <QElapsedTimer>

#include <algorithm>

namespace {

/// Sends requests through the driver. The session neither repeats nor pauses: the scan repeats what is worth
/// repeating, and its own pauses end with Ctrl-C.
class DriverRequester : public scan::Requester
{
public:
    DriverRequester(Session& session, int delay, scan::DeviceCopy& copy)
        : m_session(session), m_delay(delay), m_copy(copy)
    {
    }

    Answer ask(const scan::Request& request) override
    {
        Waiting(m_delay, &interrupt::flag()).forDescriptor(-1, 0);
        if (interrupt::flag())
            return stopped(QStringLiteral("interrupted"));
        TcpLink& link = m_session.link();
        const bool wasConnected = link.isConnected();
        const int connectionsBefore = link.connectionsMade();
        const CommandOutcome outcome = m_session.read(
            {request.area.type, request.count, request.area.name + QString::number(request.first)},
            request.station);
        Answer answer = answerFromError(outcome.error);
        if (outcome.done())
            m_copy.add(request, outcome.data);
        if (interrupt::flag() && !answer.isThere())
            return stopped(QStringLiteral("interrupted"));
        if (!outcome.done() && outcome.attempts == 0)
            return stopped(answer.text);
        if (!wasConnected && link.connectionsMade() == connectionsBefore)
            answer.kind = Answer::Unreachable;
        return answer;
    }

private:
    static Answer stopped(const QString& reason) { return {Answer::Stopped, 0, reason}; }

    Session& m_session;
    const int m_delay;
    scan::DeviceCopy& m_copy;
};

scan::Area areaNamed(const QString& name, const BlockSizes& blocks)
{
    const bool isBitArea = firstAddress(name).isInBitArea();
    return {name, isBitArea ? Bit : Word, std::max(isBitArea ? blocks.bits : blocks.registers, 1)};
}

scan::DevicePlan planFor(const ScanOptions& options, DriverInterface& driver)
{
    const DriverSetting setting = effectiveSetting(driver, options.link);
    scan::DevicePlan plan;
    plan.stations = options.stations;
    if (plan.stations.isEmpty())
        plan.stations += setting.stationid;
    for (const QString& name : options.areas.isEmpty() ? areasToScan() : options.areas)
        plan.areas += areaNamed(name, contextOf(driver, {}).blocks);
    plan.first = options.first;
    plan.last = options.last;
    plan.finest = options.finest;
    plan.retries = setting.retry;
    const bool asksWhoIsThere = plan.stations.size() > 1 && !options.link.retry;
    plan.probeRetries = asksWhoIsThere ? 0 : setting.retry;
    return plan;
}

/// The link of a scan: the driver neither repeats nor pauses by itself.
LinkOptions linkForScan(LinkOptions link)
{
    link.retry = 0;
    link.delay = 0;
    return link;
}

QString stateText(const scan::Range& range)
{
    switch (range.state) {
    case scan::Range::Readable:
        return QStringLiteral("readable");
    case scan::Range::Refused:
        return QStringLiteral("refused");
    case scan::Range::NotDivided:
        return QStringLiteral("not divided");
    case scan::Range::NoAnswer:
        return QStringLiteral("no answer");
    case scan::Range::NotAsked:
        break;
    }
    return QStringLiteral("not asked");
}

void forEachArea(const scan::DeviceFindings& findings,
                 const std::function<void(int station, const scan::ScannedArea&)>& visit)
{
    for (const scan::ScannedStation& station : findings.stations) {
        for (const scan::ScannedArea& area : station.areas)
            visit(station.station, area);
    }
}

void printStations(const scan::DeviceFindings& findings, QTextStream& out)
{
    QVector<int> answering;
    QVector<int> silent;
    for (const scan::ScannedStation& station : findings.stations)
        (station.probe.isThere() ? answering : silent) += station.station;
    TextTable table({TextTable::Left, TextTable::Left});
    if (!answering.isEmpty())
        table.addRow({QStringLiteral("answering stations"), scan::numberListText(answering)});
    if (!silent.isEmpty())
        table.addRow({QStringLiteral("silent stations"), scan::numberListText(silent)});
    table.print(out);
}

void addRanges(int station, const scan::ScannedArea& area, TextTable& table)
{
    const QString& name = area.area.name;
    for (const scan::Range& range : area.findings.ranges) {
        table.addRow({QString::number(station), name, name + QString::number(range.first),
                      name + QString::number(range.last), QString::number(range.last - range.first + 1),
                      stateText(range), range.reason});
    }
}

void printSmallerRequests(const scan::DeviceFindings& findings, QTextStream& out)
{
    forEachArea(findings, [&](int station, const scan::ScannedArea& area) {
        if (area.findings.mostInRequest < area.area.mostInRequest)
            out << "station " << station << " carries at most " << area.findings.mostInRequest
                << " elements of " << area.area.name << " in one request\n";
    });
}

void printText(const scan::DeviceFindings& findings, qint64 milliseconds, QTextStream& out)
{
    constexpr auto left = TextTable::Left;
    constexpr auto right = TextTable::Right;
    printStations(findings, out);
    TextTable table({right, left, left, left, right, left, left});
    table.addRow({QStringLiteral("STATION"), QStringLiteral("AREA"), QStringLiteral("FROM"),
                  QStringLiteral("TO"), QStringLiteral("COUNT"), QStringLiteral("STATE"),
                  QStringLiteral("REASON")});
    bool isEmpty = true;
    forEachArea(findings, [&](int station, const scan::ScannedArea& area) {
        addRanges(station, area, table);
        isEmpty = false;
    });
    if (!isEmpty) {
        out << '\n';
        table.print(out);
    }
    out << '\n';
    printSmallerRequests(findings, out);
    out << findings.requests << " request(s) in "
        << QString::number(static_cast<double>(milliseconds) / 1000, 'f', 1) << " s\n";
}

QJsonObject toJson(const scan::ScannedStation& station)
{
    QJsonObject object{{QStringLiteral("station"), station.station},
                       {QStringLiteral("answers"), station.probe.isThere()}};
    if (!station.probe.text.isEmpty())
        object.insert(QStringLiteral("reason"), station.probe.text);
    return object;
}

QJsonObject toJson(int station, const scan::ScannedArea& area, const scan::Range& range)
{
    QJsonObject object{{QStringLiteral("station"), station},
                       {QStringLiteral("area"), area.area.name},
                       {QStringLiteral("from"), range.first},
                       {QStringLiteral("to"), range.last},
                       {QStringLiteral("state"), stateText(range)},
                       {QStringLiteral("mostInRequest"), area.findings.mostInRequest}};
    if (!range.reason.isEmpty())
        object.insert(QStringLiteral("reason"), range.reason);
    return object;
}

void printJson(const scan::DeviceFindings& findings, qint64 milliseconds, QTextStream& out)
{
    for (const scan::ScannedStation& station : findings.stations)
        printJsonLine(out, toJson(station));
    forEachArea(findings, [&](int station, const scan::ScannedArea& area) {
        for (const scan::Range& range : area.findings.ranges)
            printJsonLine(out, toJson(station, area, range));
    });
    printJsonLine(out, {{QStringLiteral("requests"), findings.requests},
                        {QStringLiteral("milliseconds"), milliseconds},
                        {QStringLiteral("complete"), findings.stopped.isEmpty()}});
}

/// The files for the values, opened before the scan, which may take hours.
struct CopyFiles
{
    explicit CopyFiles(const QString& name) : image(name), tagList(name + QStringLiteral(".csv")) {}

    QString problem() const { return image.error().isEmpty() ? tagList.error() : image.error(); }

    bool commit(const scan::DeviceCopy& copy, int ownStation)
    {
        return image.write(copy.image()) && tagList.write(copy.tagList(ownStation)) && image.commit() &&
               tagList.commit();
    }

    NewFile image;
    NewFile tagList;
};

int exitStatus(const scan::DeviceFindings& findings, Console& console)
{
    const bool somebodyAnswers =
        std::any_of(findings.stations.begin(), findings.stations.end(),
                    [](const scan::ScannedStation& station) { return station.probe.isThere(); });
    if (interrupt::flag() && !findings.stopped.isEmpty())
        return reportError(console, Interrupted, QStringLiteral("interrupted"));
    if (!findings.stopped.isEmpty()) {
        reportError(console, Refused, findings.stopped);
        explainProjectError(findings.stopped, console);
        return Refused;
    }
    if (!somebodyAnswers)
        return reportError(console, Refused,
                           QStringLiteral("no station answers: %1").arg(findings.stations.last().probe.text));
    return Done;
}

} // namespace

int runScan(const ScanOptions& options, Console& console)
{
    if (options.first > options.last)
        return reportError(
            console, WrongCommandLine,
            QStringLiteral("--from: must be at most --to, %1, not %2").arg(options.last).arg(options.first));
    QString error;
    const auto session = Session::start(linkForScan(options.link), console.err, error);
    if (!session)
        return reportError(console, WrongCommandLine, error);

    std::optional<CopyFiles> files;
    if (!options.output.isEmpty())
        files.emplace(options.output);
    if (files && !files->problem().isEmpty())
        return reportError(console, Refused, files->problem());

    interrupt::endInOwnTime();
    QElapsedTimer timer;
    timer.start();
    ProgressBar bar(console.err, options.link.trace ? 0 : terminalWidth());
    const DriverSetting setting = effectiveSetting(session->driver(), options.link);
    scan::DeviceCopy copy;
    DriverRequester requester(*session, setting.delay, copy);
    const scan::DeviceFindings findings = scan::scanDevice(
        planFor(options, session->driver()), requester,
        [&bar](const QString& label, qint64 done, qint64 total) { bar.show(label, done, total); });
    bar.clear();
    if (!findings.stations.isEmpty() && options.link.format == OutputFormat::Json)
        printJson(findings, timer.elapsed(), console.out);
    else if (!findings.stations.isEmpty())
        printText(findings, timer.elapsed(), console.out);
    if (files && copy.isEmpty())
        console.err << "note: no value was read; " << shown(options.output) << " is not written\n";
    else if (files && !files->commit(copy, setting.stationid))
        return reportError(console, Refused, files->problem());
    return exitStatus(findings, console);
}
