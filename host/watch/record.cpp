#include "watch/record.h"

#include "signals/values.h"
#include "text/csv_reader.h"
#include "watch/watched_items.h"

#include <QDateTime>
#include <QFile>

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

constexpr int columnsBeside = 3; ///< time in front, milliseconds and error behind

bool isHeader(const CsvRow& row)
{
    const int count = row.fields.size();
    return row.problem.isEmpty() && count > columnsBeside && row.fields.first() == "time" &&
           row.fields.at(count - 2) == "milliseconds" && row.fields.last() == "error";
}

std::vector<RecordColumn> columnsOf(const CsvRow& header)
{
    std::vector<RecordColumn> columns;
    for (int i = 1; i < header.fields.size() - 2; ++i) {
        RecordColumn column;
        column.name = QString::fromUtf8(header.fields.at(i));
        QString ignored;
        const auto item = parseWatchedItem(column.name, Notation::Unsigned, ignored);
        column.isBit = item && elementWidth(item->command.dataType) == 1;
        columns.push_back(column);
    }
    return columns;
}

/// Returns what is wrong with the row; empty when it has been added.
QString addRow(Record& record, const CsvRow& row)
{
    if (!row.problem.isEmpty())
        return row.problem;
    const auto count = static_cast<std::size_t>(row.fields.size());
    if (count != record.columns.size() + columnsBeside)
        return QStringLiteral("it has another number of fields than the header");
    const QDateTime time = QDateTime::fromString(QString::fromUtf8(row.fields.first()), Qt::ISODateWithMs);
    if (!time.isValid())
        return QStringLiteral("it does not begin with a time");
    record.times.push_back(static_cast<double>(time.toMSecsSinceEpoch()) / 1000);
    for (std::size_t i = 0; i < record.columns.size(); ++i) {
        bool isNumber = false;
        const double value = row.fields.at(static_cast<int>(i) + 1).toDouble(&isNumber);
        record.columns[i].values.push_back(
            isNumber && std::isfinite(value) ? value : std::numeric_limits<double>::quiet_NaN());
    }
    return QString();
}

} // namespace

std::optional<Record> readRecord(const QString& fileName, QString& error)
{
    QFile file(fileName);
    if (!file.open(QIODevice::ReadOnly)) {
        error = QStringLiteral("can not read %1: %2").arg(fileName, file.errorString());
        return std::nullopt;
    }
    CsvReader reader(file);
    CsvRow row;
    if (!reader.next(row) || !isHeader(row)) {
        error = QStringLiteral("%1 is no record of watch: its first line must be time,...,milliseconds,error")
                    .arg(fileName);
        return std::nullopt;
    }
    Record record;
    record.columns = columnsOf(row);
    QString problem; // forgiven in the last row
    while (problem.isEmpty() && reader.next(row)) {
        const qint64 line = row.line;
        problem = addRow(record, row);
        if (!problem.isEmpty() && reader.next(row))
            error = QStringLiteral("%1, line %2: %3").arg(fileName).arg(line).arg(problem);
    }
    if (error.isEmpty() && record.times.empty())
        error = QStringLiteral("%1 holds no samples").arg(fileName);
    return error.isEmpty() ? std::optional(record) : std::nullopt;
}

std::vector<CurvePoint> curveOf(const Record& record, const RecordColumn& column, std::size_t parts)
{
    const std::size_t samples = record.times.size();
    const std::size_t step = samples > 2 * parts ? (samples + parts - 1) / parts : 1;
    std::vector<CurvePoint> curve;
    for (std::size_t begin = 0; begin < samples; begin += step) {
        const std::size_t end = std::min(begin + step, samples);
        std::size_t least = begin;
        std::size_t most = begin;
        bool broken = false;
        for (std::size_t i = begin; i < end; ++i) {
            const double value = column.values[i];
            broken = broken || std::isnan(value);
            if (!(value >= column.values[least]))
                least = std::isnan(value) ? least : i;
            if (!(value <= column.values[most]))
                most = std::isnan(value) ? most : i;
        }
        const auto [first, second] = std::minmax(least, most);
        curve.push_back({record.times[first], column.values[first]});
        if (second != first)
            curve.push_back({record.times[second], column.values[second]});
        if (broken && !std::isnan(column.values[second]))
            curve.push_back({record.times[end - 1], std::numeric_limits<double>::quiet_NaN()});
    }
    return curve;
}
