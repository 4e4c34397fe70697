#include "commands/project.h"

#include "commands/project_reads.h"
#include "commands/project_tags.h"
#include "project/project_file.h"
#include "project/tag_row.h"
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
QString tagProblem(const QStringList& tags, Grammar grammar)
{
    QString problem;
    for (const QString& tag : tags) {
        if (!parseTag(tag, grammar, problem))
            return QStringLiteral("--tag: ") + problem;
    }
    return problem;
}

/// The default station of the link, from the options and the driver's defaults. If its address has no port,
/// the result is empty and problem holds a sentence.
std::optional<ProjectNode> defaultNode(DriverInterface& driver, const LinkOptions& link, QString& problem)
{
    const auto port = effectivePort(driver, link, problem);
    if (!port)
        return std::nullopt;
    return ProjectNode{link.linkId, effectiveSetting(driver, link).stationid, true, link.device.host, *port};
}

void addContents(ProjectWriter& writer, const ProjectCreateOptions& options, const ProjectNode& node)
{
    writer.addLink({node.linkId, ethernetHmiPort});
    writer.addNode(node);
    for (const QString& tag : options.tags)
        writer.addTag({node.linkId, signalAt(tag)});
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

/// Only the columns in which something stands.
void printTags(const QVector<ProjectTag>& tags, QTextStream& out)
{
    QVector<QStringList> rows;
    QVector<bool> isUsed(tagColumns().size(), false);
    for (const ProjectTag& tag : tags) {
        rows += rowOfSignal(tag.signal);
        for (int i = 0; i < isUsed.size(); ++i)
            isUsed[i] = isUsed.at(i) || !rows.last().at(i).isEmpty();
    }
    QStringList headings = tagColumns();
    headings.first() = QStringLiteral("tag");
    const auto addRow = [&](TextTable& table, const QString& link, const QStringList& row) {
        QStringList cells{link};
        for (int i = 0; i < isUsed.size(); ++i) {
            if (isUsed.at(i))
                cells += shown(row.at(i));
        }
        table.addRow(cells);
    };
    QVector<TextTable::Alignment> alignments{TextTable::Right};
    alignments += QVector<TextTable::Alignment>(isUsed.count(true), TextTable::Left);
    TextTable table(alignments);
    addRow(table, cell("LINK"), headings.join(QLatin1Char(' ')).toUpper().split(QLatin1Char(' ')));
    for (int i = 0; i < rows.size(); ++i)
        addRow(table, cell(tags.at(i).linkId), rows.at(i));
    table.print(out);
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
    links.print(out);
    out << '\n';
    nodes.print(out);
    if (contents.tags.isEmpty())
        return;
    out << '\n';
    printTags(contents.tags, out);
}

/// Only the keys for which the tag has something.
QJsonObject toJson(const ProjectTag& tag)
{
    const QStringList numbers = {QStringLiteral("scale"), QStringLiteral("offset"),
                                 QStringLiteral("decimals")};
    QJsonObject object{{QStringLiteral("link"), tag.linkId}};
    const QStringList row = rowOfSignal(tag.signal);
    for (int i = 0; i < row.size(); ++i) {
        const QString& column = tagColumns().at(i);
        const bool isNumber = numbers.contains(column);
        if (!row.at(i).isEmpty())
            object.insert(column, isNumber ? QJsonValue(row.at(i).toDouble()) : QJsonValue(row.at(i)));
    }
    return object;
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
        tags += toJson(tag);
    QJsonObject object{{QStringLiteral("links"), links}, {QStringLiteral("nodes"), nodes}};
    if (allTags)
        object.insert(QStringLiteral("tags"), tags);
    return object;
}

/// Makes the project and commits it. Returns the exit status, and with Done the number of tags.
int create(const ProjectCreateOptions& options, DriverInterface& driver,
           const std::optional<TagFile>& tagFile, Console& console, qint64& tags)
{
    QString problem;
    const Grammar grammar = grammarOfDriver(driver.name());
    const auto node = defaultNode(driver, options.link, problem);
    problem += tagProblem(options.tags, grammar);
    if (!problem.isEmpty())
        return reportError(console, WrongCommandLine, problem);
    problem = makeProjectFolder();
    if (!problem.isEmpty())
        return reportError(console, Refused, problem);
    ProjectWriter writer(GetDatabaseName(),
                         options.replace ? ProjectWriter::Empty : ProjectWriter::EmptyIfNone);
    addContents(writer, options, *node);
    if (!writer.error().isEmpty())
        return reportError(console, Refused, writer.error());
    const int status = tagFile ? takeTags(options.link, *tagFile, grammar, writer, console) : int(Done);
    if (status != Done)
        return status;
    tags = writer.tagCount(options.link.linkId);
    return writer.commit() ? int(Done) : reportError(console, Refused, writer.error());
}

} // namespace

int runProjectCreate(const ProjectCreateOptions& options, Console& console)
{
    if (!options.replace && QFileInfo::exists(GetDatabaseName()))
        return reportError(
            console, WrongCommandLine,
            QStringLiteral("there is the project %1 already; --replace puts a new one in its place")
                .arg(GetDatabaseName()));
    QString problem;
    const auto plugin = DriverPlugin::load(options.link.driverFile, options.link.entry, problem);
    std::optional<TagFile> tagFile;
    if (plugin && !options.tagFile.isEmpty())
        tagFile = readTagFile(options.tagFile, problem);
    if (!problem.isEmpty())
        return reportError(console, WrongCommandLine, problem);
    qint64 tags = 0;
    const int status = create(options, plugin->driver(), tagFile, console, tags);
    if (status != Done)
        return status;
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
