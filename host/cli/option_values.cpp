#include "cli/option_values.h"

#include <algorithm>
#include <charconv>

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
