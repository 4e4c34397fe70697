#include "commands/project_tags.h"

#include "project/project_file.h"
#include "project/tag_import.h"
#include "session/interrupt.h"
#include "text/json_line.h"
#include "text/progress_bar.h"
#include "tools/project_database.h"

#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QSet>

#include <algorithm>
#include <memory>

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

/// Replaces the tags of the link with those of the file. Nothing is committed yet.
ImportResult replaceTags(ProjectWriter& writer, int linkId, QFile& file, ProgressBar& bar)
{
    writer.removeTags(linkId);
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

int reportProblems(const ImportResult& result, const ProjectImportOptions& options, Console& console)
{
    for (const ImportProblem& problem : result.problems) {
        if (options.link.format == OutputFormat::Json)
            printJsonLine(console.out, {{QStringLiteral("file"), options.file},
                                        {QStringLiteral("line"), problem.line},
                                        {QStringLiteral("error"), problem.text}});
        else
            console.err << shown(options.file) << ':' << problem.line << ": " << shown(problem.text) << '\n';
    }
    const QString listed = result.problemCount > result.problems.size()
                               ? QStringLiteral(", the first %1 are listed").arg(result.problems.size())
                               : QString();
    return reportError(console, WrongCommandLine,
                       QStringLiteral("%1 line(s) of %2 are wrong%3; the project is as it was")
                           .arg(result.problemCount)
                           .arg(options.file, listed));
}

int cannotRead(const QFile& file, Console& console)
{
    return reportError(console, WrongCommandLine,
                       QStringLiteral("can not read %1: %2").arg(file.fileName(), file.errorString()));
}

int reportImport(const ImportResult& result, const ProjectImportOptions& options, Console& console)
{
    if (options.link.format == OutputFormat::Json)
        printJsonLine(console.out, {{QStringLiteral("file"), GetDatabaseName()},
                                    {QStringLiteral("link"), options.link.linkId},
                                    {QStringLiteral("tags"), result.tags}});
    else
        console.out << "link " << options.link.linkId << " of " << GetDatabaseName() << " has now "
                    << result.tags << " tag(s)\n";
    return Done;
}

void writeTags(ProjectReader& reader, int linkId, QTextStream& out)
{
    out << "address\n";
    reader.forEachTagOf(linkId, [&out](const ProjectTag& tag) {
        out << QString::fromUtf8(csvField(tag.address.toUtf8())) << '\n';
    });
}

/// Writes the tags to an open file and flushes it. Returns whether that worked.
bool writeTagsTo(QFileDevice& file, ProjectReader& reader, int linkId)
{
    QTextStream out(&file);
    out.setCodec("UTF-8");
    writeTags(reader, linkId, out);
    out.flush();
    return out.status() == QTextStream::Ok && file.flush();
}

/// A regular file is replaced when the new one is complete; a device or a pipe is written to directly and
/// never replaced by a file.
bool writeTagFile(ProjectReader& reader, const ProjectExportOptions& options, QString& problem)
{
    const QFileInfo target(options.file);
    const bool isSpecial = target.exists() && !target.isFile() && !target.isDir();
    const std::unique_ptr<QFileDevice> file(isSpecial ? static_cast<QFileDevice*>(new QFile(options.file))
                                                      : new QSaveFile(options.file));
    bool written = file->open(QIODevice::WriteOnly) && writeTagsTo(*file, reader, options.link.linkId) &&
                   reader.error().isEmpty();
    if (const auto replacement = dynamic_cast<QSaveFile*>(file.get()))
        written = written && replacement->commit();
    if (!written)
        problem = reader.error().isEmpty()
                      ? QStringLiteral("can not write %1: %2").arg(options.file, file->errorString())
                      : reader.error();
    return written;
}

} // namespace

int runProjectImport(const ProjectImportOptions& options, Console& console)
{
    ProjectReader old(GetDatabaseName());
    const QString problem = linkProblem(old, options.link.linkId);
    if (!problem.isEmpty())
        return reportError(console, old.error().isEmpty() ? WrongCommandLine : Refused, problem);
    QFile file(options.file);
    if (!file.open(QIODevice::ReadOnly))
        return cannotRead(file, console);

    interrupt::endInOwnTime();
    ProgressBar bar(console.err, terminalWidth());
    ProjectWriter writer(GetDatabaseName(), ProjectWriter::FromOldProject);
    const ImportResult result = replaceTags(writer, options.link.linkId, file, bar);
    bar.clear();
    if (file.error() != QFile::NoError)
        return cannotRead(file, console);
    if (interrupt::flag())
        return reportError(console, Interrupted, QStringLiteral("interrupted, the project is as it was"));
    if (result.problemCount > 0)
        return reportProblems(result, options, console);
    if (!writer.commit())
        return reportError(console, Refused, writer.error());
    return reportImport(result, options, console);
}

int runProjectExport(const ProjectExportOptions& options, Console& console)
{
    ProjectReader reader(GetDatabaseName());
    const QString problem = linkProblem(reader, options.link.linkId);
    if (!problem.isEmpty())
        return reportError(console, reader.error().isEmpty() ? WrongCommandLine : Refused, problem);
    if (!options.file.isEmpty()) {
        QString failure;
        return writeTagFile(reader, options, failure) ? int(Done) : reportError(console, Refused, failure);
    }
    writeTags(reader, options.link.linkId, console.out);
    return reader.error().isEmpty() ? int(Done) : reportError(console, Refused, reader.error());
}
