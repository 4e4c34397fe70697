#include "watch/chart_script.h"

#include "watch/gnuplot.h"
#include "watch/time_axis.h"

#include <QStringList>
#include <QVector>

#include <algorithm>
#include <cmath>

namespace {

// In pixels.
constexpr int width = 1000;
constexpr int headHeight = 44;
constexpr int axisHeight = 64;
constexpr int panelGap = 24;
constexpr int laneHeight = 26;
constexpr int keyLineHeight = 18;
constexpr int characterWidth = 8;
constexpr int edge = 20;       ///< next to texts
constexpr int narrowest = 100; ///< margin; has room for the numbers of an axis and its name
constexpr int keySample = 60;  ///< the piece of line next to a name

constexpr int longestName = 32; ///< this and the next in characters; longer texts are cut
constexpr int longestTitle = 105;
constexpr double laneDistance = 1.5; ///< from one bit to the next, whose edges are 1 high

/// Distinguishable with every kind of colour vision.
const char* const colours[] = {"#0072b2", "#d55e00", "#009e73", "#cc79a7", "#e69f00", "#56b4e9", "#555555"};

constexpr int colourCount = sizeof colours / sizeof *colours;

/// A column and the number of its curve.
struct Drawn
{
    const RecordColumn* column;
    int number;
};

/// Columns drawn in one panel, with a common axis of values.
struct Panel
{
    QString label;
    bool isBits = false;
    QVector<Drawn> columns;
    int top = 0;
    int height = 0;
};

/// The panels and their common margins.
struct Layout
{
    QVector<Panel> panels;
    int height = 0;
    int left = narrowest; ///< margins
    int right = narrowest;
};

QString elided(const QString& text, int longest)
{
    return text.size() <= longest ? text : text.left(longest - 1) + QChar(0x2026);
}

QString nameOf(const RecordColumn& column)
{
    return elided(column.name, longestName);
}

/// The panel that the column belongs to; a new one if necessary.
Panel& panelFor(const RecordColumn& column, ChartAxes axes, QVector<Panel>& panels)
{
    const QString label = column.unit.isEmpty() ? QStringLiteral("value") : column.unit;
    const auto panel = std::find_if(panels.begin(), panels.end(), [&](const Panel& other) {
        return axes == ChartAxes::Unit && other.label == label;
    });
    if (panel != panels.end())
        return *panel;
    panels += Panel{label, false, {}, 0, 0};
    return panels.last();
}

/// Panels of numbers first, in the order of the record.
QVector<Panel> panelsOf(const Record& record, ChartAxes axes)
{
    QVector<Panel> panels;
    Panel bits{QStringLiteral("bits"), true, {}, 0, 0};
    int number = 0;
    for (const RecordColumn& column : record.columns) {
        if (!column.curve.isEmpty())
            (column.isBit() ? bits : panelFor(column, axes, panels)).columns += {&column, number++};
    }
    if (!bits.columns.isEmpty())
        panels += bits;
    return panels;
}

int heightOf(const Panel& panel, int panelCount)
{
    if (panel.isBits)
        return laneHeight * (panel.columns.size() + 1);
    const int enough = panelCount == 1 ? 380 : panelCount == 2 ? 260 : 180;
    return std::max(enough, keyLineHeight * panel.columns.size());
}

int widthOfNames(const Panel& panel)
{
    int longest = 0;
    for (const Drawn& drawn : panel.columns)
        longest = std::max(longest, nameOf(*drawn.column).size());
    return edge + longest * characterWidth;
}

Layout layOut(const Record& record, ChartAxes axes)
{
    Layout layout;
    layout.panels = panelsOf(record, axes);
    const auto numbers = std::count_if(layout.panels.begin(), layout.panels.end(),
                                       [](const Panel& panel) { return !panel.isBits; });
    int top = headHeight;
    for (Panel& panel : layout.panels) {
        panel.top = top;
        panel.height = heightOf(panel, static_cast<int>(numbers));
        top += panel.height + panelGap;
        int& margin = panel.isBits ? layout.left : layout.right;
        margin = std::max(margin, widthOfNames(panel) + (panel.isBits ? edge : keySample));
    }
    layout.height = top - panelGap + axisHeight;
    return layout;
}

/// Time and value; and the value again for samples without a line to or from them.
QString dataBlock(const Drawn& drawn, double origin)
{
    const std::vector<CurvePoint> points = drawn.column->curve.points();
    const auto isGap = [&points](std::size_t i) { return i >= points.size() || std::isnan(points[i].value); };
    QString text = QStringLiteral("$c%1 << END\n").arg(drawn.number);
    for (std::size_t i = 0; i < points.size(); ++i) {
        const QString value = isGap(i) ? QStringLiteral("NaN") : QString::number(points[i].value, 'g', 12);
        const bool isAlone = isGap(i - 1) && isGap(i + 1);
        text += QStringLiteral("%1 %2 %3\n")
                    .arg(points[i].time - origin, 0, 'f', 3)
                    .arg(value, isAlone ? value : QStringLiteral("NaN"));
    }
    return text + QStringLiteral("END\n");
}

/// A curve of a plot; offset lifts a bit to its lane.
QString curve(const Drawn& drawn, const QString& style, double offset)
{
    const QString colour = QLatin1String(colours[drawn.number % colourCount]);
    const QString line = QStringLiteral("$c%1 using 1:($2 + %2) with %3 linewidth 1.8 linecolor rgb '%4' "
                                        "dashtype %5 title %6")
                             .arg(drawn.number)
                             .arg(offset)
                             .arg(style, colour)
                             .arg(drawn.number / colourCount % 5 + 1)
                             .arg(gnuplotString(nameOf(*drawn.column)));
    return line + QStringLiteral(", $c%1 using 1:($3 + %2) with points pointtype 7 pointsize 0.2 "
                                 "linecolor rgb '%3' notitle")
                      .arg(drawn.number)
                      .arg(offset)
                      .arg(colour);
}

QString margins(const Panel& panel, int total)
{
    const double top = 1 - static_cast<double>(panel.top) / total;
    const double bottom = 1 - static_cast<double>(panel.top + panel.height) / total;
    return QStringLiteral("set tmargin at screen %1\nset bmargin at screen %2\n").arg(top).arg(bottom);
}

QString axisOf(const TimeAxis& axis, bool isLast)
{
    const QString steps = axis.step > 0 ? QString::number(axis.step) : QStringLiteral("autofreq");
    if (!isLast)
        return QStringLiteral("set xtics %1 format ''\nunset xlabel\n").arg(steps);
    const QString format = axis.format.isEmpty() ? QStringLiteral("format '%g'")
                                                 : QStringLiteral("time format '%1'").arg(axis.format);
    return QStringLiteral("set xtics %1 %2\nset xlabel %3\n").arg(steps, format, gnuplotString(axis.label));
}

QString plot(const QStringList& curves)
{
    return QStringLiteral("plot ") + curves.join(QStringLiteral(", \\\n     ")) + QLatin1Char('\n');
}

QString numbersPanel(const Panel& panel)
{
    QStringList curves;
    for (const Drawn& drawn : panel.columns)
        curves += curve(drawn, QStringLiteral("lines"), 0);
    return QStringLiteral("set ylabel %1\nset yrange [*:*]\nset ytics auto\n")
               .arg(gnuplotString(panel.label)) +
           plot(curves);
}

QString bitsPanel(const Panel& panel)
{
    QStringList curves;
    QStringList names;
    double offset = laneDistance * panel.columns.size();
    for (const Drawn& drawn : panel.columns) {
        offset -= laneDistance;
        curves += curve(drawn, QStringLiteral("steps"), offset);
        names += gnuplotTicLabel(nameOf(*drawn.column)) + QLatin1Char(' ') + QString::number(offset + 0.5);
    }
    return QStringLiteral("unset key\nset ylabel %1\nset yrange [-0.4:%2]\nset ytics (%3)\n")
               .arg(gnuplotString(panel.label))
               .arg(laneDistance * (panel.columns.size() - 1) + 1.4)
               .arg(names.join(QStringLiteral(", "))) +
           plot(curves);
}

QString opening(const ChartStyle& style, const Layout& layout, const Record& record, double origin)
{
    const double left = static_cast<double>(layout.left) / width;
    const double right = 1 - static_cast<double>(layout.right) / width;
    return QStringLiteral("set encoding utf8\n"
                          "set terminal %1 size %2,%3 noenhanced font 'DejaVu Sans,11' background '#ffffff'\n"
                          "set multiplot\n"
                          "set lmargin at screen %4\nset rmargin at screen %5\n"
                          "set key at screen %6, graph 1 left top Left reverse samplen 1.5\n")
               .arg(style.format == ChartFormat::Svg ? QStringLiteral("svg") : QStringLiteral("pngcairo"))
               .arg(width)
               .arg(layout.height)
               .arg(left)
               .arg(right)
               .arg(right + 0.015) +
           QStringLiteral("set label 1 at screen %1, screen %2 left font 'DejaVu Sans,13'\n"
                          "set xrange [%3:%4]\nset grid linetype 1 linecolor rgb '#e4e4e4'\nset border 3\n"
                          "set tics nomirror\nset label 1 ")
               .arg(left)
               .arg(1 - 0.5 * headHeight / layout.height)
               .arg(record.begin - origin, 0, 'f', 3)
               .arg(std::max(record.end, record.begin + 1) - origin, 0, 'f', 3) +
           gnuplotString(elided(style.title, longestTitle)) + QLatin1Char('\n');
}

} // namespace

QByteArray chartScript(const Record& record, const ChartStyle& style)
{
    const Layout layout = layOut(record, style.axes);
    const int axisWidth = width - layout.left - layout.right;
    const TimeAxis axis = timeAxis(record.begin, record.end, axisWidth / characterWidth);
    QString script = opening(style, layout, record, axis.origin);
    for (const Panel& panel : layout.panels) {
        for (const Drawn& drawn : panel.columns)
            script += dataBlock(drawn, axis.origin);
        script += margins(panel, layout.height) + axisOf(axis, &panel == &layout.panels.last());
        script += panel.isBits ? bitsPanel(panel) : numbersPanel(panel);
        script += QStringLiteral("unset label 1\n");
    }
    return (script + QStringLiteral("unset multiplot\n")).toUtf8();
}
