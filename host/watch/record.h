#ifndef WATCH_RECORD_H
#define WATCH_RECORD_H

#include "text/console.h"
#include "watch/curve.h"
#include "watch/moment.h"

#include <QStringList>

// A record is CSV with a heading for each column: time, the elements, milliseconds, error. A row has the
// values that were read at its time. A slow sample has several rows, the last of which has the milliseconds;
// a field that is empty in all of them failed. A row without values is a remark of watch, for example that it
// was paused.

/// What to draw of a record.
struct RecordSelection
{
    QStringList columns;        ///< names, with * and ? as wildcards; empty: all columns
    std::optional<Moment> from; ///< both inclusive; a time without a day is on the record's first day
    std::optional<Moment> to;
};

/// The samples of one element.
struct RecordColumn
{
    QString name; ///< as given to watch: HR100, 3-HR102:dword, Oven 3 temp
    QString unit; ///< may be empty
    Curve curve;

    /// Best drawn as a line that is low or high: the type is bit, or a named signal without a unit has only
    /// been 0 and 1.
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

/// Reads a record. An incomplete row at its end, left by a power cut, is ignored.
///
/// Returns Refused if the file is not a record or has no samples; error then names the file and the line.
/// Returns WrongCommandLine if nothing in it matches the selection.
ExitStatus readRecord(const QString& fileName, const RecordSelection& selection, Record& record,
                      QString& error);

#endif
