#ifndef PROJECT_TAG_IMPORT_H
#define PROJECT_TAG_IMPORT_H

#include "signals/address.h"
#include "signals/signal.h"

#include <QVector>

#include <functional>

/// A problem in a tag list.
struct ImportProblem
{
    qint64 line;
    QString text;
};

/// The result of reading a tag list.
struct ImportResult
{
    qint64 tags = 0; ///< rows that were accepted
    qint64 problemCount = 0;
    QVector<ImportProblem> problems; ///< the first ones by line, at most mostProblemsListed
    QString note;                    ///< which columns were not used; empty if all were
    bool stopped = false;            ///< take or betweenRows returned false
};

constexpr int mostProblemsListed = 20;

/// Receives a tag. Returning false ends the import.
using TakeTag = std::function<bool(const Signal&)>;

/// Receives the position in the file after every thousand rows or so. Returning false ends the import.
using BetweenRows = std::function<bool(qint64 position)>;

/// Reads a tag list as spreadsheets save it: rows of fields between commas, semicolons or tabs, in UTF-8,
/// UTF-16 or Windows-1252. A first line such as "sep=;" names the separator; otherwise it is the first one
/// that the list has. Between semicolons numbers may have a decimal comma.
///
/// The first row has the headings of the columns, see tagColumns(), in any order and case. A list without
/// headings has addresses in its first column, and its other columns are not used; in such a list and above
/// the headings, rows that begin with # do not count. Nor do blank rows, blanks around a field, and missing
/// fields at the end of a row.
///
/// Errors are: rows that are not CSV or have more fields than headings, texts that do not fit their columns,
/// what signalProblem() says, and addresses and names (in any case) that an earlier line has. take gets every
/// tag until the first wrong row. If the separator is wrong, that is the only error.
///
/// Memory: three times the file's size.
ImportResult importTags(const QByteArray& file, Grammar grammar, const TakeTag& take,
                        const BetweenRows& betweenRows);

#endif
