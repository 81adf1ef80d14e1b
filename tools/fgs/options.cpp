#include "options.h"

#include "failure.h"
#include "host/text_error.h"

#include <CLI/CLI.hpp>
#include <sstream>

namespace fgs
{

namespace
{

// Every help begins with examples: that of a command with its own, that of the program with all.
const char *const ReadExample =
    "  fgs read  /dev/ttyUSB0:19200,8E1 5:100x4 0:17@2     four words of station 1 and a bit of station 2\n";
const char *const WriteExample =
    "  fgs write tcp:192.168.0.9:5020 5:100=1,2,0x1F       three words, read back and compared\n";
const char *const PollExample =
    "  fgs poll  /dev/pts/3 5:100x10 10:5 --interval 200   a live table, until Ctrl-C\n";

const char *const Footer = R"(
LINK is DEVICE[:BAUD[,8E1]] (without settings 19200,8E1) or tcp:HOST:PORT.

VAR is AREA:ADDRESS[xCOUNT][@STATION]. Areas, and how their addresses are written:
  0 (read-only), 1          bits, octal
  2, 3, 4, 11               bits, decimal
  5, 6, 7, 8 (read-only),
  9, 12, 13                 words, decimal
  10                        double words, decimal

ASSIGNMENT is VAR=VALUE[,VALUE...]; the count of its VAR may be left out.

Data goes to stdout, messages and the summary to stderr.
Exit code: 0 ok, 1 other, 2 usage, 3 the link cannot be opened or was lost, 4 no reply, 6 bad reply,
7 the controller holds other values than were written, 8 some variables have no value, 130 interrupted.
)";

const std::map<std::string, Format> FormatNames = {
    {"dec", Format::Unsigned}, {"signed", Format::Signed}, {"hex", Format::Hex}, {"float", Format::Float}};

Format formatNamed(const std::string &name)
{
    const auto found = FormatNames.find(name);
    if (found == FormatNames.end())
        throw CLI::ValidationError("--format", "'" + name + "' is none of dec, signed, hex, float");
    return found->second;
}

void addMilliseconds(CLI::App &app, const std::string &name, Time &time, int lowest, const std::string &help)
{
    const auto shown = std::chrono::duration_cast<std::chrono::milliseconds>(time).count();
    app.add_option_function<int>(
           name, [&time](int ms) { time = std::chrono::milliseconds(ms); },
           help + " (default " + std::to_string(shown) + ")")
        ->type_name("MS")
        ->check(CLI::Range(lowest, 3600000));
}

void addLinkOptions(CLI::App &app, Options &options)
{
    app.add_option("LINK", options.link, "Where the controllers are")->required()->type_name("");
    app.add_option("--station", options.station, "Station of every VAR without @STATION (default 1)")
        ->type_name("N")
        ->check(CLI::Range(0, MaxStation));
    addMilliseconds(app, "--timeout", options.host.timing.timeout, 1, "Time limit of an answer");
    addMilliseconds(app, "--late", options.host.timing.late, 0, "How long after that it may still come");
    addMilliseconds(app, "--gap", options.host.timing.gap, 0, "Least silence before a request");
    app.add_option("--retries", options.host.retries, "How often a failing request is repeated (default 2)")
        ->type_name("N")
        ->check(CLI::Range(0, 1000));
    app.add_option("--block", options.host.blockWords,
                   "Most words that one block reads (default 64); with bits at most 31")
        ->type_name("WORDS")
        ->check(CLI::Range(MinBlockWords, MaxBlockWords));
}

void addOutputOptions(CLI::App &app, Options &options)
{
    app.add_option_function<std::string>(
           "--format", [&options](const std::string &name) { options.format = formatNamed(name); },
           "Of words and double words: dec, signed or hex; float for double words")
        ->type_name("NAME");
    app.add_flag("--json", options.json, "One JSON object a line, the summary last");
    app.add_flag("--trace", options.trace, "Every frame in hexadecimal, and what it says, on stderr");
    app.add_flag("--quiet", options.quiet, "No summary and no notes");
}

CLI::App *addCommand(CLI::App &app, Options &options, Options::Command command, const char *name, const char *help,
                     const char *variables)
{
    CLI::App *const sub = app.add_subcommand(name, help);
    sub->callback([&options, command] { options.command = command; });
    addLinkOptions(*sub, options);
    addOutputOptions(*sub, options);
    sub->add_option(variables, options.variables, "What to " + std::string(name))->required()->type_name("");
    return sub;
}

void addPollOptions(CLI::App &app, Options &options)
{
    app.add_option("--for", options.seconds, "Ends after them")
        ->type_name("SECONDS")
        ->check(CLI::Range(0.001, 1e9));
    app.add_option("--count", options.cycles, "Ends when every VAR was asked for that often")
        ->type_name("N")
        ->check(CLI::Range(1, 1000000000));
    addMilliseconds(app, "--interval", options.interval, 0, "From the start of one round to the next");
}

std::string examplesFor(const CLI::App &app)
{
    std::string examples = "Examples:\n";
    for (const auto &[name, text] :
         {std::pair{"read", ReadExample}, {"write", WriteExample}, {"poll", PollExample}})
        if (app.get_subcommands().empty() || app.got_subcommand(name))
            examples += text;
    return examples + "\n";
}

/// What is wrong, also where CLI11 does not name the argument.
std::string faultOf(const CLI::App &app, const CLI::ParseError &error, const char *first)
{
    if (!app.get_subcommands().empty())
        return error.what();
    return (first ? "'" + std::string(first) + "' is no command" : "a command is missing") +
           "; commands are read, write and poll";
}

Finished finished(const CLI::App &app, const CLI::ParseError &error, const char *first)
{
    if (error.get_exit_code() != 0)
        return {ExitUsage,
                "fgs: " + faultOf(app, error, first) + "; fgs --help and fgs COMMAND --help tell the rest"};
    std::ostringstream out, complaint;
    app.exit(error, out, complaint);
    if (error.get_name() != "CallForHelp")
        return {ExitOk, out.str()};
    return {ExitOk, examplesFor(app) + out.str() + Footer};
}

} // namespace

Options parseArguments(int argc, const char *const *argv)
{
    Options options;
    CLI::App app("Reads, writes and watches controllers of the FGs series.", "fgs");
    app.set_version_flag("--version", "fgs " FGS_VERSION);
    app.require_subcommand(1);
    addCommand(app, options, Options::Read, "read", "Prints the values of variables.", "VAR");
    addCommand(app, options, Options::Write, "write", "Writes values, then reads them back and compares.",
               "ASSIGNMENT");
    addPollOptions(*addCommand(app, options, Options::Poll, "poll",
                               "Reads variables round and round: a live table on a terminal, else a line a change.",
                               "VAR"),
                   options);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError &error) {
        throw finished(app, error, argc > 1 ? argv[1] : nullptr);
    }
    return options;
}

std::vector<Variable> readableVariables(const Options &options)
{
    std::vector<Variable> variables;
    for (const std::string &text : options.variables) {
        variables.push_back(parseVariable(QString::fromStdString(text), options.station));
        if (variables.back().station == 0)
            throw TextError(QStringLiteral("variable '%1': station 0 means all stations and cannot be read")
                                .arg(QString::fromStdString(text)));
    }
    return variables;
}

} // namespace fgs
