#include "cli/option_values.h"

#include <algorithm>
#include <charconv>
#include <numeric>

namespace {

constexpr char bracketMark = '\x02';

QString unmarked(const std::string& text)
{
    return QString::fromStdString(!text.empty() && text.front() == bracketMark ? text.substr(1) : text);
}

std::string quoted(const std::string& text)
{
    return '"' + text + '"';
}

/// Levenshtein's distance: how many characters must be put in, taken out or changed.
int distance(const QString& left, const QString& right)
{
    std::vector<int> row(static_cast<std::size_t>(right.size()) + 1);
    std::iota(row.begin(), row.end(), 0);
    for (int i = 0; i < left.size(); ++i) {
        int diagonal = row[0]++;
        for (std::size_t j = 0; j + 1 < row.size(); ++j) {
            const int changed = diagonal + (left.at(i) == right.at(static_cast<int>(j)) ? 0 : 1);
            diagonal = row[j + 1];
            row[j + 1] = std::min({changed, diagonal + 1, row[j] + 1});
        }
    }
    return row.back();
}

} // namespace

int parseNumber(const std::string& name, const std::string& text, int least, int most)
{
    int number = 0;
    const char* end = text.data() + text.size();
    const auto result = std::from_chars(text.data(), end, number);
    if (result.ec != std::errc() || result.ptr != end || number < least || number > most)
        throw CLI::ValidationError(name, "must be a whole number from " + std::to_string(least) + " to " +
                                             std::to_string(most) + ", not " + quoted(text));
    return number;
}

int parseChoice(const std::string& name, const std::string& text, const QStringList& names)
{
    const int index = names.indexOf(QString::fromStdString(text));
    if (index < 0)
        throw CLI::ValidationError(name, "must be one of " + names.join(QStringLiteral(", ")).toStdString() +
                                             ", not " + quoted(text));
    return index;
}

CLI::Option* addText(CLI::App& app, const std::string& name, const std::function<void(const QString&)>& take,
                     const std::string& help)
{
    const auto unmark = [take](const std::string& text) { take(unmarked(text)); };
    return app.add_option_function<std::string>(name, unmark, help)->type_name("");
}

CLI::Option* addText(CLI::App& app, const std::string& name, QString& target, const std::string& help)
{
    return addText(
        app, name, [&target](const QString& text) { target = text; }, help);
}

CLI::Option* addTexts(CLI::App& app, const std::string& name, QStringList& target, const std::string& help)
{
    return app
        .add_option_function<std::vector<std::string>>(
            name,
            [&target](const std::vector<std::string>& texts) {
                target.clear();
                for (const std::string& text : texts)
                    target += unmarked(text);
            },
            help)
        ->type_name("");
}

std::vector<std::string> argumentsForCli(const QStringList& arguments)
{
    std::vector<std::string> marked;
    for (const QString& argument : arguments) {
        const bool bracketed = argument.startsWith(QLatin1Char('[')) && argument.endsWith(QLatin1Char(']'));
        marked.push_back(bracketed ? bracketMark + argument.toStdString() : argument.toStdString());
    }
    std::reverse(marked.begin(), marked.end());
    return marked;
}

QString mostSimilar(const QString& wrong, const QStringList& candidates)
{
    QString best;
    int least = std::max(wrong.size() / 3, 1) + 1;
    for (const QString& candidate : candidates) {
        const int found = distance(wrong, candidate);
        if (found < least) {
            least = found;
            best = candidate;
        }
    }
    return best;
}
