#include "options.h"

#include "formats/toml_file.h"
#include "scenario_file.h"

#include <CLI/CLI.hpp>

#include <cstdlib>
#include <numeric>
#include <sstream>
#include <unistd.h>

namespace fgssim
{

namespace
{

const char *const Description = R"(Examples:
  fgs-sim                                    a new pseudo-terminal; its path is the first line of the output
  fgs-sim --pty=/tmp/plc                     the same, with a symbolic link to it
  fgs-sim --tcp 5020 --stations 1,2,5-9      TCP on 127.0.0.1, seven stations
  fgs-sim --serial /dev/ttyUSB0:19200,8E1    a serial device
  fgs-sim --remote                           the far end of remote access, for fgs --remote
  fgs-sim --set 5:100x10=ramp:0..500/5 --set 1:17@2=fixed:1
  fgs-sim --faults 2 --fault silence=10 --late-by 800 --seed 7 --log all
  fgs-sim --replay line.pcapng               answers as the controller in a trace did
  fgs-sim --scenario bad-night.toml          does by itself what the file says, and when
  fgs-sim --missing 5:2000x100 --refuse 5:10 --control
  fgs-sim ctl station 1 off                  tells one that runs with --control; see fgs-sim ctl --help

A simulated controller of the FGs series: fourteen register areas for each station, values that move,
faults at given rates. It answers reads and writes and meets everything malformed with silence.
The first line on stdout is where it can be reached, as fgs takes it: a device or tcp:HOST:PORT. The log
and the final summary go to stderr.
Exit code: 0 ended as asked, 1 other, 2 wrong usage, 3 the link cannot be opened or was lost.
)";

const std::string CtlDescription = R"(Examples:
  fgs-sim ctl set 5:100=7
  fgs-sim ctl set 5:100x10@2=ramp:0..500/5
  fgs-sim ctl station 3 off
  fgs-sim ctl unplug 10s
  fgs-sim ctl fault own echo ahead x3
  fgs-sim ctl status

Tells an fgs-sim that runs with --control what to do, and prints its answer.
Exit code: 0 done, 1 refused, 2 wrong usage, 3 no fgs-sim is there.

Commands:
)";

using Texts = std::vector<std::string>;

// Calls `use` with the option's text; what it dislikes becomes a complaint about the option.
template <typename Use>
CLI::Option *addText(CLI::App &app, const std::string &name, Use use, const std::string &help)
{
    const auto guarded = [name, use](const std::string &text) {
        try {
            use(text);
        } catch (const BadText &bad) {
            throw CLI::ValidationError(name, bad.what());
        }
    };
    return app.add_option_function<std::string>(name, guarded, help);
}

// The same for an option that may be repeated.
template <typename Use>
CLI::Option *addTexts(CLI::App &app, const std::string &name, Use use, const char *help)
{
    const auto guarded = [name, use](const Texts &texts) {
        try {
            for (const std::string &text : texts)
                use(text);
        } catch (const BadText &bad) {
            throw CLI::ValidationError(name, bad.what());
        }
    };
    return app.add_option_function<Texts>(name, guarded, help)->allow_extra_args(false);
}

template <typename Value>
struct Named {
    const char *name;
    Value value;
};

template <typename Value, std::size_t Count>
Value chosen(const Named<Value> (&table)[Count], const std::string &text)
{
    std::string names;
    for (const Named<Value> &row : table) {
        if (text == row.name)
            return row.value;
        names += (names.empty() ? "" : ", ") + std::string(row.name);
    }
    throw BadText("'" + text + "' is none of " + names);
}

const Named<Values> ValueNames[] = {
    {"still", Values::Still}, {"moving", Values::Moving}, {"pattern", Values::Pattern}};
const Named<Log::Level> LevelNames[] = {
    {"quiet", Log::Level::Quiet}, {"normal", Log::Level::Normal}, {"all", Log::Level::All}};

void addLinkOptions(CLI::App &app, Options &options)
{
    const auto pty = [&](const Texts &link) { options.link = PtyAddress{link.empty() ? "" : link.front()}; };
    CLI::Option *ptyOption =
        app.add_option_function<Texts>(
               "--pty", pty,
               "A new pseudo-terminal (default), and a link to it at LINKPATH, which no other fgs-sim\n"
               "may have; one that a killed fgs-sim has left behind is replaced")
            ->type_name("[=LINKPATH]")
            ->expected(0, 1);
    CLI::Option *serialOption = addText(
        app, "--serial", [&](const std::string &text) { options.link = parseSerialAddress(text); },
        "A serial device, locked against other programs; without BAUD 19200,8E1");
    CLI::Option *tcpOption = addText(
        app, "--tcp", [&](const std::string &text) { options.link = parseTcpAddress(text); },
        "A TCP port, 0 for any free one; without HOST on 127.0.0.1; at most " + std::to_string(MaxConnections) +
            " connections at a time");
    serialOption->type_name("DEVICE[:BAUD[,8E1]]")->excludes(ptyOption);
    tcpOption->type_name("[HOST:]PORT")->excludes(ptyOption)->excludes(serialOption);
}

void addValueOptions(CLI::App &app, Options &options)
{
    addText(
        app, "--stations", [&](const std::string &text) { options.stations = parseStations(text); },
        "The stations that it has (default 1)")
        ->type_name("LIST");
    app.add_flag(
        "--remote", options.remote,
        "Is the far end of remote access: answers the sum-checked remote frames, of any link number, instead of\n"
        "the controller protocol");
    addTexts(
        app, "--set", [&](const std::string &text) { options.ranges.push_back(parseRange(text)); },
        "What addresses hold: [fixed:]V, ramp:A..B[/STEP] or walk:A..B[/STEP], of decimal or 0x numbers; "
        "addresses "
        "are\n"
        "decimal, octal in areas 0 and 1; neither they nor counts are hexadecimal: 5:0x64 is 64 words from address "
        "0;\n"
        "the last --set that names an address counts")
        ->type_name("AREA:ADDRESS[xCOUNT][@STATION]=VALUE");
    addText(
        app, "--values", [&](const std::string &text) { options.values = chosen(ValueNames, text); },
        "What all others hold: still (0), moving (default) or pattern (a function of the address)")
        ->type_name("KIND");
    addText(
        app, "--tick", [&](const std::string &text) { options.tick = parseMilliseconds(text, 1); },
        "How often values move, from 1 to 3600000 (default 200)")
        ->type_name("MS");
    addText(
        app, "--seed", [&](const std::string &text) { options.seed = parseSeed(text); },
        "Of walks and faults; the same seed gives the same run (default 1)")
        ->type_name("N");
}

// Faults that the user named one by one stand in `single`, the rate of all others in `common`.
struct FaultSettings {
    std::optional<double> common;
    std::array<std::optional<double>, FaultKinds> single;
};

FaultRates ratesOf(const FaultSettings &settings)
{
    FaultRates rates{};
    for (std::size_t kind = 0; kind < FaultKinds; ++kind)
        rates[kind] = settings.single[kind].value_or(settings.common.value_or(0));
    if (std::accumulate(rates.begin(), rates.end(), 0.0) > 100.0 + 1e-9)
        throw CLI::ValidationError("--fault", "the rates of all kinds add up to more than 100 percent; "
                                              "a reply gets one fault at most, so lower some");
    return rates;
}

void addFaultOptions(CLI::App &app, FaultSettings &settings)
{
    addTexts(
        app, "--fault",
        [&](const std::string &text) {
            const auto [kind, percent] = parseFault(text);
            settings.single[std::size_t(kind)] = percent;
        },
        "How many of the replies are hit; kinds: silence, late, crc, short, long, noise")
        ->type_name("KIND=PERCENT");
    addText(
        app, "--faults", [&](const std::string &text) { settings.common = parsePercent(text); },
        "The same for every kind that --fault does not name")
        ->type_name("PERCENT");
}

void addTimeOptions(CLI::App &app, Options &options)
{
    const auto milliseconds = [&app](const char *name, Time &time, const char *help) {
        addText(
            app, name, [&time](const std::string &text) { time = parseMilliseconds(text, 0); }, help)
            ->type_name("MS");
    };
    milliseconds("--delay", options.times.delay, "From the end of a request to its reply (default 0)");
    milliseconds("--late-by", options.times.lateBy, "What a late reply takes in addition (default 1000)");
    addText(
        app, "--pace", [&](const std::string &text) { options.times.byteTime = parseSerialLine(text).byteTime(); },
        "Keeps the byte times of such a line, whatever the link is")
        ->type_name("BAUD[,8E1]");
    addText(
        app, "--for", [&](const std::string &text) { options.duration = parseSeconds(text); },
        "Ends by itself, after 0.001 to 1000000")
        ->type_name("SECONDS");
}

void addTraceOptions(CLI::App &app, formats::TraceSettings &trace)
{
    addText(
        app, "--trace",
        [&](const std::string &text) {
            if (text.empty())
                throw BadText("the name is empty");
            trace.path = text;
        },
        "Everything on the line into this file, for Wireshark; with - to stdout, and the address to stderr")
        ->type_name("FILE.pcapng");
    addText(
        app, "--trace-limit",
        [&](const std::string &text) {
            try {
                trace.limit = formats::parseTraceLimit(text);
            } catch (const std::invalid_argument &error) {
                throw BadText(error.what());
            }
        },
        "Keeps the newest of the trace, like 10M in all: FILE and, older, FILE.1; each opens alone")
        ->type_name("SIZE");
}

/// What the controller itself would do has no place beside a recording.
void addReplayOptions(CLI::App &app, Options &options)
{
    CLI::Option *const replay = addText(
        app, "--replay",
        [&](const std::string &text) {
            if (text.empty())
                throw BadText("the name is empty");
            options.replay = text;
        },
        "Answers as in this trace: the nth time that a request comes, with all that followed it there the nth "
        "time,\n"
        "noise and silence too; then from its first time on again. Requests that it does not have are counted");
    replay->type_name("FILE.pcapng");
    for (const char *other : {"--stations", "--remote", "--set", "--values", "--fault", "--faults", "--late-by"})
        replay->excludes(app.get_option(other));
    app.add_flag_callback(
           "--replay-fast", [&] { options.replayInTime = false; },
           "Answers at once, not when they came in the trace; what was late is not late then")
        ->needs(replay);
}

void addLogOptions(CLI::App &app, Options &options)
{
    CLI::Option *const log = addText(
        app, "--log", [&](const std::string &text) { options.log = chosen(LevelNames, text); },
        "quiet, normal (connections, rejections and faults; default) or all (frames too); of a flood of lines of "
        "one\n"
        "kind 20 are written, then one a second (faults 100 and 10, frames 5000 and 2000), and the others counted");
    log->type_name("LEVEL");
    app.add_flag_callback(
           "--frames", [&] { options.log = Log::Level::All; },
           "Every frame in hexadecimal, and what it says: --log all")
        ->excludes(log);
}

/// Options that are commands, carried out at the start.
struct CommandText {
    std::string option, argument;
};

void addCommandOptions(CLI::App &app, Options &options, std::vector<CommandText> &texts)
{
    const auto add = [&](const std::string &name, const char *help) {
        addTexts(
            app, "--" + name,
            [&texts, name](const std::string &text) {
                texts.push_back({name, text});
            },
            help)
            ->type_name("AREA:ADDRESS[xCOUNT][@STATION]");
    };
    add("missing", "Addresses that are not there: a request that touches one gets silence");
    add("refuse", "Addresses that refuse writes");
    const auto control = [&](const Texts &path) {
        options.control = path.empty() || path.front().empty() ? defaultSocket() : path.front();
    };
    app.add_option_function<Texts>(
           "--control", control,
           "Takes commands from 'fgs-sim ctl' while it runs, at a socket that is the second line on\n"
           "stdout; without SOCKETPATH at one of the user's")
        ->type_name("[=SOCKETPATH]")
        ->expected(0, 1);
}

void addScenarioOption(CLI::App &app, Options &options)
{
    addText(
        app, "--scenario",
        [&](const std::string &text) {
            if (text.empty())
                throw BadText("the name is empty");
            options.scenarioFile = text;
        },
        "Commands and values at the times that this file names, from the start on; --stations and --seed count\n"
        "more than what it says of them")
        ->type_name("FILE.toml")
        ->excludes(app.get_option("--replay"));
}

ScenarioFile scenarioIn(const std::string &path, const std::optional<std::vector<unsigned>> &stations,
                        const std::optional<std::uint64_t> &seed)
{
    try {
        return readScenario(path, stations, seed);
    } catch (const BadText &bad) {
        throw CLI::ValidationError("--scenario", std::string(bad.what()) + "; name a file of TOML");
    } catch (const formats::TomlError &error) {
        throw Finished{ExitUsage, std::string(error.what()) + "\n"};
    }
}

/// The other options are for the stations of the scenario, too.
void takeScenario(const CLI::App &app, Options &options)
{
    if (options.scenarioFile.empty())
        return;
    const bool areGiven = app.count("--stations") > 0, isSeeded = app.count("--seed") > 0;
    ScenarioFile file = scenarioIn(options.scenarioFile, areGiven ? std::optional(options.stations) : std::nullopt,
                                   isSeeded ? std::optional(options.seed) : std::nullopt);
    options.stations = file.stations;
    if (!isSeeded)
        options.seed = file.seed.value_or(options.seed);
    options.scenario = std::move(file.scenario);
}

std::vector<Command> parsedCommands(const std::vector<CommandText> &texts, const Options &options)
{
    std::vector<Command> commands;
    for (const CommandText &each : texts) {
        try {
            commands.push_back(parseCommand(each.option + " " + each.argument, options.stations));
        } catch (const BadText &bad) {
            throw CLI::ValidationError("--" + each.option, bad.what());
        }
    }
    return commands;
}

void requireStations(const Options &options)
{
    for (const Range &range : options.ranges) {
        const std::vector<unsigned> &all = options.stations;
        if (range.station && std::find(all.begin(), all.end(), *range.station) == all.end())
            throw CLI::ValidationError("--set", "station " + std::to_string(*range.station) +
                                                    " is not simulated; add it to --stations");
    }
}

// The library cannot tell "--pty=" from "--pty"; a script with an empty variable means the former.
void requirePath(int argc, const char *const *argv, const std::string &option, const std::string &example)
{
    const auto isEmpty = [&](const char *argument) { return argument == option + "="; };
    if (std::any_of(argv, argv + argc, isEmpty))
        throw CLI::ValidationError(option, "the path is empty; write for instance " + option + "=" + example +
                                               ", or " + option + " alone");
}

// The library's own words for an option that is there twice do not say so.
std::string complaintOf(const CLI::ParseError &error)
{
    const std::string text = error.what();
    const std::size_t twice = text.find(": At Most 1 required");
    return twice == std::string::npos ? text : text.substr(0, twice) + " is given more than once";
}

Finished wrongUsage(const CLI::App &app, const std::string &complaint)
{
    return {ExitUsage, app.get_name() + ": " + complaint + "\n" + app.get_name() + " --help lists the options.\n"};
}

Finished finished(const CLI::App &app, const CLI::ParseError &error)
{
    if (error.get_exit_code() != 0)
        return wrongUsage(app, complaintOf(error));
    std::ostringstream out, complaint;
    app.exit(error, out, complaint);
    return {0, out.str()};
}

} // namespace

Options parseArguments(int argc, const char *const *argv)
{
    Options options;
    FaultSettings faults;
    std::vector<CommandText> commands;
    CLI::App app(Description, "fgs-sim");
    app.set_version_flag("--version", "fgs-sim " FGS_SIM_VERSION);
    addLinkOptions(app, options);
    addValueOptions(app, options);
    addFaultOptions(app, faults);
    addTimeOptions(app, options);
    addReplayOptions(app, options);
    addLogOptions(app, options);
    addTraceOptions(app, options.trace);
    addCommandOptions(app, options, commands);
    addScenarioOption(app, options);
    try {
        requirePath(argc, argv, "--pty", "/tmp/plc");
        requirePath(argc, argv, "--control", "/tmp/plc.socket");
        app.parse(argc, argv);
        takeScenario(app, options);
        options.faults = ratesOf(faults);
        requireStations(options);
        options.commands = parsedCommands(commands, options);
        if (const std::string fault = formats::faultOf(options.trace); !fault.empty())
            throw wrongUsage(app, fault);
    } catch (const CLI::ParseError &error) {
        throw finished(app, error);
    }
    return options;
}

CtlOptions parseCtlArguments(int argc, const char *const *argv)
{
    CtlOptions options = {defaultSocket(), {}};
    CLI::App app(CtlDescription + commandHelp(), "fgs-sim ctl");
    Texts words;
    app.add_option("COMMAND", words, "What to do, in one or more words")->required()->type_name("");
    app.add_option("--socket", options.socket,
                   "Where the fgs-sim listens (default: where it does after --control without a path)")
        ->type_name("PATH");
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError &error) {
        throw finished(app, error);
    }
    for (const std::string &word : words)
        options.command += (options.command.empty() ? "" : " ") + word;
    return options;
}

std::string defaultSocket()
{
    const char *const folder = std::getenv("XDG_RUNTIME_DIR");
    if (folder && *folder)
        return std::string(folder) + "/fgs-sim.socket";
    return "/tmp/fgs-sim-" + std::to_string(::getuid()) + ".socket";
}

} // namespace fgssim
