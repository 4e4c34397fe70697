#include "project/project_signals.h"

#include "project/project_file.h"
#include "project/tag_row.h"
#include "text/wildcard.h"
#include "tools/project_database.h"

#include <QFileInfo>

#include <algorithm>
#include <memory>

namespace {

std::optional<int> defaultStation(const QVector<ProjectNode>& nodes, int linkId)
{
    for (const ProjectNode& node : nodes) {
        if (node.linkId == linkId && node.isDefault)
            return node.stationId;
    }
    return std::nullopt;
}

/// The signals with this name, or else with a name that it describes.
QVector<Signal> withName(const QVector<Signal>& all, const QString& asked)
{
    const QString name = nameAsTyped(asked);
    const QString folded = name.toCaseFolded();
    const QRegularExpression expression = wildcardExpression(name);
    const auto isNamed = [&](const Signal& signal) {
        return !signal.name.isEmpty() && signal.name.toCaseFolded() == folded;
    };
    const auto isDescribed = [&](const Signal& signal) {
        return !signal.name.isEmpty() && expression.match(signal.name).hasMatch();
    };
    QVector<Signal> found;
    std::copy_if(all.begin(), all.end(), std::back_inserter(found), isNamed);
    if (found.isEmpty() && hasWildcard(name))
        std::copy_if(all.begin(), all.end(), std::back_inserter(found), isDescribed);
    return found;
}

} // namespace

std::optional<int> projectStation(int linkId)
{
    return QFileInfo::exists(GetDatabaseName())
               ? defaultStation(ProjectReader(GetDatabaseName()).nodes(), linkId)
               : std::nullopt;
}

ProjectSignals readProjectSignals(const LinkOptions& options, int stationOfLink)
{
    if (!QFileInfo::exists(GetDatabaseName()))
        return {{}, QStringLiteral("there is no project with signals; project create makes one")};
    ProjectReader reader(GetDatabaseName());
    const int station = defaultStation(reader.nodes(), options.linkId).value_or(stationOfLink);
    const bool isOther = !options.station && station != stationOfLink;
    QVector<Signal> all;
    reader.forEachTagOf(options.linkId, [&](const ProjectTag& tag) {
        all += tag.signal;
        if (isOther && !hasStation(tag.signal.address))
            all.last().address.prepend(QStringLiteral("%1-").arg(station));
    });
    if (!reader.error().isEmpty())
        return {{}, reader.error()};
    if (all.isEmpty())
        return {{}, QStringLiteral("link %1 has no tags in %2").arg(options.linkId).arg(GetDatabaseName())};
    return {all, QString()};
}

FindSignals findProjectSignals(const LinkOptions& options, int stationOfLink)
{
    const auto project = std::make_shared<std::optional<ProjectSignals>>();
    return [project, options, stationOfLink](const QString& name, QString& problem) {
        if (!*project)
            *project = readProjectSignals(options, stationOfLink);
        const QVector<Signal> found = withName((*project)->all, name);
        problem =
            (*project)->problem.isEmpty() ? QStringLiteral("no signal has this name") : (*project)->problem;
        return found;
    };
}
