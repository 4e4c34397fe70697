#ifndef WATCH_RECORD_H
#define WATCH_RECORD_H

#include "text/console.h"
#include "watch/curve.h"
#include "watch/moment.h"

#include <QStringList>

// A record is CSV with a heading for each column: time, those of the elements, milliseconds, error. A row has
// the values that were read at its time. Those of a sample that takes long stand in several rows, the last of
// which has the milliseconds; a field that is empty in all of them failed. What watch has to say of itself,
// that it was paused for example, is a row without values.

/// What is drawn of a record.
struct RecordSelection
{
    QStringList columns;        ///< names, with * and ? for what may be in their place; empty: all columns
    std::optional<Moment> from; ///< inclusive, these two; a time without a day is on the record's first one
    std::optional<Moment> to;
};

/// The samples of one element.
struct RecordColumn
{
    QString name; ///< as watch takes it: HR100, 3-HR102:dword, Oven 3 temp
    QString unit; ///< may be empty
    Curve curve;

    /// Best drawn as a line that is low or high: the type is bit, or a name without a unit has been 0 or 1.
    bool isBit() const;
};

/// What watch has recorded, in a size that does not grow with the record.
struct Record
{
    std::vector<RecordColumn> columns;
    double begin = 0; ///< of the first and the last sample, in seconds since 1970 UTC
    double end = 0;
    qint64 samples = 0; ///< with a value in these columns
};

/// The heading of a column: "HR100", "Oven 3 temp [°C]".
QString columnHeading(const QString& name, const QString& unit);

/// Reads a record. A row that a power cut has left unfinished at its end is passed over.
///
/// Returns Refused, and error names the file and the line, when it is no record or has no samples;
/// WrongCommandLine when nothing in it is what the selection asks for.
ExitStatus readRecord(const QString& fileName, const RecordSelection& selection, Record& record,
                      QString& error);

#endif
