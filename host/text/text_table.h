#ifndef TEXT_TEXT_TABLE_H
#define TEXT_TEXT_TABLE_H

#include <QStringList>
#include <QTextStream>
#include <QVector>

/// Rows of text whose columns line up when printed, two blanks between them.
class TextTable
{
public:
    enum Alignment
    {
        Left,
        Right
    };

    /// One alignment for each column; rows have as many cells.
    explicit TextTable(const QVector<Alignment>& columns) : m_columns(columns) {}

    void addRow(const QStringList& cells) { m_rows += cells; }

    /// One line for each row, without trailing blanks.
    void print(QTextStream& out) const;

private:
    QVector<int> columnWidths() const;

    QVector<Alignment> m_columns;
    QVector<QStringList> m_rows;
};

#endif
