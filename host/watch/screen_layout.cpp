#include "watch/screen_layout.h"

#include "watch/sample_text.h"

#include <algorithm>
#include <functional>

namespace {

constexpr int gap = 2;
constexpr int widestTrend = 60;

/// The columns in their order on the screen.
enum Column
{
    AddressColumn,
    ValueColumn,
    SmallestColumn,
    LargestColumn,
    TrendColumn,
    AgeColumn,
    ReadsColumn,
    FailedColumn,
    ErrorColumn,
    ColumnCount
};

const char* const headings[ColumnCount] = {"ADDRESS", "VALUE", "MIN",    "MAX",       "TREND",
                                           "AGE",     "READS", "FAILED", "LAST ERROR"};

/// Columns in the order in which they get room.
const Column byImportance[] = {AddressColumn, ValueColumn,   AgeColumn,      FailedColumn, TrendColumn,
                               ErrorColumn,   LargestColumn, SmallestColumn, ReadsColumn};

bool isFlexible(Column column)
{
    return column == TrendColumn || column == ErrorColumn;
}

bool isLeftAligned(Column column)
{
    return column == AddressColumn || isFlexible(column);
}

/// A row of the table: the element and its item; isFirst says that the row shows the item's cells too.
struct Row
{
    const WatchedElement* element;
    const WatchedItem* item;
    bool isFirst;
};

QString shortened(const QString& text, int width, TrendSymbols symbols)
{
    if (text.size() <= width)
        return text;
    const QString mark = symbols == TrendSymbols::Blocks ? QString(QChar(0x2026)) : QStringLiteral("~");
    return text.left(std::max(width - mark.size(), 0)) + mark.left(width);
}

/// The driver's text without the description of the command, which the row already gives.
QString reasonOf(const QString& error)
{
    const int end = error.indexOf(QLatin1String("> "));
    return end < 0 ? error : error.mid(end + 2);
}

/// Lays out one screen; exists only while it does so.
class Layout
{
public:
    Layout(const ScreenContents& contents, const ScreenSize& size) : m_contents(contents), m_size(size) {}

    QVector<ScreenLine> lines();
    int tableRows() const { return std::max(m_size.height - 2 - belowTable(), 0); }

private:
    int belowTable() const;
    QVector<ScreenLine> status() const;
    ScreenLine title() const;
    ScreenLine heading() const;
    ScreenLine row(const Row& row) const;
    ScreenLine linkLine() const;
    ScreenLine timesLine() const;
    ScreenLine recordLine() const;
    ScreenLine errorLine() const;
    ScreenLine keysLine() const;
    QString cell(const Row& row, Column column) const;
    ScreenStyle styleOf(const Row& row, Column column) const;
    QString ageOf(const WatchedItem& item) const;
    void measure();
    void giveRoom();
    QString padded(const QString& text, Column column) const;
    QVector<Row> visibleRows() const;

    const ScreenContents& m_contents;
    const ScreenSize m_size;
    QVector<Row> m_rows;
    int m_natural[ColumnCount] = {};
    int m_width[ColumnCount] = {}; ///< 0: not shown
};

/// Number of lines below the table, if there is room for three rows of it, or for all.
int Layout::belowTable() const
{
    const int elements = static_cast<int>(m_contents.state.elements().size());
    const int room = m_size.height - 2 - std::min(elements, 3);
    return std::clamp(room, 0, status().size() + 1);
}

QVector<Row> Layout::visibleRows() const
{
    QVector<Row> rows;
    const WatchState& state = m_contents.state;
    const int end = m_contents.firstRow + tableRows();
    for (const WatchedItem& item : state.watched()) {
        for (int i = 0; i < item.elementCount; ++i) {
            const int element = item.firstElement + i;
            if (element >= m_contents.firstRow && element < end)
                rows += {&state.elements()[static_cast<std::size_t>(element)], &item,
                         i == 0 || element == m_contents.firstRow};
        }
    }
    return rows;
}

QString Layout::ageOf(const WatchedItem& item) const
{
    if (!item.lastGood)
        return QStringLiteral("-");
    return ageText(std::chrono::duration_cast<std::chrono::milliseconds>(m_contents.now - *item.lastGood));
}

QString Layout::cell(const Row& row, Column column) const
{
    const ValueHistory& history = row.element->history;
    switch (column) {
    case AddressColumn:
        return row.element->address;
    case ValueColumn:
        return history.latest().isEmpty() ? QStringLiteral("-") : history.latest();
    case SmallestColumn:
        return history.smallest();
    case LargestColumn:
        return history.largest();
    case TrendColumn:
        return trendText(history.samples(), m_width[TrendColumn], row.element->isBit, m_contents.symbols);
    case AgeColumn:
        return row.isFirst ? ageOf(*row.item) : QString();
    case ReadsColumn:
        return row.isFirst ? QString::number(row.item->reads) : QString();
    case FailedColumn:
        return row.isFirst ? QString::number(row.item->failures) : QString();
    case ErrorColumn:
        return row.isFirst ? reasonOf(row.item->lastError) : QString();
    case ColumnCount:
        break;
    }
    return QString();
}

ScreenStyle Layout::styleOf(const Row& row, Column column) const
{
    const bool failing = row.item->failing;
    if (column == TrendColumn)
        return ScreenStyle::Trend;
    if (column == ErrorColumn)
        return failing ? ScreenStyle::Bad : ScreenStyle::Quiet;
    if (failing && (column == ValueColumn || column == AgeColumn || column == FailedColumn))
        return ScreenStyle::Bad;
    return column == SmallestColumn || column == LargestColumn ? ScreenStyle::Quiet : ScreenStyle::Plain;
}

/// Widths that the contents need, plus a few characters where numbers grow.
void Layout::measure()
{
    for (int column = 0; column < ColumnCount; ++column)
        m_natural[column] = QString(QLatin1String(headings[column])).size();
    for (const Row& row : qAsConst(m_rows)) {
        for (const Column column : {AddressColumn, ValueColumn, SmallestColumn, LargestColumn})
            m_natural[column] = std::max(m_natural[column], cell(row, column).size());
    }
    const int values =
        std::max({m_natural[ValueColumn], m_natural[SmallestColumn], m_natural[LargestColumn]});
    m_natural[ValueColumn] = m_natural[SmallestColumn] = m_natural[LargestColumn] = values;
    m_natural[AgeColumn] = 6;
}

/// Columns get their room in order of importance; the rest goes to the trend and the errors.
void Layout::giveRoom()
{
    int left = m_size.width;
    for (const Column column : byImportance) {
        const int needed = m_natural[column] + (left == m_size.width ? 0 : gap);
        if (needed > left && column != AddressColumn)
            continue;
        m_width[column] = std::min(m_natural[column], left);
        left -= std::min(needed, left);
    }
    if (m_width[TrendColumn] == 0)
        return;
    const int forTrend = m_width[ErrorColumn] == 0 ? left : left / 2;
    const int trend = std::min(m_width[TrendColumn] + forTrend, widestTrend);
    left -= trend - m_width[TrendColumn];
    m_width[TrendColumn] = trend;
    if (m_width[ErrorColumn] > 0)
        m_width[ErrorColumn] += left;
}

QString Layout::padded(const QString& text, Column column) const
{
    const int width = m_width[column];
    const QString fitting = shortened(text, width, m_contents.symbols);
    return isLeftAligned(column) ? fitting.leftJustified(width) : fitting.rightJustified(width);
}

ScreenLine Layout::heading() const
{
    QString text;
    for (int column = 0; column < ColumnCount; ++column) {
        if (m_width[column] > 0)
            text += (text.isEmpty() ? QString() : QString(gap, QLatin1Char(' '))) +
                    padded(QLatin1String(headings[column]), static_cast<Column>(column));
    }
    return {{text, ScreenStyle::Heading}};
}

ScreenLine Layout::row(const Row& row) const
{
    ScreenLine line;
    for (int index = 0; index < ColumnCount; ++index) {
        const auto column = static_cast<Column>(index);
        if (m_width[column] == 0)
            continue;
        if (!line.isEmpty())
            line += {QString(gap, QLatin1Char(' ')), ScreenStyle::Plain};
        line += {padded(cell(row, column), column), styleOf(row, column)};
    }
    return line;
}

ScreenLine Layout::title() const
{
    QString left = QStringLiteral(" driverhost watch  %1  station %2  every %3 ms")
                       .arg(m_contents.device, m_contents.station)
                       .arg(m_contents.interval.count());
    const int elements = static_cast<int>(m_contents.state.elements().size());
    QString right = m_contents.paused ? QStringLiteral("PAUSED ") : QString();
    if (m_rows.size() < elements)
        right = QStringLiteral("%1-%2 of %3  ")
                    .arg(m_contents.firstRow + 1)
                    .arg(m_contents.firstRow + m_rows.size())
                    .arg(elements) +
                right;
    left = shortened(left, std::max(m_size.width - right.size() - 1, 0), m_contents.symbols);
    return {
        {(left.leftJustified(m_size.width - right.size()) + right).left(m_size.width), ScreenStyle::Title}};
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
    return {{QStringLiteral("q end  p %1  arrows scroll")
                 .arg(m_contents.paused ? QStringLiteral("go on") : QStringLiteral("pause")),
             ScreenStyle::Quiet}};
}

QVector<ScreenLine> Layout::status() const
{
    QVector<ScreenLine> lines = {linkLine(), timesLine()};
    if (m_contents.recorder)
        lines += recordLine();
    if (!m_contents.state.link().lastError.isEmpty())
        lines += errorLine();
    lines += keysLine();
    return lines;
}

void cut(ScreenLine& line, int width, TrendSymbols symbols)
{
    for (ScreenSpan& span : line) {
        span.text = shortened(span.text, std::max(width, 0), symbols);
        width -= span.text.size();
    }
}

QVector<ScreenLine> Layout::lines()
{
    m_rows = visibleRows();
    measure();
    giveRoom();
    QVector<ScreenLine> lines = {title(), heading()};
    for (const Row& row : qAsConst(m_rows))
        lines += this->row(row);
    lines += ScreenLine();
    lines += status();
    lines.resize(std::min(lines.size(), m_size.height));
    for (ScreenLine& line : lines)
        cut(line, m_size.width, m_contents.symbols);
    return lines;
}

} // namespace

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
