#include "commands/project.h"

#include "commands/project_reads.h"
#include "commands/project_tags.h"
#include "project/project_file.h"
#include "session/session.h"
#include "signals/address.h"
#include "text/json_line.h"
#include "text/shown.h"
#include "text/text_table.h"
#include "tools/project_database.h"

#include <QFileInfo>
#include <QJsonArray>
#include <QMap>

namespace {

/// Returns what is wrong with the first tag that is no address, empty when all are.
QString tagProblem(const QStringList& tags)
{
    QString problem;
    for (const QString& tag : tags) {
        if (!parseTag(tag, Grammar::ModbusTcp, problem))
            return QStringLiteral("--tag: ") + problem;
    }
    return problem;
}

/// The default station of the link, from the options and the driver's defaults. If there is no such driver,
/// it is empty and problem holds a sentence.
std::optional<ProjectNode> defaultNode(const LinkOptions& link, QString& problem)
{
    const auto plugin = DriverPlugin::load(link.driverFile, link.entry, problem);
    const auto port = plugin ? effectivePort(plugin->driver(), link, problem) : std::nullopt;
    if (!port)
        return std::nullopt;
    return ProjectNode{link.linkId, effectiveSetting(plugin->driver(), link).stationid, true,
                       link.device.host, *port};
}

void addContents(ProjectWriter& writer, const ProjectCreateOptions& options, const ProjectNode& node)
{
    writer.addLink({node.linkId, ethernetHmiPort});
    writer.addNode(node);
    for (const QString& tag : options.tags)
        writer.addTag({node.linkId, tag});
}

struct Contents
{
    QVector<ProjectLink> links;
    QVector<ProjectNode> nodes;
    QMap<int, qint64> tagsOfLink;
    QVector<ProjectTag> tags;
};

Contents readContents(ProjectReader& reader, bool allTags)
{
    Contents contents;
    contents.links = reader.links();
    contents.nodes = reader.nodes();
    contents.tagsOfLink = reader.tagCounts();
    if (allTags)
        reader.forEachTag([&](const ProjectTag& tag) { contents.tags += tag; });
    return contents;
}

QString cell(const char* text)
{
    return QLatin1String(text);
}
QString cell(qint64 number)
{
    return QString::number(number);
}

void printTables(const Contents& contents, QTextStream& out)
{
    constexpr auto left = TextTable::Left;
    constexpr auto right = TextTable::Right;
    TextTable links({right, right, right});
    links.addRow({cell("LINK"), cell("HMI PORT"), cell("TAGS")});
    for (const ProjectLink& link : contents.links)
        links.addRow({cell(link.linkId), cell(link.hmiPort), cell(contents.tagsOfLink.value(link.linkId))});
    TextTable nodes({right, right, left, left, right});
    nodes.addRow({cell("LINK"), cell("STATION"), cell("DEFAULT"), cell("IP"), cell("PORT")});
    for (const ProjectNode& node : contents.nodes)
        nodes.addRow({cell(node.linkId), cell(node.stationId), cell(node.isDefault ? "yes" : "no"),
                      shown(node.ip), cell(node.port)});
    TextTable tags({right, left});
    tags.addRow({cell("LINK"), cell("TAG")});
    for (const ProjectTag& tag : contents.tags)
        tags.addRow({cell(tag.linkId), shown(tag.address)});
    links.print(out);
    out << '\n';
    nodes.print(out);
    if (contents.tags.isEmpty())
        return;
    out << '\n';
    tags.print(out);
}

QJsonObject toJson(const Contents& contents, bool allTags)
{
    QJsonArray links;
    for (const ProjectLink& link : contents.links)
        links += QJsonObject{{QStringLiteral("link"), link.linkId},
                             {QStringLiteral("hmiPort"), link.hmiPort},
                             {QStringLiteral("tags"), contents.tagsOfLink.value(link.linkId)}};
    QJsonArray nodes;
    for (const ProjectNode& node : contents.nodes)
        nodes += QJsonObject{{QStringLiteral("link"), node.linkId},
                             {QStringLiteral("station"), node.stationId},
                             {QStringLiteral("default"), node.isDefault},
                             {QStringLiteral("ip"), node.ip},
                             {QStringLiteral("port"), node.port}};
    QJsonArray tags;
    for (const ProjectTag& tag : contents.tags)
        tags += QJsonObject{{QStringLiteral("link"), tag.linkId}, {QStringLiteral("address"), tag.address}};
    QJsonObject object{{QStringLiteral("links"), links}, {QStringLiteral("nodes"), nodes}};
    if (allTags)
        object.insert(QStringLiteral("tags"), tags);
    return object;
}

} // namespace

int runProjectCreate(const ProjectCreateOptions& options, Console& console)
{
    QString problem = tagProblem(options.tags);
    if (problem.isEmpty() && !options.replace && QFileInfo::exists(GetDatabaseName()))
        problem = QStringLiteral("there is the project %1 already; --replace puts a new one in its place")
                      .arg(GetDatabaseName());
    if (!problem.isEmpty())
        return reportError(console, WrongCommandLine, problem);
    const auto node = defaultNode(options.link, problem);
    if (!node)
        return reportError(console, WrongCommandLine, problem);
    problem = makeProjectFolder();
    if (!problem.isEmpty())
        return reportError(console, Refused, problem);
    ProjectWriter writer(GetDatabaseName(),
                         options.replace ? ProjectWriter::Empty : ProjectWriter::EmptyIfNone);
    addContents(writer, options, *node);
    if (!writer.error().isEmpty())
        return reportError(console, Refused, writer.error());
    const int status =
        options.tagFile.isEmpty() ? int(Done) : takeTagFile(options.link, options.tagFile, writer, console);
    if (status != Done)
        return status;
    if (!writer.commit())
        return reportError(console, Refused, writer.error());
    const qint64 tags = writer.tagCount(options.link.linkId);
    if (options.link.format == OutputFormat::Json)
        printJsonLine(console.out,
                      {{QStringLiteral("file"), GetDatabaseName()}, {QStringLiteral("tags"), tags}});
    else
        console.out << "created " << GetDatabaseName() << " with " << tags << " tag(s)\n";
    return Done;
}

int runProjectShow(const ProjectShowOptions& options, Console& console)
{
    ProjectReader reader(GetDatabaseName());
    const Contents contents = readContents(reader, options.allTags);
    if (!reader.error().isEmpty())
        return reportError(console, Refused, reader.error());
    const ProjectReads reads = readsOfProject(options.link, contents.links);
    if (options.link.format == OutputFormat::Json) {
        QJsonObject object = toJson(contents, options.allTags);
        object.insert(QStringLiteral("reads"), toJson(reads, options.allTags));
        printJsonLine(console.out, object);
    } else {
        printTables(contents, console.out);
        printReads(reads, options.allTags, console.out);
    }
    console.out.flush();
    for (const QString& note : reads.notes)
        console.err << "note: what byte reads ask for is not shown, " << shown(note) << '\n';
    return Done;
}
