#include "text/text_table.h"

#include "text/cells.h"

#include <algorithm>

QVector<int> TextTable::columnWidths() const
{
    QVector<int> widths(m_columns.size(), 0);
    for (const QStringList& row : m_rows) {
        for (int column = 0; column < widths.size(); ++column)
            widths[column] = std::max(widths.at(column), cellsOf(row.value(column)));
    }
    return widths;
}

void TextTable::print(QTextStream& out) const
{
    const QVector<int> widths = columnWidths();
    for (const QStringList& row : m_rows) {
        QString line;
        for (int column = 0; column < widths.size(); ++column) {
            const QString cell = row.value(column);
            const int width = widths.at(column);
            line += m_columns.at(column) == Left ? leftAligned(cell, width) : rightAligned(cell, width);
            line += QLatin1String("  ");
        }
        while (line.endsWith(QLatin1Char(' ')))
            line.chop(1);
        out << line << '\n';
    }
}
