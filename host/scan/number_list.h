#ifndef SCAN_NUMBER_LIST_H
#define SCAN_NUMBER_LIST_H

#include <QString>
#include <QVector>

namespace scan {

/// "1,5-7" as 1, 5, 6, 7: numbers and ranges from least to most, in any order; the result is sorted and
/// without duplicates. Empty if the text is anything else.
QVector<int> parseNumberList(const QString& text, int least, int most);

/// Numbers in rising order as "1,5-7".
QString numberListText(const QVector<int>& numbers);

} // namespace scan

#endif
