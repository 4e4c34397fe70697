#include "commands/chart.h"

#include "text/json_line.h"
#include "watch/gnuplot.h"

#include <QFileInfo>
#include <QSaveFile>

namespace {

std::optional<ChartFormat> formatOf(const QString& fileName)
{
    const QString suffix = QFileInfo(fileName).suffix().toLower();
    if (suffix == QLatin1String("svg"))
        return ChartFormat::Svg;
    return suffix == QLatin1String("png") ? std::optional(ChartFormat::Png) : std::nullopt;
}

/// The old file stays as it is until the new one is complete. Returns a sentence that says why not, empty on
/// success.
QString save(const QString& fileName, const QByteArray& bytes)
{
    QSaveFile file(fileName);
    if (file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size() && file.commit())
        return QString();
    return QStringLiteral("can not write %1: %2").arg(fileName, file.errorString());
}

} // namespace

int runChart(const ChartOptions& options, Console& console)
{
    const auto format = formatOf(options.output);
    if (!format)
        return reportError(console, WrongCommandLine,
                           QStringLiteral("--output: %1 must end in .svg or .png").arg(options.output));
    QString error;
    const auto record = readRecord(options.record, error);
    if (!record)
        return reportError(console, Refused, error);
    const QString title =
        options.title.isEmpty() ? QFileInfo(options.record).completeBaseName() : options.title;
    const QByteArray script = gnuplotScript(*record, title, *format);
    if (script.isEmpty())
        return reportError(
            console, Refused,
            QStringLiteral("every sample in %1 failed, there is nothing to draw").arg(options.record));
    const QByteArray picture = runGnuplot(script, error);
    if (error.isEmpty())
        error = save(options.output, picture);
    if (!error.isEmpty())
        return reportError(console, Refused, error);
    const auto samples = static_cast<qint64>(record->times.size());
    if (options.link.format == OutputFormat::Json)
        printJsonLine(console.out,
                      {{QStringLiteral("file"), options.output}, {QStringLiteral("samples"), samples}});
    else
        console.out << "drew " << samples << " sample(s) into " << options.output << '\n';
    return Done;
}
