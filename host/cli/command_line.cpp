#include "cli/command_line.h"

#include "cli/examples.h"
#include "cli/option_values.h"
#include "commands/chart.h"
#include "commands/info.h"
#include "commands/project.h"
#include "commands/project_tags.h"
#include "commands/read.h"
#include "commands/scan.h"
#include "commands/watch.h"
#include "commands/write.h"
#include "scan/device_scan.h"
#include "scan/number_list.h"

#include <functional>

namespace {

const char* const exitStatuses =
    "Exit status:\n"
    "  0    done\n"
    "  1    the driver, the device or the system refused; the text is on stderr\n"
    "  2    the command line is wrong or names a plug-in that cannot be used; nothing was sent\n"
    "  130  interrupted with Ctrl-C";

const char* const commandFooter = "The options of driverhost (--device, --station, --format and so on, see\n"
                                  "driverhost --help) may also follow the command.";

const char* const addressHelp =
    "HMI address (HR100, HR100.3, HR100SW, FN6HR100, IR100, DO5, FN5DO5, DI5; 3-HR100 for station 3), "
    "optionally with type, number of elements, byte order or notation: HR1:word:3, HR4:float32:BADC, "
    "HR7:hex; or "
    "the name of a signal in the project, in any case";

/// What the command line is parsed into, and the command that it names.
struct Parsed
{
    LinkOptions link;
    ReadOptions read;
    WriteOptions write;
    WatchOptions watch;
    ChartOptions chart;
    ProjectCreateOptions projectCreate;
    ProjectShowOptions projectShow;
    ProjectImportOptions projectImport;
    ProjectExportOptions projectExport;
    ScanOptions scan;
    QStringList helpWanted; ///< names of a command and its subcommand
    std::function<int(Console&)> command;
};

/// The command's name without the program's; "project import" for a subcommand.
QString pathOf(const CLI::App& command)
{
    const CLI::App* parent = command.get_parent();
    const QString name = QString::fromStdString(command.get_name());
    if (!parent)
        return QString();
    return parent->get_parent() ? pathOf(*parent) + QLatin1Char(' ') + name : name;
}

QString footerOf(const CLI::App& command)
{
    const QStringList lines = examplesOf(pathOf(command));
    if (lines.isEmpty())
        return QLatin1String(commandFooter);
    const QString heading = lines.size() == 1 ? QStringLiteral("Example:") : QStringLiteral("Examples:");
    return heading + QStringLiteral("\n  ") + lines.join(QStringLiteral("\n  ")) + QStringLiteral("\n\n") +
           QLatin1String(commandFooter);
}

/// Adds a subcommand of app that runs run(options, console) once everything is parsed.
template<class Options>
CLI::App& addCommand(CLI::App& app, const char* name, const char* help, Parsed& parsed, Options& options,
                     int (*run)(const Options&, Console&))
{
    CLI::App* command = app.add_subcommand(name, help);
    command->fallthrough();
    command->footer(footerOf(*command).toStdString());
    command->callback([&parsed, &options, run] {
        parsed.command = [&parsed, &options, run](Console& console) {
            if constexpr (!std::is_same_v<Options, LinkOptions>)
                options.link = parsed.link;
            return run(options, console);
        };
    });
    return *command;
}

void takeDevice(const QString& text, DeviceAddress& device)
{
    QString error;
    const auto address = parseDeviceAddress(text, error);
    if (!address)
        throw CLI::ValidationError("--device", error.toStdString());
    device = *address;
}

void addLinkOptions(CLI::App& app, LinkOptions& link)
{
    static const QStringList entries = {QStringLiteral("create"), QStringLiteral("instance")};
    static const QStringList formats = {QStringLiteral("text"), QStringLiteral("json")};
    addText(app, "--driver", link.driverFile,
            "Driver plug-in (default: drivers/libmodbus_tcp_slave.so next to driverhost)")
        ->type_name("FILE");
    addChoice<PluginEntry>(
        app, "--entry", link.entry, entries,
        "How to get the driver: by the function CreateDriver (default) or as Qt's plug-in instance");
    addText(
        app, "--device", [&link](const QString& text) { takeDevice(text, link.device); },
        "The device, a name, IPv4 or [IPv6] address (default 127.0.0.1, port from the driver)")
        ->type_name("HOST[:PORT]");
    addNumber(app, "--station", link.station, 0, 255,
              "Station, the Modbus unit identifier (default: the driver's)");
    addNumber(app, "--retry", link.retry, 0, 1000, "Repetitions of a failed command (default: the driver's)");
    addNumber(app, "--timeout", link.timeout, 1, 3600000,
              "Longest wait for an answer or a connection, in milliseconds (default: the driver's)");
    addNumber(app, "--delay", link.delay, 0, 60000,
              "Pause before each attempt, in milliseconds (default: the driver's)");
    addNumber(app, "--link", link.linkId, 0, largestInt, "Link id in the project database (default 1)");
    addChoice<OutputFormat>(app, "--format", link.format, formats,
                            "Output for people (default) or one JSON object per line");
    app.add_flag("--trace", link.trace,
                 "Print every frame sent and received on stderr; Modbus TCP is decoded");
}

void takeType(const QString& text, std::optional<SignalType>& type)
{
    type = parseSignalType(text);
    if (!type)
        throw CLI::ValidationError("--type", "must be one of " +
                                                 signalTypeNames().join(QStringLiteral(", ")).toStdString() +
                                                 " with N from 1 to " + std::to_string(longestString) +
                                                 ", not \"" + text.toStdString() + '"');
}

/// Options for items that leave something open.
void addItemOptions(CLI::App& command, ItemOptions& options)
{
    addText(
        command, "--type", [&options](const QString& text) { takeType(text, options.type); },
        "Type of a value (default: bit for DI, DO, FN5DO and HR1.3, else word)")
        ->type_name(signalTypeNames().join(QLatin1Char('|')).toStdString());
    addChoice<ByteOrder>(
        command, "--order", options.order, byteOrderNames(),
        "Byte order of int, uint, float and string types; A is the most significant byte (default: ABCD with "
        "the mark SW, else CDAB)");
    addChoice<Notation>(
        command, "--as", options.notation, notationNames(),
        "Notation of the values (default: that of their type); with it a signal's value is what "
        "its registers hold, without scale and unit");
}

void addRead(CLI::App& app, Parsed& parsed)
{
    CLI::App& command =
        addCommand(app, "read", "Read elements from the device", parsed, parsed.read, runRead);
    addTexts(command, "ADDRESS", parsed.read.items,
             std::string(addressHelp) +
                 ", where * and ? are wildcards; a range such as HR1..HR400 takes as many commands "
                 "as it needs")
        ->required();
    addItemOptions(command, parsed.read.options);
    addNumber(command, "--count", parsed.read.options.count, 0, largestInt,
              "Number of elements of each address, read with one command (default 1)");
}

void addWrite(CLI::App& app, Parsed& parsed)
{
    CLI::App& command =
        addCommand(app, "write", "Write elements to the device", parsed, parsed.write, runWrite);
    addText(command, "ADDRESS", parsed.write.item, addressHelp)->required();
    addTexts(
        command, "VALUE", parsed.write.values,
        "Values of the elements: decimal, 0x hexadecimal, negative, 0 or 1 for bits, texts for string(N); "
        "numbers with a decimal point for float32 and float64 only")
        ->required();
    addItemOptions(command, parsed.write.options);
    addNumber(command, "--count", parsed.write.options.count, 1, largestInt,
              "Number of elements; must equal the number of values");
    command.add_flag("--verify", parsed.write.verify, "Read the values back and compare them");
}

/// Adds an explanation below the options, longer than the list of commands has room for.
void explain(CLI::App& command, const std::string& text)
{
    command.footer(text + "\n\n" + command.get_footer());
}

void addProjectTags(CLI::App& project, Parsed& parsed)
{
    CLI::App& import =
        addCommand(project, "import", "Replace the tags of link --link with those of a tag list", parsed,
                   parsed.projectImport, runProjectImport);
    addText(import, "FILE", parsed.projectImport.file, "The tag list (CSV)")->required();
    explain(import, "The first row has the headings of the columns, in any order: address (DI5, 2-DO17 of\n"
                    "station 2, HR100.3) and as far as known name, type, order, scale, offset, unit,\n"
                    "decimals and comment. The panel reads the addresses only. A value in its unit is the\n"
                    "number in the registers * scale + offset. A list without headings has addresses in its\n"
                    "first column. Columns are separated by comma, semicolon or tab, as spreadsheets save\n"
                    "them. If anything is wrong, the errors (the first 20) are listed with their lines, and\n"
                    "the project stays as it was.");
    CLI::App& output = addCommand(project, "export", "Write the tags of link --link as a tag list", parsed,
                                  parsed.projectExport, runProjectExport);
    addText(output, "FILE", parsed.projectExport.file,
            "The tag list, in CSV and UTF-8 (default, and -: stdout)");
}

void addWatch(CLI::App& app, Parsed& parsed)
{
    WatchOptions& options = parsed.watch;
    CLI::App& command = addCommand(
        app, "watch", "Read at an interval: a screen on a terminal (q ends, ? helps), else a line per sample",
        parsed, options, runWatch);
    addTexts(command, "ADDRESS", options.items,
             "What to read, as for driverhost read: HR100, HR102:float32, DO1:bit:8, 3-HR1..HR40, \"Oven*\"")
        ->type_name("ADDRESS[:TYPE[:COUNT]]");
    command.add_flag(
        "--tags", options.tags,
        "Read the signals of link --link in the project; with --station only those of that station");
    addNumber(command, "--interval", options.interval, 1, 3600000,
              "Time from one sample to the next, in milliseconds (default 500)");
    CLI::Option* samples =
        addNumber(command, "--samples", options.samples, 1, largestInt, "End after this many samples");
    addNumber(command, "--for", options.seconds, 1, largestInt, "End after this many seconds")
        ->type_name("SECONDS")
        ->excludes(samples);
    addText(command, "--csv", options.csvFile,
            "Record each sample in FILE; a record with the same columns is continued")
        ->type_name("FILE");
    addChoice<Notation>(command, "--as", options.notation, notationNames(),
                        "How values are printed, where their type can be (default uint)");
    explain(
        command,
        "The interval does not drift. A sample that is due while the previous one still waits for the\n"
        "device is missed and counted. Neighbours in an area are read with one request, whatever their\n"
        "types; what the device refuses is read alone from then on. A silent station is asked less often.\n\n"
        "Keys on a terminal: q ends, p pauses, the arrows select a row, w writes its value (it asks\n"
        "first, and reads back), x shows it as hexadecimal and X all of them, r resets MIN and MAX,\n"
        "/ filters the rows, ? helps. Without a terminal, or with --format json, each sample is a line.\n\n"
        "A record is on the disk within a second. A full disk costs only the rows of that time, but makes\n"
        "the exit status 1; so does a device that has not answered a single command.");
}

void takeMoment(const char* option, const QString& text, std::optional<Moment>& moment)
{
    moment = parseMoment(text);
    if (!moment)
        throw CLI::ValidationError(option,
                                   "must be a time in UTC, such as \"2026-11-22 22:58:05\", 2026-11-22 or "
                                   "22:58, not \"" +
                                       text.toStdString() + '"');
}

void addChart(CLI::App& app, Parsed& parsed)
{
    static const QStringList axes = {QStringLiteral("unit"), QStringLiteral("each")};
    ChartOptions& options = parsed.chart;
    RecordSelection& selection = options.selection;
    CLI::App& command =
        addCommand(app, "chart", "Draw a record made by watch (needs gnuplot)", parsed, options, runChart);
    addText(command, "RECORD", options.record, "The CSV file")->type_name("FILE")->required();
    addText(command, "--output", options.output, "The picture")->type_name("FILE.svg|png")->required();
    addText(command, "--title", options.style.title, "Title of the picture (default: the name of the record)")
        ->type_name("TEXT");
    addTexts(command, "--signals,--columns", selection.columns,
             "Draw only columns of this name, where * and ? are wildcards; may be repeated")
        ->type_name("NAME")
        ->expected(1)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
    addText(
        command, "--from", [&](const QString& text) { takeMoment("--from", text, selection.from); },
        "Draw only what was read at this time or later")
        ->type_name("TIME");
    addText(
        command, "--to", [&](const QString& text) { takeMoment("--to", text, selection.to); },
        "Draw only what was read at this time or before")
        ->type_name("TIME");
    addChoice<ChartAxes>(command, "--axes", options.style.axes, axes,
                         "One value axis for all numbers of a unit (default), or one for each column");
    explain(command,
            "Times are UTC, as in the record: \"2026-11-22 22:58:05\", 2026-11-22 (its midnight),\n"
            "or 22:58 on the record's first day. Lines are broken where something failed or was not\n"
            "read.");
}

void addProject(CLI::App& app, Parsed& parsed)
{
    CLI::App* project =
        app.add_subcommand("project", "The project database next to driverhost, which drivers read");
    project->fallthrough()->require_subcommand(1)->footer(commandFooter);
    ProjectCreateOptions& options = parsed.projectCreate;
    CLI::App& create = addCommand(*project, "create",
                                  "Make a project with the link --link and its default station "
                                  "--station at --device",
                                  parsed, options, runProjectCreate);
    addTexts(create, "--tag", options.tags, "HMI address of a tag of the link; may be repeated")
        ->type_name("ADDRESS")
        ->expected(1)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
    addText(create, "--tags", options.tagFile, "File with the tags, as project import takes it")
        ->type_name("FILE");
    create.add_flag("--replace", options.replace, "Put it in the place of the project that is there");
    CLI::App& show = addCommand(*project, "show",
                                "Print the links, nodes and tags of the project, and the requests that byte "
                                "reads of bits will send",
                                parsed, parsed.projectShow, runProjectShow);
    show.add_flag("--all", parsed.projectShow.allTags, "Print every tag and run of bits, not only how many");
    addProjectTags(*project, parsed);
}

void takeStations(const QString& text, QVector<int>& stations)
{
    stations = scan::parseNumberList(text, 0, 255);
    if (stations.isEmpty())
        throw CLI::ValidationError("--stations",
                                   "must be numbers and ranges from 0 to 255, as 1,5-7, not \"" +
                                       text.toStdString() + '"');
}

void takeAreas(const QString& text, QStringList& areas)
{
    areas.clear();
    for (const QString& area : text.toUpper().split(QLatin1Char(','))) {
        parseChoice("--area", area.toStdString(), areasToScan());
        if (!areas.contains(area))
            areas += area;
    }
}

void addScan(CLI::App& app, Parsed& parsed)
{
    ScanOptions& options = parsed.scan;
    CLI::App& command =
        addCommand(app, "scan", "Find out which stations answer and which ranges of their areas can be read",
                   parsed, options, runScan);
    addText(
        command, "--stations", [&options](const QString& text) { takeStations(text, options.stations); },
        "Stations to look for, such as 1,5-7 (default: only --station)")
        ->type_name("LIST");
    addText(
        command, "--area", [&options](const QString& text) { takeAreas(text, options.areas); },
        "Areas to scan, separated by commas (default: all)")
        ->type_name(areasToScan().join(QLatin1Char(',')).toStdString());
    addNumber(command, "--from", options.first, 1, largestNumber, "First number (default 1)");
    addNumber(command, "--to", options.last, 1, largestNumber, "Last number (default 65536)");
    addNumber(command, "--finest", options.finest, 1, largestNumber,
              "Do not divide refused ranges of this many elements or fewer (default 1)");
    CLI::Option* values =
        command.add_flag("--values", "Write the values that are read into the file of --output");
    values->needs(addText(command, "--output", options.output,
                          "Image for slavesim --image; its tag list goes to FILE.csv")
                      ->type_name("FILE")
                      ->needs(values));
    explain(
        command,
        "Sends one request at a time, with --delay before each, for as many elements as a request carries.\n"
        "Ranges that the device refuses are divided down to single elements, or to --finest: 16 is ten "
        "times\n"
        "as fast where little can be read, but misses shorter islands. A range without an answer is asked\n"
        "for again --retry times. Two such ranges end the area, two silent areas end the station. A scan\n"
        "for several stations asks each of them only once, unless --retry is given. Ctrl-C prints and\n"
        "writes what was found so far. Drivers need a project: see driverhost help project create.\n"
        "--values --output FILE takes the device home: slavesim --image FILE serves what was read, and\n"
        "driverhost project import FILE.csv makes tags of it.");
}

QStringList commandsBelow(const CLI::App& command)
{
    QStringList names;
    for (const CLI::App* sub : command.get_subcommands([](const CLI::App*) { return true; }))
        names += QString::fromStdString(sub->get_name());
    return names;
}

QString commandName(const CLI::App& command)
{
    const QString name = QString::fromStdString(command.get_name());
    return command.get_parent() ? commandName(*command.get_parent()) + QLatin1Char(' ') + name : name;
}

/// The error text for an argument that the command does not know.
QString unknownArgument(const CLI::App& command, const QString& argument)
{
    const QStringList commands = commandsBelow(command);
    QString text = QStringLiteral("%1 takes no \"%2\"").arg(commandName(command), argument);
    if (!commands.isEmpty())
        text += QStringLiteral("; its commands are %1").arg(commands.join(QStringLiteral(", ")));
    return text;
}

/// Prints the help of the command that the words lead to.
int runHelp(const CLI::App& app, const QStringList& words, Console& console)
{
    const CLI::App* command = &app;
    for (const QString& word : words) {
        const QStringList names = commandsBelow(*command);
        if (!names.contains(word))
            return reportError(console, WrongCommandLine, unknownArgument(*command, word));
        command = command->get_subcommand(word.toStdString());
    }
    return runCommandLine(words + QStringList(QStringLiteral("--help")), console);
}

void addHelp(CLI::App& app, Parsed& parsed)
{
    CLI::App* command = app.add_subcommand("help", "Print the help of a command, with examples");
    command->footer(footerOf(*command).toStdString());
    addTexts(*command, "COMMAND", parsed.helpWanted, "The command, such as read or project import");
    command->callback([&app, &parsed] {
        parsed.command = [&app, &parsed](Console& console) {
            return runHelp(app, parsed.helpWanted, console);
        };
    });
}

void describe(CLI::App& app, Parsed& parsed)
{
    app.require_subcommand(1);
    app.footer(exitStatuses);
    app.set_version_flag("--version", "driverhost " DRIVERHOST_VERSION);
    addLinkOptions(app, parsed.link);
    addCommand(app, "info", "Print what the driver says about itself", parsed, parsed.link, runInfo);
    addRead(app, parsed);
    addWrite(app, parsed);
    addWatch(app, parsed);
    addChart(app, parsed);
    addProject(app, parsed);
    addScan(app, parsed);
    addHelp(app, parsed);
}

/// The innermost command that the arguments have reached.
CLI::App& reachedCommand(CLI::App& app)
{
    const auto commands = app.get_subcommands();
    return commands.empty() ? app : reachedCommand(*commands.back());
}

int reportParseError(CLI::App& app, const CLI::ParseError& error, Console& console)
{
    CLI::App& command = reachedCommand(app);
    const std::vector<std::string> unknown = app.remaining(true);
    const QStringList commands = commandsBelow(command);
    QString text = QString::fromLocal8Bit(error.what());
    if (!unknown.empty())
        text = unknownArgument(command, QString::fromStdString(unknown.front()));
    else if (!commands.isEmpty() && dynamic_cast<const CLI::RequiredError*>(&error))
        text = QStringLiteral("%1 needs a command: %2")
                   .arg(commandName(command), commands.join(QStringLiteral(", ")));
    reportError(console, WrongCommandLine, text);
    console.err << "see " << commandName(command) << " --help\n";
    return WrongCommandLine;
}

} // namespace

int runCommandLine(const QStringList& arguments, Console& console)
{
    CLI::App app("Runs commands on a field device through a driver plug-in, as the panel's runtime does.",
                 "driverhost");
    Parsed parsed;
    describe(app, parsed);
    try {
        app.parse(argumentsForCli(arguments));
    } catch (const CLI::CallForHelp&) {
        console.out << QString::fromStdString(app.help());
        return Done;
    } catch (const CLI::CallForVersion& version) {
        console.out << version.what() << '\n';
        return Done;
    } catch (const CLI::ParseError& error) {
        return reportParseError(app, error, console);
    }
    return parsed.command(console);
}
