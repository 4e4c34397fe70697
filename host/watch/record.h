#ifndef WATCH_RECORD_H
#define WATCH_RECORD_H

#include <QString>

#include <optional>
#include <vector>

/// The samples of one element.
struct RecordColumn
{
    QString name; ///< HR100, HR102:dword
    bool isBit = false;
    std::vector<double> values; ///< not a number where a sample failed
};

/// What watch has recorded.
struct Record
{
    std::vector<double> times; ///< of the samples, in seconds since 1970 UTC
    std::vector<RecordColumn> columns;
};

/// Reads a record. A row that a power cut has left unfinished at its end is passed over. The result is empty,
/// and error names the file and the line, when it is no record.
std::optional<Record> readRecord(const QString& fileName, QString& error);

/// A point of a curve.
struct CurvePoint
{
    double time;
    double value; ///< not a number: the curve is broken here
};

/// The curve of a column with at most about twice as many points as parts: of each part of the time the
/// smallest and the largest value, so that no short peak is lost.
std::vector<CurvePoint> curveOf(const Record& record, const RecordColumn& column, std::size_t parts);

#endif
