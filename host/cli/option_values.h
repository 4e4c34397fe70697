#ifndef CLI_OPTION_VALUES_H
#define CLI_OPTION_VALUES_H

#include <CLI/CLI.hpp>
#include <QString>
#include <QStringList>

#include <functional>
#include <limits>

// Options of the command line whose values are checked strictly; the error message says what would be right.

constexpr int largestInt = std::numeric_limits<int>::max();

/// A whole decimal number from least to most. For any other text it throws CLI::ValidationError with the name
/// of the option.
int parseNumber(const std::string& name, const std::string& text, int least, int most);

/// The index of text in names. Throws CLI::ValidationError, with all the names, if it is not there.
int parseChoice(const std::string& name, const std::string& text, const QStringList& names);

/// An option that takes a whole number into target, an int or an optional one.
template<class Target>
CLI::Option* addNumber(CLI::App& app, const std::string& name, Target& target, int least, int most,
                       const std::string& help)
{
    return app
        .add_option_function<std::string>(
            name,
            [&target, name, least, most](const std::string& text) {
                target = parseNumber(name, text, least, most);
            },
            help)
        ->type_name("N");
}

/// An option that stores one of names in target, an enumeration whose values count from 0 in the order of
/// names.
template<class Enum, class Target>
CLI::Option* addChoice(CLI::App& app, const std::string& name, Target& target, const QStringList& names,
                       const std::string& help)
{
    return app
        .add_option_function<std::string>(
            name,
            [&target, name, &names](const std::string& text) {
                target = static_cast<Enum>(parseChoice(name, text, names));
            },
            help)
        ->type_name(names.join(QLatin1Char('|')).toStdString());
}

/// An option or positional whose text is passed to take, which throws CLI::ValidationError if it is wrong.
CLI::Option* addText(CLI::App& app, const std::string& name, const std::function<void(const QString&)>& take,
                     const std::string& help);

/// A text option or positional.
CLI::Option* addText(CLI::App& app, const std::string& name, QString& target, const std::string& help);

/// An option that may be given several times, or a positional that takes the rest of the arguments.
CLI::Option* addTexts(CLI::App& app, const std::string& name, QStringList& target, const std::string& help);

/// The arguments as CLI11 takes them: in reverse order. Those in brackets, which CLI11 would split, get a
/// mark that addText and addTexts remove again.
std::vector<std::string> argumentsForCli(const QStringList& arguments);

#endif
