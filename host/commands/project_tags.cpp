#include "commands/project_tags.h"

#include "project/project_file.h"
#include "project/tag_import.h"
#include "project/tag_row.h"
#include "session/driver_plugin.h"
#include "session/interrupt.h"
#include "text/csv_reader.h"
#include "text/json_line.h"
#include "text/new_file.h"
#include "text/progress_bar.h"
#include "text/shown.h"
#include "tools/project_database.h"

#include <QByteArrayList>
#include <QFile>
#include <QSet>

#include <algorithm>

namespace {

constexpr qint64 chunk = 1 << 20;

/// The error text for a link id that the project does not have; empty if it has it.
QString linkProblem(ProjectReader& reader, int linkId)
{
    QSet<int> ids;
    for (const ProjectLink& link : reader.links())
        ids += link.linkId;
    if (!reader.error().isEmpty() || ids.contains(linkId))
        return reader.error();
    QStringList texts;
    QList<int> sorted = ids.values();
    std::sort(sorted.begin(), sorted.end());
    for (const int id : sorted)
        texts += QString::number(id);
    return QStringLiteral("--link: the project %1 has no link %2; its links are: %3")
        .arg(GetDatabaseName())
        .arg(linkId)
        .arg(texts.isEmpty() ? QStringLiteral("none") : texts.join(QStringLiteral(", ")));
}

int reportProblems(const ImportResult& result, const QString& file, OutputFormat format, Console& console)
{
    for (const ImportProblem& problem : result.problems) {
        if (format == OutputFormat::Json)
            printJsonLine(console.out, {{QStringLiteral("file"), file},
                                        {QStringLiteral("line"), problem.line},
                                        {QStringLiteral("error"), problem.text}});
        else
            console.err << shown(file) << ':' << problem.line << ": " << shown(problem.text) << '\n';
    }
    const QString listed = result.problemCount > result.problems.size()
                               ? QStringLiteral(", the first %1 are listed").arg(result.problems.size())
                               : QString();
    return reportError(console, WrongCommandLine,
                       QStringLiteral("%1 line(s) of %2 are wrong%3; the project is as it was")
                           .arg(result.problemCount)
                           .arg(file, listed));
}

/// The list has as many columns as are used: often the addresses alone.
void writeTags(ProjectReader& reader, int linkId, QTextStream& out)
{
    bool hasSignals = false;
    reader.forEachTagOf(linkId, [&](const ProjectTag& tag) {
        hasSignals = hasSignals || rowOfSignal(tag.signal).mid(1).join(QString()).size() > 0;
    });
    const int columns = hasSignals ? tagColumns().size() : 1;
    out << tagColumns().mid(0, columns).join(QLatin1Char(',')) << '\n';
    reader.forEachTagOf(linkId, [&](const ProjectTag& tag) {
        QByteArrayList fields;
        for (const QString& text : rowOfSignal(tag.signal).mid(0, columns))
            fields += text.isEmpty() ? QByteArray() : csvField(text.toUtf8());
        out << QString::fromUtf8(fields.join(',')) << '\n';
    });
}

/// A file is replaced when the new one is complete. Returns what went wrong, empty when nothing did.
QString writeTagFile(ProjectReader& reader, const ProjectExportOptions& options)
{
    NewFile file(options.file);
    if (!file.error().isEmpty())
        return file.error();
    QTextStream out(&file.device());
    out.setCodec("UTF-8");
    writeTags(reader, options.link.linkId, out);
    out.flush();
    return reader.error().isEmpty() && file.commit() ? QString() : reader.error() + file.error();
}

/// Commits the project and says how many tags its link has now.
int finishTags(const LinkOptions& link, ProjectWriter& writer, Console& console)
{
    if (!writer.commit())
        return reportError(console, Refused, writer.error());
    if (link.format == OutputFormat::Json)
        printJsonLine(console.out, {{QStringLiteral("file"), GetDatabaseName()},
                                    {QStringLiteral("link"), link.linkId},
                                    {QStringLiteral("tags"), writer.tagCount(link.linkId)}});
    else
        console.out << "link " << link.linkId << " of " << GetDatabaseName() << " now has "
                    << writer.tagCount(link.linkId) << " tag(s)\n";
    return Done;
}

} // namespace

std::optional<TagFile> readTagFile(const QString& name, QString& problem)
{
    constexpr qint64 most = 256 * 1024 * 1024;
    QFile file(name);
    if (!file.open(QIODevice::ReadOnly)) {
        problem = QStringLiteral("cannot read %1: %2").arg(name, file.errorString());
        return std::nullopt;
    }
    TagFile tags{name, {}};
    for (QByteArray bytes = file.read(chunk); !bytes.isEmpty(); bytes = file.read(chunk)) {
        tags.content += bytes;
        if (tags.content.size() > most) {
            problem = QStringLiteral("%1 has more than %2 bytes, which is no tag list").arg(name).arg(most);
            return std::nullopt;
        }
    }
    if (file.error() == QFile::NoError)
        return tags;
    problem = QStringLiteral("cannot read %1: %2").arg(name, file.errorString());
    return std::nullopt;
}

int takeTags(const LinkOptions& link, const TagFile& file, Grammar grammar, ProjectWriter& writer,
             Console& console)
{
    interrupt::endInOwnTime();
    ProgressBar bar(console.err, terminalWidth());
    const ImportResult result = importTags(
        file.content, grammar,
        [&](const Signal& signal) {
            return writer.addTag({link.linkId, signal});
        },
        [&](qint64 position) {
            bar.show(QStringLiteral("importing"), position, file.content.size());
            return !interrupt::flag();
        });
    bar.clear();
    if (interrupt::flag())
        return reportError(console, Interrupted, QStringLiteral("interrupted, the project is as it was"));
    if (result.problemCount > 0)
        return reportProblems(result, file.name, link.format, console);
    if (result.tags == 0 && writer.error().isEmpty())
        return reportError(console, WrongCommandLine,
                           QStringLiteral("%1 has no tag; the project is as it was").arg(file.name));
    if (!result.note.isEmpty())
        console.err << "note: " << shown(file.name) << ": " << shown(result.note) << '\n';
    return Done;
}

int runProjectImport(const ProjectImportOptions& options, Console& console)
{
    const int linkId = options.link.linkId;
    QString problem;
    const auto plugin = DriverPlugin::load(options.link.driverFile, options.link.entry, problem);
    const auto file = plugin ? readTagFile(options.file, problem) : std::nullopt;
    if (!file)
        return reportError(console, WrongCommandLine, problem);
    ProjectWriter writer(GetDatabaseName(), ProjectWriter::FromOldProject);
    if (!writer.error().isEmpty())
        return reportError(console, Refused, writer.error());
    ProjectReader old = writer.contents();
    problem = linkProblem(old, linkId);
    if (!problem.isEmpty())
        return reportError(console, old.error().isEmpty() ? WrongCommandLine : Refused, problem);
    writer.removeTags(linkId);
    const Grammar grammar = grammarOfDriver(plugin->driver().name());
    const int status = takeTags(options.link, *file, grammar, writer, console);
    return status == Done ? finishTags(options.link, writer, console) : status;
}

int runProjectExport(const ProjectExportOptions& options, Console& console)
{
    ProjectReader reader(GetDatabaseName());
    QString problem = linkProblem(reader, options.link.linkId);
    if (!problem.isEmpty())
        return reportError(console, reader.error().isEmpty() ? WrongCommandLine : Refused, problem);
    if (options.file == QLatin1String("-")) {
        writeTags(reader, options.link.linkId, console.out);
        problem = reader.error();
    } else {
        problem = writeTagFile(reader, options);
    }
    return problem.isEmpty() ? int(Done) : reportError(console, Refused, problem);
}
