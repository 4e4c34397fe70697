#ifndef PROJECT_TAG_IMPORT_H
#define PROJECT_TAG_IMPORT_H

#include "text/csv_reader.h"

#include <functional>

/// Something wrong in a file of tags.
struct ImportProblem
{
    qint64 line;
    QString text;
};

/// What came of reading a file of tags.
struct ImportResult
{
    qint64 tags = 0; ///< rows that were taken
    qint64 problemCount = 0;
    QVector<ImportProblem> problems; ///< the first ones by line, mostProblemsListed at most
    bool stopped = false;            ///< take said so
};

constexpr int mostProblemsListed = 20;

/// Takes the address of a tag, as it is written. False ends the import.
using TakeTag = std::function<bool(const QString& address)>;

/// Reads the tags of a CSV file: one on each row, its address in the first column. A first row whose first
/// field is "address", in any case, is the header. All rows have as many columns as the first one; what
/// stands in the others (names, comments) says nothing to a driver and is left out.
///
/// Wrong are: rows that are no CSV or have another number of columns, addresses that parseTagAddress refuses,
/// and addresses that a line above has already. take gets every tag until the first row is wrong; tags that
/// stand twice are found at the end only. betweenRows is called every so many rows; false ends the import.
///
/// Memory: 16 bytes for each tag.
ImportResult importTags(CsvReader& reader, const TakeTag& take, const std::function<bool()>& betweenRows);

#endif
