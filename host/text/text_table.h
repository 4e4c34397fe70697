#ifndef TEXT_TEXT_TABLE_H
#define TEXT_TEXT_TABLE_H

#include <QStringList>
#include <QTextStream>
#include <QVector>

/// Rows of text printed with aligned columns, two blanks between them.
class TextTable
{
public:
    enum Alignment
    {
        Left,
        Right
    };

    /// One alignment per column; every row has this many cells.
    explicit TextTable(const QVector<Alignment>& columns) : m_columns(columns) {}

    void addRow(const QStringList& cells) { m_rows += cells; }

    /// Prints one line per row, without trailing blanks.
    void print(QTextStream& out) const;

private:
    QVector<int> columnWidths() const;

    QVector<Alignment> m_columns;
    QVector<QStringList> m_rows;
};

#endif
