#include "commands/project_reads.h"

#include "text/text_table.h"

#include <QJsonObject>

#include <algorithm>

namespace {

constexpr int fewRuns = 20;  ///< shown for one area of one station
constexpr int fewAreas = 20; ///< for which runs are listed

int bitsOf(const BitRun& run)
{
    return run.last - run.first + 1;
}

int allBits(const AreaReadPlan& plan)
{
    int bits = 0;
    for (const BitRun& run : plan.runs)
        bits += bitsOf(run);
    return bits;
}

int longestRun(const AreaReadPlan& plan)
{
    int longest = 0;
    for (const BitRun& run : plan.runs)
        longest = std::max(longest, bitsOf(run));
    return longest;
}

int shownRuns(const AreaReadPlan& plan, bool allRuns)
{
    return allRuns ? plan.runs.size() : std::min(plan.runs.size(), fewRuns);
}

QStringList areaCells(const AreaReadPlan& plan)
{
    return {QString::number(plan.linkId), QString::number(plan.station), plan.area};
}

void printAreas(const ProjectReads& reads, QTextStream& out)
{
    constexpr auto left = TextTable::Left;
    constexpr auto right = TextTable::Right;
    TextTable table({right, right, left, right, right, right});
    table.addRow({QStringLiteral("LINK"), QStringLiteral("STATION"), QStringLiteral("AREA"),
                  QStringLiteral("REQUESTS"), QStringLiteral("BITS"), QStringLiteral("LONGEST")});
    for (const AreaReadPlan& plan : reads.plans)
        table.addRow(areaCells(plan) + QStringList{QString::number(plan.runs.size()),
                                                   QString::number(allBits(plan)),
                                                   QString::number(longestRun(plan))});
    table.print(out);
}

void addRuns(const AreaReadPlan& plan, const ProjectReads& reads, bool allRuns, TextTable& table)
{
    const int shown = shownRuns(plan, allRuns);
    for (int i = 0; i < shown; ++i) {
        const BitRun& run = plan.runs.at(i);
        const QString note = bitsOf(run) > reads.mostInRequest
                                 ? QStringLiteral("warning: refused when read at once, more than %1 bits")
                                       .arg(reads.mostInRequest)
                                 : QString();
        table.addRow(areaCells(plan) + QStringList{plan.area + QString::number(run.first),
                                                   plan.area + QString::number(run.last),
                                                   QString::number(bitsOf(run)), note});
    }
    if (shown < plan.runs.size())
        table.addRow(areaCells(plan) +
                     QStringList{QStringLiteral("... and %1 more").arg(plan.runs.size() - shown), QString(),
                                 QString(), QString()});
}

void printRuns(const ProjectReads& reads, bool allRuns, QTextStream& out)
{
    constexpr auto left = TextTable::Left;
    constexpr auto right = TextTable::Right;
    TextTable table({right, right, left, left, left, right, left});
    table.addRow({QStringLiteral("LINK"), QStringLiteral("STATION"), QStringLiteral("AREA"),
                  QStringLiteral("FROM"), QStringLiteral("TO"), QStringLiteral("BITS"), QString()});
    const int shown = allRuns ? reads.plans.size() : std::min(reads.plans.size(), fewAreas);
    for (int i = 0; i < shown; ++i)
        addRuns(reads.plans.at(i), reads, allRuns, table);
    table.print(out);
    if (shown < reads.plans.size())
        out << "... and " << reads.plans.size() - shown << " more areas, see --all\n";
}

} // namespace

ProjectReads readsOfProject(const LinkOptions& options, const QVector<ProjectLink>& links)
{
    ProjectReads reads;
    for (const ProjectLink& link : links) {
        QString problem;
        const auto plugin = DriverPlugin::load(options.driverFile, options.entry, problem);
        if (!plugin) {
            reads.notes += problem;
            return reads;
        }
        if (!isModbusTcp(plugin->driver()))
            return reads; // only this driver reads bits according to the project
        reads.mostInRequest = plugin->driver().getBitBlockAccessSize();
        problem = planReads(plugin->driver(), link.linkId, reads.plans);
        if (!problem.isEmpty())
            reads.notes += QStringLiteral("link %1: %2").arg(link.linkId).arg(problem);
    }
    return reads;
}

void printReads(const ProjectReads& reads, bool allRuns, QTextStream& out)
{
    if (reads.plans.isEmpty())
        return;
    const bool hasRuns = std::any_of(reads.plans.begin(), reads.plans.end(),
                                     [](const AreaReadPlan& plan) { return !plan.runs.isEmpty(); });
    out << "\nReading bits by bytes asks the devices for\n";
    printAreas(reads, out);
    if (!hasRuns)
        return;
    out << '\n';
    printRuns(reads, allRuns, out);
}

QJsonArray toJson(const ProjectReads& reads, bool allRuns)
{
    QJsonArray array;
    for (const AreaReadPlan& plan : reads.plans) {
        QJsonArray runs;
        const int shown = shownRuns(plan, allRuns);
        for (int i = 0; i < shown; ++i) {
            const BitRun& run = plan.runs.at(i);
            runs += QJsonObject{{QStringLiteral("from"), run.first},
                                {QStringLiteral("to"), run.last},
                                {QStringLiteral("refused"), bitsOf(run) > reads.mostInRequest}};
        }
        array += QJsonObject{
            {QStringLiteral("link"), plan.linkId},   {QStringLiteral("station"), plan.station},
            {QStringLiteral("area"), plan.area},     {QStringLiteral("requests"), plan.runs.size()},
            {QStringLiteral("bits"), allBits(plan)}, {QStringLiteral("longest"), longestRun(plan)},
            {QStringLiteral("runs"), runs}};
    }
    return array;
}
