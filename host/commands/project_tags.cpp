#include "commands/project_tags.h"

#include "project/project_file.h"
#include "project/tag_import.h"
#include "session/interrupt.h"
#include "text/json_line.h"
#include "text/new_file.h"
#include "text/progress_bar.h"
#include "text/shown.h"
#include "tools/project_database.h"

#include <QFile>
#include <QSet>

#include <algorithm>

namespace {

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

ImportResult takeTags(ProjectWriter& writer, int linkId, QFile& file, ProgressBar& bar)
{
    CsvReader reader(file);
    const qint64 size = file.size();
    return importTags(
        reader,
        [&](const QString& address) {
            return writer.addTag({linkId, address});
        },
        [&] {
            bar.show(QStringLiteral("importing"), reader.position(), size);
            return !interrupt::flag();
        });
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

int cannotRead(const QFile& file, Console& console)
{
    return reportError(console, WrongCommandLine,
                       QStringLiteral("cannot read %1: %2").arg(file.fileName(), file.errorString()));
}

void writeTags(ProjectReader& reader, int linkId, QTextStream& out)
{
    out << "address\n";
    reader.forEachTagOf(linkId, [&out](const ProjectTag& tag) {
        out << QString::fromUtf8(csvField(tag.address.toUtf8())) << '\n';
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
        console.out << "link " << link.linkId << " of " << GetDatabaseName() << " has now "
                    << writer.tagCount(link.linkId) << " tag(s)\n";
    return Done;
}

} // namespace

int takeTagFile(const LinkOptions& link, const QString& fileName, ProjectWriter& writer, Console& console)
{
    QFile file(fileName);
    if (!file.open(QIODevice::ReadOnly))
        return cannotRead(file, console);
    interrupt::endInOwnTime();
    ProgressBar bar(console.err, terminalWidth());
    const ImportResult result = takeTags(writer, link.linkId, file, bar);
    bar.clear();
    if (file.error() != QFile::NoError)
        return cannotRead(file, console);
    if (interrupt::flag())
        return reportError(console, Interrupted, QStringLiteral("interrupted, the project is as it was"));
    if (result.problemCount > 0)
        return reportProblems(result, fileName, link.format, console);
    if (result.tags == 0 && writer.error().isEmpty())
        return reportError(console, WrongCommandLine,
                           QStringLiteral("%1 has no tag; the project is as it was").arg(fileName));
    return Done;
}

int runProjectImport(const ProjectImportOptions& options, Console& console)
{
    const int linkId = options.link.linkId;
    ProjectWriter writer(GetDatabaseName(), ProjectWriter::FromOldProject);
    if (!writer.error().isEmpty())
        return reportError(console, Refused, writer.error());
    ProjectReader old = writer.contents();
    const QString problem = linkProblem(old, linkId);
    if (!problem.isEmpty())
        return reportError(console, old.error().isEmpty() ? WrongCommandLine : Refused, problem);
    writer.removeTags(linkId);
    const int status = takeTagFile(options.link, options.file, writer, console);
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
