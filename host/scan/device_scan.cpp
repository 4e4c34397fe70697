#include "scan/device_scan.h"

#include <algorithm>

namespace scan {
namespace {

bool isSilent(const AreaFindings& findings)
{
    return std::all_of(findings.ranges.begin(), findings.ranges.end(), [](const Range& range) {
        return range.state == Range::NoAnswer || range.state == Range::NotAsked;
    });
}

class DeviceScan
{
public:
    DeviceScan(const DevicePlan& plan, Requester& requester, const ShowProgress& showProgress)
        : m_plan(plan), m_requester(requester), m_showProgress(showProgress)
    {
    }

    DeviceFindings run()
    {
        probeStations();
        const auto there =
            std::count_if(m_findings.stations.begin(), m_findings.stations.end(),
                          [](const ScannedStation& station) { return station.probe.isThere(); });
        m_total = there * m_plan.areas.size() * elementsOfAnArea();
        for (ScannedStation& station : m_findings.stations) {
            if (station.probe.isThere())
                scanStation(station);
        }
        return m_findings;
    }

private:
    qint64 elementsOfAnArea() const { return m_plan.last - m_plan.first + 1; }

    void probeStations()
    {
        const int count = m_plan.stations.size();
        for (int i = 0; i < count && m_findings.stopped.isEmpty(); ++i) {
            const int station = m_plan.stations.at(i);
            m_showProgress(QStringLiteral("station %1").arg(station), i, count);
            const Request request{station, m_plan.areas.first(), m_plan.first, 1};
            const Answer answer = ask(request, m_plan.probeRetries);
            if (answer.kind != Answer::Stopped)
                m_findings.stations.append({station, answer, {}});
        }
    }

    void scanStation(ScannedStation& station)
    {
        int silentAreas = 0;
        QString reason = m_findings.stopped;
        for (const Area& area : m_plan.areas) {
            ScannedArea scanned{area, {}};
            if (silentAreas < silentAreasOfAStation && m_findings.stopped.isEmpty())
                scanned.findings = scan(station.station, area);
            else
                scanned.findings = notAsked(area, reason);
            silentAreas = isSilent(scanned.findings) ? silentAreas + 1 : 0;
            reason = scanned.findings.ranges.last().reason;
            station.areas += scanned;
        }
    }

    AreaFindings scan(int station, const Area& area)
    {
        const QString label = QStringLiteral("station %1 %2").arg(station).arg(area.name);
        const AreaPlan plan{m_plan.first, m_plan.last, area.mostInRequest, m_plan.finest};
        const auto read = [&](int first, int count) {
            m_showProgress(label, m_done, m_total);
            return ask({station, area, first, count}, m_plan.retries);
        };
        return scanArea(plan, read, [this](int elements) { m_done += elements; });
    }

    AreaFindings notAsked(const Area& area, const QString& reason)
    {
        m_done += elementsOfAnArea();
        return {{{m_plan.first, m_plan.last, Range::NotAsked, reason}}, area.mostInRequest};
    }

    Answer ask(const Request& request, int retries)
    {
        Answer answer = askOnce(request);
        for (int i = 0; i < retries && answer.kind == Answer::Silence; ++i)
            answer = askOnce(request);
        for (int i = 0; i < m_plan.retries && answer.kind == Answer::Unreachable; ++i)
            answer = askOnce(request);
        if (answer.kind == Answer::Unreachable)
            answer.kind = Answer::Stopped;
        if (answer.kind == Answer::Stopped)
            m_findings.stopped = answer.text;
        return answer;
    }

    Answer askOnce(const Request& request)
    {
        Answer answer = m_requester.ask(request);
        if (answer.isThere() || answer.kind == Answer::Silence)
            ++m_findings.requests;
        return answer;
    }

    const DevicePlan& m_plan;
    Requester& m_requester;
    const ShowProgress& m_showProgress;
    DeviceFindings m_findings;
    qint64 m_done = 0;
    qint64 m_total = 0;
};

} // namespace

DeviceFindings scanDevice(const DevicePlan& plan, Requester& requester, const ShowProgress& showProgress)
{
    return DeviceScan(plan, requester, showProgress).run();
}

} // namespace scan
