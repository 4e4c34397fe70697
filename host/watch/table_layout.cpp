#include "watch/table_layout.h"

#include "text/cells.h"

#include <algorithm>
#include <cstring>

namespace {

constexpr int gap = 2;
constexpr int widestTrend = 60;
constexpr int leastName = 20; ///< more than any address has
constexpr int widestAge = 6;
constexpr int readableError = 25; ///< "no answer, attempt 2 of 4"

/// The columns in their order on the screen.
enum Column
{
    NameColumn,
    ValueColumn,
    UnitColumn,
    SmallestColumn,
    LargestColumn,
    TrendColumn,
    AgeColumn,
    ReadsColumn,
    FailedColumn,
    ErrorColumn,
    ColumnCount
};

const char* const headings[ColumnCount] = {"ADDRESS", "VALUE", "UNIT",  "MIN",    "MAX",
                                           "TREND",   "AGE",   "READS", "FAILED", "LAST ERROR"};

int headingWidth(Column column)
{
    return static_cast<int>(std::strlen(headings[column]));
}

/// Columns in the order in which they get room. What is wrong matters more than a trend, if anything is.
QVector<Column> byImportance(bool hasErrors)
{
    return {NameColumn,
            ValueColumn,
            UnitColumn,
            AgeColumn,
            FailedColumn,
            hasErrors ? ErrorColumn : TrendColumn,
            hasErrors ? TrendColumn : ErrorColumn,
            LargestColumn,
            SmallestColumn,
            ReadsColumn};
}

bool isFlexible(Column column)
{
    return column == TrendColumn || column == ErrorColumn;
}

bool isLeftAligned(Column column)
{
    return column == NameColumn || column == UnitColumn || isFlexible(column);
}

/// A row of the table: the element and its item; isFirst says that the row shows the item's cells too.
struct Row
{
    const WatchedElement* element;
    const WatchedItem* item;
    bool isFirst;
    bool isSelected;
};

/// The driver's text without the description of the command, which the row already gives.
QString reasonOf(const QString& error)
{
    const int end = error.indexOf(QLatin1String("> "));
    return end < 0 ? error : error.mid(end + 2);
}

/// Leaves out the middle: names often differ in their last word only.
QString shortenedName(const QString& name, int width, TrendSymbols symbols)
{
    const int end = width / 3;
    return cellsOf(name) <= width ? name : shortened(name, width - end, symbols) + ending(name, end);
}

/// Lays out one table; exists only while it does so.
class Table
{
public:
    Table(const ScreenContents& contents, int width, int rows);

    QVector<ScreenLine> lines() const;

private:
    QString ageOf(const WatchedItem& item) const;
    QString errorOf(const Row& row) const;
    QString cell(const Row& row, Column column) const;
    bool hasJustChanged(const WatchedElement& element) const;
    ScreenStyle styleOf(const Row& row, Column column) const;
    ScreenStyle styleOfValue(const Row& row) const;
    void measure();
    void giveRoom(int width);
    QString padded(const QString& text, Column column) const;
    ScreenLine heading() const;
    ScreenLine line(const Row& row) const;

    const ScreenContents& m_contents;
    const WatchState& m_state;
    QVector<Row> m_rows;
    int m_natural[ColumnCount] = {};
    int m_width[ColumnCount] = {}; ///< 0: not shown
};

Table::Table(const ScreenContents& contents, int width, int rows)
    : m_contents(contents), m_state(contents.state)
{
    const WatchControl& control = contents.control;
    const int first = control.firstRow(rows);
    const int end = std::min(first + rows, control.rows().size());
    for (int i = first; i < end; ++i) {
        const auto& element = m_state.elements()[static_cast<std::size_t>(control.rows().at(i))];
        const auto& item = m_state.watched()[static_cast<std::size_t>(element.item)];
        const bool isFirst = m_rows.isEmpty() || m_rows.last().item != &item;
        m_rows += {&element, &item, isFirst, i == control.selected()};
    }
    measure();
    giveRoom(width);
}

QString Table::ageOf(const WatchedItem& item) const
{
    if (!item.lastGood)
        return QStringLiteral("-");
    return ageText(std::chrono::duration_cast<std::chrono::milliseconds>(m_contents.now - *item.lastGood));
}

QString Table::errorOf(const Row& row) const
{
    const QString silence = m_state.silenceOf(row.element->item);
    return silence.isEmpty() ? reasonOf(row.item->lastError) : silence;
}

QString Table::cell(const Row& row, Column column) const
{
    const WatchedElement& element = *row.element;
    const ValueHistory& history = element.history;
    switch (column) {
    case NameColumn:
        return element.name;
    case ValueColumn:
        return history.latest().isEmpty() ? QStringLiteral("-") : m_state.text(element, history.latest());
    case UnitColumn:
        return m_state.unit(element);
    case SmallestColumn:
        return m_state.text(element, history.smallest());
    case LargestColumn:
        return m_state.text(element, history.largest());
    case TrendColumn:
        return trendText(history.samples(), m_width[TrendColumn], element.isBit, m_contents.symbols);
    case AgeColumn:
        return row.isFirst ? ageOf(*row.item) : QString();
    case ReadsColumn:
        return row.isFirst ? QString::number(row.item->reads) : QString();
    case FailedColumn:
        return row.isFirst ? QString::number(row.item->failures) : QString();
    case ErrorColumn:
        return row.isFirst ? errorOf(row) : QString();
    case ColumnCount:
        break;
    }
    return QString();
}

bool Table::hasJustChanged(const WatchedElement& element) const
{
    const auto shortest = std::max(m_contents.interval, std::chrono::milliseconds(1000));
    return element.changed && m_contents.now - *element.changed < shortest;
}

ScreenStyle Table::styleOfValue(const Row& row) const
{
    if (row.item->failing)
        return ScreenStyle::Bad;
    return hasJustChanged(*row.element) ? ScreenStyle::Changed : ScreenStyle::Plain;
}

ScreenStyle Table::styleOf(const Row& row, Column column) const
{
    const bool failing = row.item->failing;
    switch (column) {
    case NameColumn:
        return row.isSelected ? ScreenStyle::Selected : ScreenStyle::Plain;
    case ValueColumn:
        return styleOfValue(row);
    case AgeColumn:
    case FailedColumn:
        return failing ? ScreenStyle::Bad : ScreenStyle::Plain;
    case ErrorColumn:
        return failing || !m_state.silenceOf(row.element->item).isEmpty() ? ScreenStyle::Bad
                                                                          : ScreenStyle::Quiet;
    case TrendColumn:
        return ScreenStyle::Trend;
    case UnitColumn:
    case SmallestColumn:
    case LargestColumn:
        return ScreenStyle::Quiet;
    case ReadsColumn:
    case ColumnCount:
        break;
    }
    return ScreenStyle::Plain;
}

/// Widths that the contents need, plus a few characters where numbers grow. Without units there is no column
/// for them.
void Table::measure()
{
    for (int column = 0; column < ColumnCount; ++column)
        m_natural[column] = headingWidth(static_cast<Column>(column));
    m_natural[UnitColumn] = 0;
    for (const Row& row : qAsConst(m_rows)) {
        for (const Column column : {NameColumn, ValueColumn, UnitColumn, SmallestColumn, LargestColumn})
            m_natural[column] = std::max(m_natural[column], cellsOf(cell(row, column)));
    }
    if (m_natural[UnitColumn] > 0)
        m_natural[UnitColumn] = std::max(m_natural[UnitColumn], headingWidth(UnitColumn));
    const int values =
        std::max({m_natural[ValueColumn], m_natural[SmallestColumn], m_natural[LargestColumn]});
    m_natural[ValueColumn] = m_natural[SmallestColumn] = m_natural[LargestColumn] = values;
    m_natural[AgeColumn] = widestAge;
    for (const Row& row : qAsConst(m_rows))
        m_natural[ErrorColumn] =
            std::max(m_natural[ErrorColumn], std::min(cellsOf(errorOf(row)), readableError));
}

/// Columns get their room in order of importance; the rest goes to the trend and the errors.
void Table::giveRoom(int width)
{
    m_natural[NameColumn] = std::min(m_natural[NameColumn], std::max(width / 3, leastName));
    int left = width;
    for (const Column column : byImportance(m_natural[ErrorColumn] > headingWidth(ErrorColumn))) {
        const int space = left == width ? 0 : gap;
        const int least = isFlexible(column) ? headingWidth(column) : m_natural[column];
        if (m_natural[column] == 0 || (least + space > left && column != NameColumn))
            continue;
        m_width[column] = std::min(m_natural[column], left - space);
        left -= m_width[column] + space;
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

QString Table::padded(const QString& text, Column column) const
{
    const int width = m_width[column];
    const QString fitting = column == NameColumn ? shortenedName(text, width, m_contents.symbols)
                                                 : shortened(text, width, m_contents.symbols);
    return isLeftAligned(column) ? leftAligned(fitting, width) : rightAligned(fitting, width);
}

ScreenLine Table::heading() const
{
    QString text;
    for (int column = 0; column < ColumnCount; ++column) {
        if (m_width[column] > 0)
            text += (text.isEmpty() ? QString() : QString(gap, QLatin1Char(' '))) +
                    padded(QLatin1String(headings[column]), static_cast<Column>(column));
    }
    return {{text, ScreenStyle::Heading}};
}

ScreenLine Table::line(const Row& row) const
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

QVector<ScreenLine> Table::lines() const
{
    QVector<ScreenLine> lines = {heading()};
    for (const Row& row : m_rows)
        lines += line(row);
    return lines;
}

} // namespace

QVector<ScreenLine> layOutTable(const ScreenContents& contents, int width, int rows)
{
    return Table(contents, width, rows).lines();
}
