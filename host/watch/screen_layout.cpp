#include "watch/screen_layout.h"

#include "text/cells.h"
#include "text/shown.h"
#include "watch/sample_text.h"
#include "watch/table_layout.h"

#include <algorithm>

namespace {

/// The keys, with what they do.
const char* const help[][2] = {{"arrows", "select a row; Page up and down, Home and End too"},
                               {"w", "write the selected value: asks for it and for a y, reads it back"},
                               {"x", "show the selected value as hexadecimal, or no more; X all values"},
                               {"r", "smallest and largest count from now on"},
                               {"/", "show only rows with a text in their name or address"},
                               {"p", "pause, or go on"},
                               {"q", "end"}};

/// The text in lines of at most this width, divided at blanks.
QStringList wrapped(const QString& text, int width)
{
    QStringList lines;
    for (const QString& word : text.split(QLatin1Char(' '))) {
        if (lines.isEmpty() || cellsOf(lines.last()) + 1 + cellsOf(word) > width)
            lines += word;
        else
            lines.last() += QLatin1Char(' ') + word;
    }
    return lines;
}

/// Lays out one screen; exists only while it does so.
class Layout
{
public:
    Layout(const ScreenContents& contents, const ScreenSize& size) : m_contents(contents), m_size(size) {}

    QVector<ScreenLine> lines() const;
    int tableRows() const { return std::max(m_size.height - 2 - belowTable(), 0); }

private:
    int belowTable() const;
    QVector<ScreenLine> status() const;
    QString position() const;
    ScreenLine title() const;
    ScreenLine linkLine() const;
    ScreenLine timesLine() const;
    ScreenLine recordLine() const;
    ScreenLine errorLine() const;
    ScreenLine keysLine() const;
    QVector<ScreenLine> lastLines() const;
    QVector<ScreenLine> helpLines() const;

    const ScreenContents& m_contents;
    const ScreenSize m_size;
};

/// Number of lines below the table: all if there is room for three rows of it, and at least the last one,
/// which asks questions.
int Layout::belowTable() const
{
    const int rows = std::max(m_contents.control.rows().size(), 1);
    const int room = m_size.height - 2 - std::min(rows, 3);
    const ScreenMessage& message = m_contents.control.message();
    const bool isQuiet = message.text.isEmpty() && message.problem.isEmpty();
    return std::max(std::min(room, status().size() + 1), isQuiet ? 0 : lastLines().size());
}

/// "paused", the filter, and which of the rows are shown, if not all are.
QString Layout::position() const
{
    const WatchControl& control = m_contents.control;
    const int rows = control.rows().size();
    const int page = tableRows();
    const int first = control.firstRow(page);
    QString text;
    if (!control.filter().isEmpty())
        text += QStringLiteral("\"%1\"  ").arg(control.filter());
    if (rows > page)
        text += QStringLiteral("%1-%2 of %3  ").arg(first + 1).arg(std::min(first + page, rows)).arg(rows);
    else if (!control.filter().isEmpty())
        text += QStringLiteral("%1 of %2  ").arg(rows).arg(m_contents.state.elements().size());
    return text + (m_contents.paused ? QStringLiteral("PAUSED ") : QString());
}

ScreenLine Layout::title() const
{
    const QString right = shortened(position(), m_size.width, m_contents.symbols);
    QString left = QStringLiteral(" driverhost watch  %1  station %2  every %3 ms")
                       .arg(m_contents.device, m_contents.station)
                       .arg(m_contents.interval.count());
    const int room = m_size.width - cellsOf(right);
    left = shortened(left, std::max(room - 1, 0), m_contents.symbols);
    return {{beginning(leftAligned(left, room) + right, m_size.width), ScreenStyle::Title}};
}

ScreenLine Layout::linkLine() const
{
    const WatchedLink& link = m_contents.state.link();
    ScreenLine line = {{QStringLiteral("link        "), ScreenStyle::Quiet}};
    if (!link.asked)
        line += {QStringLiteral("connecting"), ScreenStyle::Plain};
    else if (link.connected)
        line += {QStringLiteral("connected"), ScreenStyle::Good};
    else
        line += {QStringLiteral("no connection"), ScreenStyle::Bad};
    if (!m_contents.state.silence().isEmpty())
        line += {QStringLiteral("  ") + m_contents.state.silence(), ScreenStyle::Bad};
    line += {QStringLiteral("  %1 reconnection(s)  %2 sample(s)  %3 missed")
                 .arg(std::max(link.connectionsMade - 1, 0))
                 .arg(link.samples)
                 .arg(link.missed),
             ScreenStyle::Plain};
    return line;
}

ScreenLine Layout::timesLine() const
{
    const RoundTrips& times = m_contents.state.link().roundTrips;
    const auto text = [&times](double part) { return QString::number(times.quantile(part), 'f', 2); };
    return {{QStringLiteral("round trip  "), ScreenStyle::Quiet},
            {times.isEmpty() ? QStringLiteral("-")
                             : QStringLiteral("median %1 ms  95 % within %2 ms").arg(text(0.5), text(0.95)),
             ScreenStyle::Plain}};
}

ScreenLine Layout::recordLine() const
{
    const CsvRecorder& recorder = *m_contents.recorder;
    ScreenLine line = {{QStringLiteral("record      "), ScreenStyle::Quiet},
                       {QStringLiteral("%1  %2 row(s)").arg(recorder.fileName()).arg(recorder.rowsWritten()),
                        ScreenStyle::Plain}};
    if (recorder.rowsLost() > 0)
        line += {QStringLiteral("  %1 lost").arg(recorder.rowsLost()), ScreenStyle::Bad};
    if (!recorder.problem().isEmpty())
        line += {QStringLiteral("  ") + recorder.problem(), ScreenStyle::Bad};
    return line;
}

ScreenLine Layout::errorLine() const
{
    const WatchedLink& link = m_contents.state.link();
    return {{QStringLiteral("last error  "), ScreenStyle::Quiet},
            {utcText(link.lastErrorTime).mid(11, 8) + QStringLiteral(" UTC  ") + link.lastError,
             ScreenStyle::Plain}};
}

ScreenLine Layout::keysLine() const
{
    return {{QStringLiteral("q end  p %1  arrows select  w write  x hex  r reset min/max  / filter  ? help")
                 .arg(m_contents.paused ? QStringLiteral("go on") : QStringLiteral("pause")),
             ScreenStyle::Quiet}};
}

/// A question or its result; otherwise the keys.
QVector<ScreenLine> Layout::lastLines() const
{
    const ScreenMessage& message = m_contents.control.message();
    QVector<ScreenLine> lines;
    const auto add = [&](const QString& text, ScreenStyle style) {
        for (const QString& line : text.isEmpty() ? QStringList() : wrapped(text, m_size.width))
            lines += ScreenLine{{line, style}};
    };
    add(message.problem, ScreenStyle::Bad);
    add(message.text, ScreenStyle::Heading);
    return lines.isEmpty() ? QVector<ScreenLine>{keysLine()} : lines;
}

QVector<ScreenLine> Layout::status() const
{
    QVector<ScreenLine> lines = {linkLine(), timesLine()};
    if (m_contents.recorder)
        lines += recordLine();
    if (!m_contents.state.link().lastError.isEmpty())
        lines += errorLine();
    return lines + lastLines();
}

QVector<ScreenLine> Layout::helpLines() const
{
    QVector<ScreenLine> lines = {ScreenLine()};
    for (const auto& [keys, meaning] : help)
        lines += {{QStringLiteral("  %1  ").arg(QLatin1String(keys), -6), ScreenStyle::Heading},
                  {QLatin1String(meaning), ScreenStyle::Plain}};
    lines += ScreenLine();
    lines += {{QStringLiteral("  Any key goes back to the table; the reading goes on."), ScreenStyle::Quiet}};
    return lines;
}

/// What the terminal can show: control characters, of an error text for example, become visible.
QString printable(const QString& text, TrendSymbols symbols)
{
    QString result = shown(text);
    for (QChar& character : result) {
        if (symbols == TrendSymbols::Ascii && character.unicode() > 126)
            character = QLatin1Char('?');
    }
    return result;
}

void cut(ScreenLine& line, int width, TrendSymbols symbols)
{
    for (ScreenSpan& span : line) {
        span.text = shortened(printable(span.text, symbols), std::max(width, 0), symbols);
        width -= cellsOf(span.text);
    }
}

QVector<ScreenLine> Layout::lines() const
{
    QVector<ScreenLine> lines = {title()};
    if (m_contents.control.showsHelp()) {
        lines += helpLines();
    } else {
        const int rows = tableRows();
        lines += layOutTable(m_contents, m_size.width, rows);
        if (m_contents.control.rows().isEmpty())
            lines += {{QStringLiteral("no row has \"%1\" in it").arg(m_contents.control.filter()),
                       ScreenStyle::Quiet}};
        const QVector<ScreenLine> below = status();
        const int room = belowTable();
        if (room > below.size())
            lines += ScreenLine();
        lines += below.mid(std::max(below.size() - room, 0));
    }
    lines.resize(std::min(lines.size(), m_size.height));
    for (ScreenLine& line : lines)
        cut(line, m_size.width, m_contents.symbols);
    return lines;
}

} // namespace

QString shortened(const QString& text, int width, TrendSymbols symbols)
{
    if (cellsOf(text) <= width)
        return text;
    const QString mark = symbols == TrendSymbols::Blocks ? QString(QChar(0x2026)) : QStringLiteral("~");
    return beginning(text, width - mark.size()) + mark.left(std::max(width, 0));
}

int tableRows(const ScreenContents& contents, const ScreenSize& size)
{
    return Layout(contents, size).tableRows();
}

QVector<ScreenLine> layOutScreen(const ScreenContents& contents, const ScreenSize& size)
{
    return Layout(contents, size).lines();
}

QString ageText(std::chrono::milliseconds age)
{
    const auto milliseconds = std::max<qint64>(age.count(), 0);
    const qint64 seconds = milliseconds / 1000;
    if (milliseconds < 9950)
        return QString::number(static_cast<double>(milliseconds) / 1000, 'f', 1) + QStringLiteral(" s");
    if (seconds < 120)
        return QStringLiteral("%1 s").arg(seconds);
    if (seconds < 2 * 3600)
        return QStringLiteral("%1 min").arg(seconds / 60);
    if (seconds < 48 * 3600)
        return QStringLiteral("%1 h").arg(seconds / 3600);
    return QStringLiteral("%1 d").arg(seconds / 86400);
}
