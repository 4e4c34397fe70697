#include "watch/gnuplot.h"

#include <QDateTime>
#include <QProcess>
#include <QStandardPaths>
#include <QStringList>
#include <QVector>

#include <algorithm>
#include <cmath>

namespace {

constexpr int width = 1000; ///< of a chart, in pixels
constexpr int numbersHeight = 380;
constexpr int laneHeight = 26;
constexpr int headHeight = 44;
constexpr int axisHeight = 64;
constexpr int panelGap = 24;
constexpr double laneDistance = 1.5; ///< from one bit to the next, whose edges are 1 high
constexpr std::size_t curveParts = 2000;
constexpr int longestRun = 120000; ///< milliseconds

/// Told apart with every kind of colour vision.
const char* const colours[] = {"#0072b2", "#d55e00", "#009e73", "#cc79a7", "#e69f00", "#56b4e9", "#555555"};

constexpr int colourCount = sizeof colours / sizeof *colours;

using Columns = QVector<const RecordColumn*>;

QString quoted(QString text)
{
    return QLatin1Char('\'') + text.replace(QLatin1Char('\''), QLatin1String("''")) + QLatin1Char('\'');
}

/// Top and bottom of a panel, as parts of the picture counted from below.
struct Panel
{
    Columns columns;
    int top;
    int height;
    bool isLast;
};

/// How the time axis is written: its length decides.
struct TimeAxis
{
    double origin; ///< seconds since 1970 that are 0 on the axis
    double begin;
    double end;
    QString format; ///< of a time of day; empty: seconds since origin
    QString label;
};

TimeAxis timeAxis(const Record& record)
{
    constexpr double briefly = 120;
    constexpr double day = 86400;
    const double begin = record.times.front();
    const double length = std::max(record.times.back() - begin, 1.0);
    const QDateTime start = QDateTime::fromMSecsSinceEpoch(static_cast<qint64>(begin * 1000), Qt::UTC);
    if (length <= briefly)
        return {begin, 0, length, QString(),
                QStringLiteral("seconds since %1 UTC")
                    .arg(start.toString(QStringLiteral("yyyy-MM-dd HH:mm:ss")))};
    if (length <= day)
        return {
            0, begin, begin + length, QStringLiteral("%H:%M:%S"),
            QStringLiteral("time of day, UTC, from %1 on").arg(start.toString(QStringLiteral("yyyy-MM-dd")))};
    return {0, begin, begin + length, QStringLiteral("%m-%d %H:%M"),
            QStringLiteral("month-day and time, UTC")};
}

QString dataBlock(const Record& record, const RecordColumn& column, int index, double origin)
{
    QString text = QStringLiteral("$c%1 << END\n").arg(index);
    for (const CurvePoint& point : curveOf(record, column, curveParts))
        text += QString::number(point.time - origin, 'f', 3) + QLatin1Char(' ') +
                (std::isnan(point.value) ? QStringLiteral("NaN") : QString::number(point.value, 'g', 12)) +
                QLatin1Char('\n');
    return text + QStringLiteral("END\n");
}

/// One curve of a plot, the index-th; offset lifts a bit to its lane.
QString curve(const RecordColumn& column, int block, int index, const QString& style, double offset)
{
    return QStringLiteral(
               "$c%1 using 1:($2 + %2) with %3 linewidth 1.8 linecolor rgb '%4' dashtype %5 title %6")
        .arg(block)
        .arg(offset)
        .arg(style, QLatin1String(colours[index % colourCount]))
        .arg(index / colourCount % 5 + 1)
        .arg(quoted(column.name));
}

QString margins(const Panel& panel, int total)
{
    const double top = 1 - static_cast<double>(panel.top) / total;
    const double bottom = 1 - static_cast<double>(panel.top + panel.height) / total;
    return QStringLiteral("set tmargin at screen %1\nset bmargin at screen %2\n").arg(top).arg(bottom);
}

QString axisOf(const Panel& panel, const TimeAxis& axis)
{
    if (!panel.isLast)
        return QStringLiteral("set xtics format ''\nunset xlabel\n");
    const QString format = axis.format.isEmpty()
                               ? QStringLiteral("set xtics format '%g'\n")
                               : QStringLiteral("set xtics time format '%1'\n").arg(axis.format);
    return format + QStringLiteral("set xlabel %1\n").arg(quoted(axis.label));
}

QString numbersPanel(const Panel& panel, int firstBlock)
{
    QStringList curves;
    for (int i = 0; i < panel.columns.size(); ++i)
        curves += curve(*panel.columns.at(i), firstBlock + i, i, QStringLiteral("lines"), 0);
    return QStringLiteral("set key at screen 0.865, graph 1 left top Left reverse samplen 1.5\n"
                          "set ylabel 'value'\nset yrange [*:*]\nset ytics auto\nplot ") +
           curves.join(QStringLiteral(", \\\n     ")) + QLatin1Char('\n');
}

QString bitsPanel(const Panel& panel, int firstBlock)
{
    QStringList curves;
    QStringList names;
    const int count = panel.columns.size();
    for (int i = 0; i < count; ++i) {
        const double offset = laneDistance * (count - 1 - i);
        curves +=
            curve(*panel.columns.at(i), firstBlock + i, i % colourCount, QStringLiteral("steps"), offset);
        names += QStringLiteral("%1 %2").arg(quoted(panel.columns.at(i)->name)).arg(offset + 0.5);
    }
    return QStringLiteral("unset key\nset ylabel 'bits'\nset yrange [-0.4:%1]\nset ytics (%2)\nplot ")
               .arg(laneDistance * (count - 1) + 1.4)
               .arg(names.join(QStringLiteral(", "))) +
           curves.join(QStringLiteral(", \\\n     ")) + QLatin1Char('\n');
}

/// Columns that hold a value, so that there is something to draw.
Columns columnsWithValues(const Record& record, bool bits)
{
    Columns columns;
    for (const RecordColumn& column : record.columns) {
        if (column.isBit == bits && !std::all_of(column.values.begin(), column.values.end(),
                                                 [](double value) { return std::isnan(value); }))
            columns += &column;
    }
    return columns;
}

QVector<Panel> panelsOf(const Record& record)
{
    QVector<Panel> panels;
    const Columns numbers = columnsWithValues(record, false);
    const Columns bits = columnsWithValues(record, true);
    const bool onlyNumbers = bits.isEmpty();
    if (!numbers.isEmpty())
        panels += {numbers, headHeight, numbersHeight, onlyNumbers};
    if (!bits.isEmpty())
        panels += {bits, numbers.isEmpty() ? headHeight : headHeight + numbersHeight + panelGap,
                   laneHeight * (bits.size() + 1), true};
    return panels;
}

QString opening(ChartFormat format, int height, const QString& title, const TimeAxis& axis)
{
    return QStringLiteral("set terminal %1 size %2,%3 noenhanced font 'DejaVu Sans,11' background '#ffffff'\n"
                          "set multiplot\n"
                          "set label 1 %4 at screen 0.1, screen %5 left font 'DejaVu Sans,13'\n"
                          "set lmargin at screen 0.1\nset rmargin at screen 0.85\n"
                          "set xrange [%6:%7]\nset grid linecolor rgb '#dddddd'\nset border 3\n"
                          "set tics nomirror\n")
        .arg(format == ChartFormat::Svg ? QStringLiteral("svg") : QStringLiteral("pngcairo"))
        .arg(width)
        .arg(height)
        .arg(quoted(title))
        .arg(1 - 0.5 * headHeight / height)
        .arg(axis.begin, 0, 'f', 3)
        .arg(axis.end, 0, 'f', 3);
}

} // namespace

QByteArray gnuplotScript(const Record& record, const QString& title, ChartFormat format)
{
    const QVector<Panel> panels = panelsOf(record);
    if (panels.isEmpty())
        return QByteArray();
    const TimeAxis axis = timeAxis(record);
    const int height = panels.last().top + panels.last().height + axisHeight;
    QString script = opening(format, height, title, axis);
    int block = 0;
    for (const Panel& panel : panels) {
        for (int i = 0; i < panel.columns.size(); ++i)
            script += dataBlock(record, *panel.columns.at(i), block + i, axis.origin);
        script += margins(panel, height) + axisOf(panel, axis);
        script += panel.columns.first()->isBit ? bitsPanel(panel, block) : numbersPanel(panel, block);
        script += QStringLiteral("unset label 1\n");
        block += panel.columns.size();
    }
    return (script + QStringLiteral("unset multiplot\n")).toUtf8();
}

QByteArray runGnuplot(const QByteArray& script, QString& error)
{
    const QString program = QStandardPaths::findExecutable(QStringLiteral("gnuplot"));
    if (program.isEmpty()) {
        error =
            QStringLiteral("gnuplot, which draws the charts, is not installed; Debian has it in the package "
                           "gnuplot-nox");
        return QByteArray();
    }
    QProcess process;
    process.start(program, {QStringLiteral("-")});
    process.write(script);
    process.closeWriteChannel();
    const bool ended = process.waitForFinished(longestRun);
    QByteArray picture = process.readAllStandardOutput();
    if (ended && process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0 &&
        !picture.isEmpty())
        return picture;
    const QString said = QString::fromLocal8Bit(process.readAllStandardError()).simplified();
    error = QStringLiteral("gnuplot failed: %1").arg(said.isEmpty() ? process.errorString() : said);
    return QByteArray();
}
