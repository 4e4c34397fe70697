#include "watch/record.h"

#include "signals/item.h"
#include "text/csv_reader.h"
#include "text/shown.h"
#include "text/wildcard.h"

#include <QDateTime>
#include <QFile>

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

constexpr int columnsBeside = 3; ///< time first; milliseconds and error last

bool isHeader(const CsvRow& row)
{
    const int count = row.fields.size();
    return row.problem.isEmpty() && count > columnsBeside && row.fields.first() == "time" &&
           row.fields.at(count - 2) == "milliseconds" && row.fields.last() == "error";
}

RecordColumn columnOf(const QString& heading)
{
    static const QRegularExpression withUnit(
        QRegularExpression::anchoredPattern(QStringLiteral("(.+) \\[([^\\[\\]]*)\\]")));
    const QRegularExpressionMatch match = withUnit.match(heading);
    RecordColumn column;
    column.name = match.hasMatch() ? match.captured(1) : heading;
    column.unit = match.captured(2);
    return column;
}

/// The first names, and how many more there are.
QString listOf(const std::vector<RecordColumn>& columns)
{
    constexpr std::size_t most = 10;
    QStringList names;
    for (std::size_t i = 0; i < std::min(columns.size(), most); ++i)
        names += shown(columns[i].name);
    const QString text = names.join(QStringLiteral(", "));
    return columns.size() > most ? QStringLiteral("%1 and %2 more").arg(text).arg(columns.size() - most)
                                 : text;
}

QString textOf(double time)
{
    return QDateTime::fromMSecsSinceEpoch(static_cast<qint64>(std::llround(time * 1000)), Qt::UTC)
        .toString(QStringLiteral("yyyy-MM-dd HH:mm:ss"));
}

bool hasControlCharacter(const QString& text)
{
    return std::any_of(text.begin(), text.end(),
                       [](QChar character) { return character.category() == QChar::Other_Control; });
}

/// Reads one record.
class Reader
{
public:
    Reader(const QString& fileName, QIODevice& device, const RecordSelection& selection, Record& record)
        : m_fileName(fileName), m_reader(device), m_selection(selection), m_record(record)
    {
    }

    ExitStatus read();
    const QString& error() const { return m_error; }

private:
    ExitStatus fail(ExitStatus status, const QString& text);
    ExitStatus readHeadings();
    ExitStatus choose(const std::vector<RecordColumn>& columns);
    ExitStatus readRows();
    QString addRow(const CsvRow& row);
    void setWindow(double first);
    void addValues(const CsvRow& row, double time);
    void endSample();
    ExitStatus nothingFound();

    const QString m_fileName;
    CsvReader m_reader;
    const RecordSelection& m_selection;
    Record& m_record;
    QString m_error;
    int m_fieldCount = 0;
    std::vector<int> m_fields;     ///< of the selected columns
    std::vector<bool> m_isRead;    ///< the columns that have a value in this sample
    std::optional<double> m_first; ///< these two: of the whole record
    double m_last = 0;
    double m_from = 0;
    double m_to = 0;
    bool m_isWindowEmpty = true;
    bool m_sampleHasValue = false;
};

ExitStatus Reader::fail(ExitStatus status, const QString& text)
{
    m_error = text;
    return status;
}

ExitStatus Reader::read()
{
    const ExitStatus status = readHeadings();
    return status == Done ? readRows() : status;
}

ExitStatus Reader::readHeadings()
{
    CsvRow row;
    if (!m_reader.next(row) || !isHeader(row))
        return fail(
            Refused,
            QStringLiteral("%1 is no record of watch: its first line must be time,...,milliseconds,error")
                .arg(m_fileName));
    m_fieldCount = row.fields.size();
    std::vector<RecordColumn> columns;
    for (int i = 1; i < m_fieldCount - 2; ++i) {
        const QByteArray& field = row.fields.at(i);
        const QString heading = QString::fromUtf8(field.constData(), field.size()); // also what follows a 0
        if (hasControlCharacter(heading))
            return fail(Refused, QStringLiteral("%1: the heading of column %2 has a control character in it")
                                     .arg(m_fileName)
                                     .arg(i + 1));
        columns.push_back(columnOf(heading));
    }
    return choose(columns);
}

ExitStatus Reader::choose(const std::vector<RecordColumn>& columns)
{
    std::vector<bool> chosen(columns.size(), m_selection.columns.isEmpty());
    for (const QString& pattern : m_selection.columns) {
        const QRegularExpression expression = wildcardExpression(pattern);
        bool found = false;
        for (std::size_t i = 0; i < columns.size(); ++i) {
            const bool isMeant = expression.match(columns[i].name).hasMatch() ||
                                 expression.match(columnHeading(columns[i].name, columns[i].unit)).hasMatch();
            chosen[i] = chosen[i] || isMeant;
            found = found || isMeant;
        }
        if (!found)
            return fail(WrongCommandLine, QStringLiteral("%1 has no column \"%2\"; its columns are %3")
                                              .arg(m_fileName, pattern, listOf(columns)));
    }
    for (std::size_t i = 0; i < columns.size(); ++i) {
        if (!chosen[i])
            continue;
        m_record.columns.push_back(columns[i]);
        m_fields.push_back(static_cast<int>(i) + 1);
    }
    m_isRead.assign(m_fields.size(), false);
    return Done;
}

ExitStatus Reader::readRows()
{
    CsvRow row;
    while (m_reader.next(row)) {
        const qint64 line = row.line;
        const QString problem = addRow(row);
        if (problem.isEmpty())
            continue;
        if (!m_reader.next(row))
            break; // the power failed while it was written
        return fail(Refused, QStringLiteral("%1, line %2: %3").arg(m_fileName).arg(line).arg(problem));
    }
    if (m_sampleHasValue)
        endSample(); // it is going on, or was when watch ended
    return m_record.samples > 0 ? Done : nothingFound();
}

/// Returns what is wrong with the row; empty if it has been added.
QString Reader::addRow(const CsvRow& row)
{
    if (!row.problem.isEmpty())
        return row.problem;
    if (row.fields.size() != m_fieldCount)
        return QStringLiteral("it has another number of fields than the header");
    const QDateTime moment = QDateTime::fromString(QString::fromUtf8(row.fields.first()), Qt::ISODateWithMs);
    if (!moment.isValid())
        return QStringLiteral("it does not begin with a time");
    m_last = static_cast<double>(moment.toMSecsSinceEpoch()) / 1000;
    if (!m_first)
        setWindow(m_last);
    if (m_last >= m_from && m_last <= m_to) {
        m_isWindowEmpty = false;
        addValues(row, m_last);
    }
    if (!row.fields.at(m_fieldCount - 2).isEmpty())
        endSample();
    return QString();
}

void Reader::setWindow(double first)
{
    m_first = first;
    const QDate day = QDateTime::fromSecsSinceEpoch(static_cast<qint64>(first), Qt::UTC).date();
    constexpr double always = std::numeric_limits<double>::infinity();
    m_from = m_selection.from ? m_selection.from->seconds(day) : -always;
    m_to = m_selection.to ? m_selection.to->seconds(day) : always;
}

void Reader::addValues(const CsvRow& row, double time)
{
    bool hasValue = false;
    for (std::size_t i = 0; i < m_fields.size(); ++i) {
        const QByteArray& field = row.fields.at(m_fields[i]);
        if (field.isEmpty())
            continue;
        bool isNumber = false;
        const double value = field.toDouble(&isNumber);
        m_record.columns[i].curve.add(time, isNumber ? value : std::numeric_limits<double>::quiet_NaN());
        m_isRead[i] = true;
        hasValue = true;
    }
    if (!hasValue)
        return;
    const bool isFirst = m_record.samples == 0 && !m_sampleHasValue;
    m_record.begin = isFirst ? time : std::min(m_record.begin, time);
    m_record.end = isFirst ? time : std::max(m_record.end, time);
    m_sampleHasValue = true;
}

/// Columns without a value by now have failed.
void Reader::endSample()
{
    for (std::size_t i = 0; i < m_fields.size(); ++i) {
        if (!m_isRead[i])
            m_record.columns[i].curve.breakLine();
        m_isRead[i] = false;
    }
    m_record.samples += m_sampleHasValue ? 1 : 0;
    m_sampleHasValue = false;
}

ExitStatus Reader::nothingFound()
{
    if (!m_first)
        return fail(Refused, QStringLiteral("%1 holds no samples").arg(m_fileName));
    if (m_isWindowEmpty)
        return fail(WrongCommandLine,
                    QStringLiteral("--from, --to: %1 has no samples then; they are from %2 to %3")
                        .arg(m_fileName, textOf(*m_first), textOf(m_last)));
    return fail(Refused,
                QStringLiteral("%1 has no value to draw: every sample asked for failed").arg(m_fileName));
}

} // namespace

bool RecordColumn::isBit() const
{
    QString problem;
    const QVector<Item> items = parseItems(name, ItemContext(), problem);
    if (!items.isEmpty())
        return layoutOf(items.first().type()).isBit();
    return unit.isEmpty() && curve.isBinary();
}

QString columnHeading(const QString& name, const QString& unit)
{
    const bool looksLikeUnit = name.endsWith(QLatin1Char(']'));
    return unit.isEmpty() && !looksLikeUnit ? name : QStringLiteral("%1 [%2]").arg(name, unit);
}

ExitStatus readRecord(const QString& fileName, const RecordSelection& selection, Record& record,
                      QString& error)
{
    QFile file(fileName);
    if (!file.open(QIODevice::ReadOnly)) {
        error = QStringLiteral("cannot read %1: %2").arg(fileName, file.errorString());
        return Refused;
    }
    Reader reader(fileName, file, selection, record);
    const ExitStatus status = reader.read();
    error = reader.error();
    return status;
}
