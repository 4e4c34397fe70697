#ifndef PROJECT_TAG_IMPORT_H
#define PROJECT_TAG_IMPORT_H

#include "text/csv_reader.h"

#include <functional>

/// A problem in a file of tags.
struct ImportProblem
{
    qint64 line;
    QString text;
};

/// The result of reading a file of tags.
struct ImportResult
{
    qint64 tags = 0; ///< rows that were accepted
    qint64 problemCount = 0;
    QVector<ImportProblem> problems; ///< the first ones by line, at most mostProblemsListed
    bool stopped = false;            ///< take returned false
};

constexpr int mostProblemsListed = 20;

/// Receives the address of a tag, as written. Returning false ends the import.
using TakeTag = std::function<bool(const QString& address)>;

/// Reads the tags of a CSV file: one on each row, its address in the first column. A first row whose first
/// field is "address", in any case, is the header. All rows have as many columns as the first one; what
/// stands in the others (names, comments) says nothing to a driver and is left out. Blanks around addresses
/// do not count, nor do rows that begin with # in a file without a header.
///
/// Errors are: rows that are not CSV or have another number of columns, addresses that parseAddress
/// refuses, and addresses that an earlier line already has. take gets every tag until the first wrong row;
/// duplicate tags are found only at the end. betweenRows is called regularly; returning false ends the
/// import.
///
/// Memory: 16 bytes per tag.
ImportResult importTags(CsvReader& reader, const TakeTag& take, const std::function<bool()>& betweenRows);

#endif
