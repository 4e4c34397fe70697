#include "commands/chart.h"

#include "text/json_line.h"
#include "text/new_file.h"
#include "text/shown.h"
#include "watch/gnuplot.h"

#include <QFileInfo>

namespace {

std::optional<ChartFormat> formatOf(const QString& fileName)
{
    const QString suffix = QFileInfo(fileName).suffix().toLower();
    if (suffix == QLatin1String("svg"))
        return ChartFormat::Svg;
    return suffix == QLatin1String("png") ? std::optional(ChartFormat::Png) : std::nullopt;
}

/// Draws the record into the file. Returns what went wrong, empty on success.
QString draw(const ChartOptions& options, const ChartStyle& style, const Record& record)
{
    NewFile file(options.output); // before the drawing, which may take long
    QString error = file.error();
    const QByteArray picture = error.isEmpty() ? runGnuplot(chartScript(record, style), error) : QByteArray();
    if (error.isEmpty() && !(file.write(picture) && file.commit()))
        error = file.error();
    return error;
}

} // namespace

int runChart(const ChartOptions& options, Console& console)
{
    ChartStyle style = options.style;
    const auto format = formatOf(options.output);
    if (!format)
        return reportError(console, WrongCommandLine,
                           QStringLiteral("--output: %1 must end in .svg or .png").arg(options.output));
    style.format = *format;
    if (style.title.isEmpty())
        style.title = QFileInfo(options.record).completeBaseName();
    Record record;
    QString error;
    const ExitStatus status = readRecord(options.record, options.selection, record, error);
    if (status != Done)
        return reportError(console, status, error);
    error = draw(options, style, record);
    if (!error.isEmpty())
        return reportError(console, Refused, error);
    if (options.link.format == OutputFormat::Json)
        printJsonLine(console.out, {{QStringLiteral("file"), options.output},
                                    {QStringLiteral("samples"), record.samples}});
    else
        console.out << "drew " << record.samples << " sample(s) into " << shown(options.output) << '\n';
    return Done;
}
