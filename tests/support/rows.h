#ifndef ROWS_H
#define ROWS_H

#include <QtTest>

/// Gives a test one data row for each element of a table, named by the element's member name. Its only
/// column, "row", is the index of the element.
template<typename Element, size_t Size>
void addRows(const Element (&table)[Size])
{
    QTest::addColumn<int>("row");
    for (size_t i = 0; i < Size; ++i)
        QTest::newRow(table[i].name) << static_cast<int>(i);
}

#endif
