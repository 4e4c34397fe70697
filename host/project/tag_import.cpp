#include "project/tag_import.h"

#include "project/tag_row.h"
#include "signals/item.h"
#include "text/csv_reader.h"
#include "text/text_encoding.h"

#include <QBuffer>
#include <QHash>

#include <algorithm>

namespace {

constexpr int rowsBetween = 1024;

bool isSeparator(char character)
{
    return character == ',' || character == ';' || character == '\t';
}

bool isComment(const QByteArray& line)
{
    return line.trimmed().startsWith('#');
}

/// The first separator outside quotes, or what a line such as "sep=;" says.
char separatorOf(const QByteArray& text)
{
    if (text.startsWith("sep=") && text.size() > 4)
        return text.at(4);
    bool isQuoted = false;
    bool isInComment = isComment(text.left(text.indexOf('\n')));
    for (int i = 0; i < text.size(); ++i) {
        const char character = text.at(i);
        if (character == '\n' && !isQuoted)
            isInComment = isComment(text.mid(i + 1, 80));
        else if (character == '"' && !isInComment)
            isQuoted = !isQuoted;
        else if (!isQuoted && !isInComment && isSeparator(character))
            return character;
    }
    return ',';
}

class TagImport
{
public:
    TagImport(const QByteArray& text, Grammar grammar, const TakeTag& take)
        : m_text(text), m_separator(separatorOf(text)), m_grammar(grammar), m_take(take)
    {
    }

    ImportResult run(const BetweenRows& betweenRows)
    {
        QBuffer buffer(&m_text);
        buffer.open(QIODevice::ReadOnly);
        CsvReader reader(buffer, m_separator);
        CsvRow row;
        for (int rows = 0; !m_isOver && reader.next(row); ++rows) {
            readRow(row);
            if (rows % rowsBetween == 0 && !betweenRows(reader.position()))
                stop();
        }
        return m_result;
    }

private:
    void readRow(const CsvRow& row)
    {
        if ((row.line == 1 && row.fields.first().startsWith("sep=")) ||
            (!m_hasHeadings && isComment(row.fields.first())))
            return;
        if (!row.problem.isEmpty())
            return addProblem(row.line, row.problem);
        QStringList cells;
        for (const QByteArray& field : row.fields)
            cells += QString::fromUtf8(field).trimmed();
        if (cells.join(QString()).isEmpty())
            return;
        if (m_columns.isEmpty() && readHeadings(row.line, cells))
            return;
        if (!m_isOver)
            readTag(row.line, cells);
    }

    /// Finds the columns. Returns whether the row holds their headings, and not a tag.
    bool readHeadings(qint64 line, const QStringList& cells)
    {
        QString ignored;
        for (const QString& column : tagColumns())
            m_columns += indexOf(cells, column);
        m_hasHeadings = m_columns.first() >= 0;
        m_fields = cells.size();
        if (!m_hasHeadings) {
            m_columns.fill(-1);
            m_columns.first() = 0;
            if (!parseTag(cells.first(), m_grammar, ignored))
                onlyProblem(line, QStringLiteral("the list must begin with the headings of its columns (%1) "
                                                 "or with an address; the columns are separated by comma, "
                                                 "semicolon or tab")
                                      .arg(tagColumns().join(QStringLiteral(", "))));
        }
        if (!m_isOver)
            noteUnusedColumns(cells);
        return m_hasHeadings;
    }

    static int indexOf(const QStringList& cells, const QString& column)
    {
        const auto isColumn = [&](const QString& cell) {
            return cell.compare(column, Qt::CaseInsensitive) == 0;
        };
        const auto found = std::find_if(cells.begin(), cells.end(), isColumn);
        return found == cells.end() ? -1 : static_cast<int>(found - cells.begin());
    }

    void noteUnusedColumns(const QStringList& cells)
    {
        QStringList unused;
        for (int i = 0; i < cells.size(); ++i) {
            if (!m_columns.contains(i) && !cells.at(i).isEmpty())
                unused += quoted(cells.at(i));
        }
        if (!m_hasHeadings && !unused.isEmpty())
            m_result.note =
                QStringLiteral("the list has no headings, so only its first column was used, as addresses");
        else if (!unused.isEmpty())
            m_result.note =
                QStringLiteral("these columns were not used: %1; known ones are %2")
                    .arg(unused.join(QStringLiteral(", ")), tagColumns().join(QStringLiteral(", ")));
    }

    void readTag(qint64 line, const QStringList& cells)
    {
        if (m_fields > 1 && cells.size() == 1 && hasOtherSeparator(cells.first()))
            return onlyProblem(line,
                               QStringLiteral("its columns are not separated as those of the first row"));
        QString problem;
        if (m_hasHeadings && cells.mid(m_fields).join(QString()).size() > 0)
            problem = QStringLiteral("it has %1 column(s), the headings %2").arg(cells.size()).arg(m_fields);
        const auto signal = problem.isEmpty() ? signalOfRow(rowOf(cells), problem) : std::nullopt;
        if (signal)
            problem = problemOf(line, *signal);
        if (!problem.isEmpty())
            return addProblem(line, problem);
        ++m_result.tags;
        if (m_result.problemCount == 0 && !m_take(*signal))
            stop();
    }

    bool hasOtherSeparator(const QString& cell) const
    {
        const QByteArray bytes = cell.toUtf8();
        return std::any_of(bytes.begin(), bytes.end(), isSeparator);
    }

    /// The fields in the order of tagColumns().
    QStringList rowOf(const QStringList& cells) const
    {
        QStringList row;
        for (int i = 0; i < m_columns.size(); ++i) {
            row += cells.value(m_columns.at(i));
            const QString& column = tagColumns().at(i);
            const bool isNumber = column == QLatin1String("scale") || column == QLatin1String("offset");
            if (isNumber && m_separator == ';' && !row.last().contains(QLatin1Char('.')))
                row.last().replace(QLatin1Char(','), QLatin1Char('.'));
        }
        return row;
    }

    QString problemOf(qint64 line, const Signal& signal)
    {
        QString problem;
        const auto address = parseTag(signal.address, m_grammar, problem);
        if (address)
            problem = signalProblem(signal, m_grammar);
        if (problem.isEmpty())
            problem = firstUse(m_addresses, address->plainText(), line, "address");
        if (problem.isEmpty() && !signal.name.isEmpty())
            problem = firstUse(m_names, signal.name.toCaseFolded(), line, "name");
        return problem;
    }

    static QString firstUse(QHash<QString, qint64>& lines, const QString& text, qint64 line, const char* what)
    {
        const qint64 first = lines.value(text);
        if (first == 0)
            lines.insert(text, line);
        return first == 0 ? QString()
                          : QStringLiteral("the %1 is that of line %2").arg(QLatin1String(what)).arg(first);
    }

    void addProblem(qint64 line, const QString& text)
    {
        ++m_result.problemCount;
        if (m_result.problems.size() < mostProblemsListed)
            m_result.problems.append({line, text});
    }

    void onlyProblem(qint64 line, const QString& text)
    {
        m_result.problemCount = 0;
        m_result.problems.clear();
        addProblem(line, text);
        m_isOver = true;
    }

    void stop()
    {
        m_result.stopped = true;
        m_isOver = true;
    }

    QByteArray m_text;
    const char m_separator;
    const Grammar m_grammar;
    const TakeTag& m_take;
    ImportResult m_result;
    QVector<int> m_columns; ///< for each of tagColumns() its field; -1: the list does not have it
    int m_fields = 0;       ///< of the first row
    bool m_hasHeadings = false;
    bool m_isOver = false;
    QHash<QString, qint64> m_addresses; ///< and their lines
    QHash<QString, qint64> m_names;
};

} // namespace

ImportResult importTags(const QByteArray& file, Grammar grammar, const TakeTag& take,
                        const BetweenRows& betweenRows)
{
    return TagImport(toUtf8(file), grammar, take).run(betweenRows);
}
