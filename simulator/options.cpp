#include "options.h"

#include <CLI/CLI.hpp>

#include <iostream>

namespace slavesim {

static CLI::ValidationError wrong(const std::string& option, const std::string& text,
                                  const std::string& right)
{
    return CLI::ValidationError(option, "'" + text + "' is wrong: " + right);
}

/// Adds an option that takes a whole number from lowest to highest.
template<typename Number>
static CLI::Option* addNumber(CLI::App& app, const std::string& name, Number& number, std::uint32_t lowest,
                              std::uint32_t highest, const std::string& description)
{
    const auto parse = [=, &number](const std::string& text) {
        const auto parsed = parseNumber(text, lowest, highest);
        if (!parsed)
            throw wrong(name, text,
                        "a whole number from " + std::to_string(lowest) + " to " + std::to_string(highest) +
                            " is needed");
        number = static_cast<Number>(*parsed);
    };
    return app.add_option_function<std::string>(name, parse, description);
}

static Stations parseStations(const std::string& text)
{
    Stations stations;
    for (const std::string& part : CLI::detail::split(text, ',')) {
        const auto range = parseRange(part, 0, 255);
        if (!range)
            throw wrong("--stations", text, "numbers and ranges from 0 to 255 are needed, like 1,5-7");
        for (std::uint32_t station = range->first; station <= range->last; ++station)
            stations.set(station);
    }
    return stations;
}

static void addServed(ServedCells& served, const std::string& text)
{
    const std::size_t equals = text.find('=');
    const auto area = areaNamed(text.substr(0, equals));
    const auto range =
        equals == std::string::npos ? std::nullopt : parseRange(text.substr(equals + 1), 1, CellsPerArea);
    if (!area || !range)
        throw wrong("--serve", text,
                    "an area and numbers from 1 to 65536 are needed, like HR=1-200 (areas: HR, IR, DO, DI)");
    served.add(*area, *range);
}

static void addCells(CLI::App& app, Options& options)
{
    app.add_option("--image", options.imageFile, "Load the cells from FILE, see The cells below")
        ->type_name("FILE");
    const auto stations = [&options](const std::string& text) { options.stations = parseStations(text); };
    app.add_option_function<std::string>("--stations", stations,
                                         "Unit identifiers that are answered, like 1,5-7;\n"
                                         "requests for others get no answer (default: all)")
        ->type_name("LIST");
    const auto serve = [&options](const std::vector<std::string>& texts) {
        for (const std::string& text : texts)
            addServed(options.served, text);
    };
    app.add_option_function<std::vector<std::string>>(
           "--serve", serve,
           "The cells that an area has, like HR=1-200; any other gets\n"
           "exception 2; repeatable (default: all 65536 of each area)")
        ->type_name("AREA=FROM-TO")
        ->allow_extra_args(false);
}

static void addOptions(CLI::App& app, Options& options)
{
    app.get_formatter()->column_width(26);
    app.set_version_flag("--version", std::string("slavesim ") + SLAVESIM_VERSION,
                         "Print the version and exit");
    app.set_help_flag("-h,--help", "Print this help and exit");
    app.add_option("--host", options.endpoint.host, "IPv4 address to listen on (default: 127.0.0.1)")
        ->type_name("ADDRESS");
    addNumber(app, "--port", options.endpoint.port, 0, 65535,
              "TCP port to listen on (default: 0, any free one)")
        ->type_name("N");
    addCells(app, options);
}

std::optional<Options> parseCommandLine(int argc, const char* const* argv, int& exitStatus)
{
    Options options;
    CLI::App app("A Modbus TCP slave to try drivers and hosts on, without hardware.", "slavesim");
    addOptions(app, options);
    try {
        app.parse(argc, argv);
        return options;
    } catch (const CLI::Success& success) {
        exitStatus = app.exit(success);
    } catch (const CLI::ParseError& error) {
        std::cerr << "slavesim: " << error.what() << " (slavesim --help lists the options)\n";
        exitStatus = 2;
    }
    return std::nullopt;
}

} // namespace slavesim
