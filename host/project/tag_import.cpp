#include "project/tag_import.h"

#include "signals/address.h"

#include <algorithm>
#include <vector>

namespace {

constexpr int rowsBetween = 1024;

class TagImport
{
public:
    TagImport(CsvReader& reader, const TakeTag& take) : m_reader(reader), m_take(take) {}

    ImportResult run(const std::function<bool()>& betweenRows)
    {
        CsvRow row;
        int rows = 0;
        for (; !m_result.stopped && m_reader.next(row); ++rows) {
            if (rows == 0 && isHeader(row))
                m_hasHeader = true;
            else if (m_hasHeader || !isComment(row))
                readRow(row);
            if (rows % rowsBetween == 0 && !betweenRows())
                m_result.stopped = true;
        }
        if (!m_result.stopped)
            findDuplicates();
        return m_result;
    }

private:
    struct Seen
    {
        quint64 key;
        qint64 line;

        bool operator<(const Seen& other) const
        {
            return key != other.key ? key < other.key : line < other.line;
        }
    };

    bool isHeader(const CsvRow& row)
    {
        if (row.problem.isEmpty())
            m_columns = row.fields.size();
        return row.problem.isEmpty() && qstricmp(row.fields.first().constData(), "address") == 0;
    }

    static bool isComment(const CsvRow& row) { return row.fields.first().trimmed().startsWith('#'); }

    void readRow(const CsvRow& row)
    {
        QString problem = row.problem;
        if (problem.isEmpty())
            problem = columnProblem(row.fields.size());
        const QString text = QString::fromUtf8(row.fields.first()).trimmed();
        const auto address = problem.isEmpty() ? parseTag(text, Grammar::ModbusTcp, problem) : std::nullopt;
        if (!address)
            return addProblem({row.line, problem});
        m_seen.push_back({address->key(), row.line});
        ++m_result.tags;
        if (m_result.problemCount == 0 && !m_take(text))
            m_result.stopped = true;
    }

    QString columnProblem(int columns)
    {
        if (m_columns == 0)
            m_columns = columns;
        return columns == m_columns
                   ? QString()
                   : QStringLiteral("it has %1 column(s), the first row %2").arg(columns).arg(m_columns);
    }

    void addProblem(const ImportProblem& problem)
    {
        ++m_result.problemCount;
        if (m_result.problems.size() < mostProblemsListed)
            m_result.problems.append(problem);
    }

    void findDuplicates()
    {
        std::sort(m_seen.begin(), m_seen.end());
        std::vector<Duplicate> duplicates;
        const Seen* first = nullptr;
        for (const Seen& seen : m_seen) {
            if (first && first->key == seen.key)
                duplicates.push_back({seen.line, first->line});
            else
                first = &seen;
        }
        std::sort(duplicates.begin(), duplicates.end());
        m_result.tags -= static_cast<qint64>(duplicates.size());
        m_result.problemCount += static_cast<qint64>(duplicates.size());
        listDuplicates(duplicates);
    }

    using Duplicate = std::pair<qint64, qint64>; ///< its line and the line of the first one

    void listDuplicates(const std::vector<Duplicate>& duplicates)
    {
        QVector<ImportProblem>& problems = m_result.problems;
        const std::size_t listed = std::min<std::size_t>(duplicates.size(), mostProblemsListed);
        for (std::size_t i = 0; i < listed; ++i)
            problems.append({duplicates[i].first,
                             QStringLiteral("the address is that of line %1").arg(duplicates[i].second)});
        std::stable_sort(
            problems.begin(), problems.end(),
            [](const ImportProblem& left, const ImportProblem& right) { return left.line < right.line; });
        problems.resize(std::min(problems.size(), mostProblemsListed));
    }

    CsvReader& m_reader;
    const TakeTag& m_take;
    ImportResult m_result;
    std::vector<Seen> m_seen;
    int m_columns = 0;
    bool m_hasHeader = false;
};

} // namespace

ImportResult importTags(CsvReader& reader, const TakeTag& take, const std::function<bool()>& betweenRows)
{
    return TagImport(reader, take).run(betweenRows);
}
