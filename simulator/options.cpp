#include "options.h"

#include "moving_signals.h"

#include <CLI/CLI.hpp>

#include <charconv>
#include <iostream>
#include <sstream>

namespace slavesim {

static constexpr std::size_t DescriptionColumn = 26;
static constexpr std::uint32_t LongestPauseMs = 3600000;

static CLI::ValidationError wrong(const std::string& option, const std::string& text,
                                  const std::string& right)
{
    return CLI::ValidationError(option, wrongText(text, right));
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
    return app.add_option_function<std::string>(name, parse, description)->option_text("N");
}

/// Adds an option that may be given more than once. add takes each text, or throws.
template<typename Add>
static CLI::Option* addRepeatable(CLI::App& app, const std::string& name, const Add& add,
                                  const std::string& description)
{
    const auto addAll = [add](const std::vector<std::string>& texts) {
        for (const std::string& text : texts)
            add(text);
    };
    return app.add_option_function<std::vector<std::string>>(name, addAll, description)
        ->expected(1)
        ->take_all();
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
                    "an area (HR, IR, DO or DI) and numbers from 1 to 65536 are needed, like HR=1-200");
    served.add(*area, *range);
}

static void addFault(std::vector<FaultKind>& kinds, const std::string& text)
{
    const auto kind = faultNamed(text);
    if (!kind)
        throw wrong("--fault", text, "one of these is needed: " + faultNames());
    kinds.push_back(*kind);
}

static double parseRate(const std::string& text)
{
    double rate = 0;
    const char* end = text.data() + text.size();
    const std::from_chars_result result = std::from_chars(text.data(), end, rate);
    if (result.ec != std::errc() || result.ptr != end || !(rate > 0 && rate <= 1))
        throw wrong("--fault-rate", text, "a probability above 0 and up to 1 is needed, like 0.1");
    return rate;
}

static void addCells(CLI::App& app, Options& options)
{
    CLI::Option* image =
        app.add_option("--image", options.imageFile, "Load the cells from FILE (see below); the others are 0")
            ->option_text("FILE");
    app.add_flag("--only-image", options.onlyImage,
                 "Serve only the image's cells (else exception 2) and\nstations (else no reply)")
        ->option_text(" ") // hides what it needs
        ->needs(image);
    app.add_flag("--moving", options.moving, "Let some cells change with time (see below)");
    const auto serve = [&options](const std::string& text) { addServed(options.served, text); };
    addRepeatable(app, "--serve", serve,
                  "Cells that an area has, like HR=1-200; exception 2 for\n"
                  "any other; repeatable (default: all of each area)")
        ->option_text("AREA=N-N");
    const auto stations = [&options](const std::string& text) { options.stations = parseStations(text); };
    app.add_option_function<std::string>("--stations", stations,
                                         "Unit identifiers to answer, like 1,5-7; no reply to\n"
                                         "any other (default: all)")
        ->option_text("LIST");
}

static void addFaults(CLI::App& app, Options& options)
{
    const auto fault = [&options](const std::string& text) { addFault(options.faults.kinds, text); };
    CLI::Option* faults =
        addRepeatable(app, "--fault", fault, "Make faults of this KIND (see below); repeatable")
            ->option_text("KIND");
    CLI::Option* every = addNumber(app, "--fault-every", options.faults.every, 1, 1000000000,
                                   "Every Nth request gets a fault, the kinds in turn\n(default: 10)")
                             ->needs(faults);
    const auto rate = [&options](const std::string& text) { options.faults.rate = parseRate(text); };
    app.add_option_function<std::string>("--fault-rate", rate,
                                         "Each request gets a fault with probability P, the\n"
                                         "kinds at random; not together with --fault-every")
        ->option_text("P")
        ->needs(faults)
        ->excludes(every);
    addNumber(app, "--seed", options.faults.seed, 0, UINT32_MAX,
              "Seed of the random numbers: the same seed makes the\n"
              "same faults (default: 1)")
        ->needs(faults);
    addNumber(app, "--late-ms", options.lateMs, 0, LongestPauseMs, "How late a late reply is (default: 200)");
    addNumber(app, "--refuse-ms", options.refuseMs, 0, LongestPauseMs,
              "How long new connections are refused (default: 1000)");
}

static void addOptions(CLI::App& app, Options& options)
{
    app.add_option("--host", options.endpoint.host, "IPv4 address to listen on (default: 127.0.0.1)")
        ->option_text("ADDRESS");
    addNumber(app, "--port", options.endpoint.port, 0, 65535,
              "TCP port to listen on (default: 0, any free one)");
    addCells(app, options);
    addFaults(app, options);
    app.add_flag("--control", options.control, "Obey lines on standard input while it runs (see below)");
    app.add_option("--log", options.log,
                   "Add a line for each request and answer to FILE (see\n"
                   "below); - is standard output, no FILE standard error")
        ->option_text("[FILE]")
        ->expected(0, 1);
    app.add_flag("--stats", options.stats,
                 "At the end, print one line with the numbers of\nrequests and faults");
    app.set_help_flag("-h,--help", "Print this help and exit");
    app.set_version_flag("--version", std::string("slavesim ") + SLAVESIM_VERSION,
                         "Print the version and exit");
}

/// One row of a table in the help, aligned with the options.
static std::string row(std::string_view name, std::string_view description)
{
    std::stringstream text;
    CLI::detail::format_help(text, "  " + std::string(name), std::string(description), DescriptionColumn);
    return text.str();
}

static std::string movingRows()
{
    std::string rows;
    for (const MovingSignal& signal : movingSignals())
        rows += row(cellsOf(signal), signal.description);
    return rows;
}

static std::string faultRows()
{
    std::string rows;
    for (std::size_t i = 0; i < FaultKindCount; ++i) {
        const auto kind = static_cast<FaultKind>(i);
        rows += row(faultName(kind), faultDescription(kind));
    }
    return rows;
}

static std::string explanations()
{
    return "Cells:\n"
           "  Each of the four areas has 65536 cells, numbered from 1: HR1 is the holding\n"
           "  register with the Modbus address 0. Without --image the cell number n decides:\n" +
           row("HR n", "n mod 65536") + row("IR n", "65535 - (n mod 65536)") +
           row("DO n", "on if 3 divides n") + row("DI n", "on if 5 divides n") +
           "\nImage file:\n"
           "  One line for each value: ADDRESS VALUE, or = or a comma between the two.\n"
           "  Cells on no line are 0; if two lines name the same cell, the later one counts.\n"
           "    HR100 0x1234          a register takes -32768 to 65535, decimal or 0x\n"
           "                          hexadecimal\n"
           "    DO5 on                a bit takes 0, 1, off, on, false or true\n"
           "    HR20.3 on             a bit of a register, 0 to 15; bit 0 is the least\n"
           "                          significant\n"
           "    HR5:float32 20.5      a type: int16, uint16, int32, uint32, int64, uint64,\n"
           "                          float32 or float64; the lowest register, HR5, has the\n"
           "                          lowest word\n"
           "    HR5SW:float32 20.5    the same with the highest word in HR5\n"
           "    3-IR7:int32 = -5      for station 3 only; without a station, for all\n"
           "  Lines like HR,100,0x1234 (area,number,value) work too. Blank lines, text after\n"
           "  a # and headings (lines with area or address in the first field) are ignored.\n"
           "\nMoving cells:\n" +
           movingRows() +
           "  A value written to one of them lasts until the next request.\n"
           "\nControl:\n"
           "  With --control each line on standard input changes what is served, from the\n"
           "  next request on. When the input ends, slavesim keeps running as it is.\n"
           "    HR10 42               any line that an image file may have\n"
           "    fault silent          every request gets this fault; several kinds take\n"
           "                          turns\n"
           "    fault none            no more faults\n"
           "\nLog:\n"
           "    16:04:05.123 127.0.0.1:40123 station 3 read HR1..HR2 -> 2 registers: 7 0\n"
           "    16:04:05.130 127.0.0.1:40123 station 3 write DO5 = 1 -> done (fault: late)\n"
           "  A line shows up to eight values. Lines that cannot be written, because the\n"
           "  disk is full or nobody reads them, are lost, and slavesim goes on.\n"
           "\nKinds of faults:\n" +
           faultRows() +
           "  Unless stated otherwise, the request is executed and only the reply is spoilt:\n"
           "  a write has written its values.\n"
           "\nWhen ready, it prints one line, \"slavesim: listening on 127.0.0.1:40123\".\n"
           "It serves up to 256 clients at once; if one more connects, the client that has\n"
           "been silent for the longest is disconnected. So is a client that does not speak\n"
           "Modbus TCP. SIGTERM and SIGINT end slavesim.\n"
           "Exit status: 0 ended by a signal, 2 could not start.\n";
}

static std::string sentenceOf(const CLI::ParseError& error)
{
    std::string text = error.what();
    if (dynamic_cast<const CLI::ArgumentMismatch*>(&error))
        return text.substr(0, text.find(':')) + ": exactly one value is needed";
    return text;
}

std::optional<Options> parseCommandLine(int argc, const char* const* argv, int& exitStatus)
{
    Options options;
    CLI::App app("A Modbus TCP slave to try drivers and hosts on, without hardware.", "slavesim");
    app.get_formatter()->column_width(DescriptionColumn);
    app.footer(explanations());
    addOptions(app, options);
    try {
        app.parse(argc, argv);
        return options;
    } catch (const CLI::Success& success) {
        exitStatus = app.exit(success);
    } catch (const CLI::ParseError& error) {
        std::cerr << "slavesim: " << printable(sentenceOf(error)) << " (slavesim --help lists the options)\n";
        exitStatus = 2;
    }
    return std::nullopt;
}

} // namespace slavesim
