#include "options.h"

#include "failure.h"
#include "help.h"
#include "host/text_error.h"

#include <CLI/CLI.hpp>
#include <sstream>

namespace fgs
{

namespace
{

const std::map<std::string, Format> FormatNames = {
    {"dec", Format::Unsigned}, {"signed", Format::Signed}, {"hex", Format::Hex}, {"float", Format::Float}};

Format formatNamed(const std::string &name)
{
    const auto found = FormatNames.find(name);
    if (found == FormatNames.end())
        throw CLI::ValidationError("--format", "'" + name + "' is none of dec, signed, hex, float");
    return found->second;
}

const int DefaultRemoteLink = 1, MaxRemoteLink = 255; ///< a frame has a byte for it
const int MostMilliseconds = 3600000;

Time millisecondsIn(const std::string &name, const std::string &text, int lowest)
{
    bool isWhole = false;
    const int ms = QString::fromStdString(text).toInt(&isWhole);
    if (!isWhole || ms < lowest || ms > MostMilliseconds)
        throw CLI::ValidationError(name, "'" + text + "' is no whole number of milliseconds from " +
                                             std::to_string(lowest) + " to " + std::to_string(MostMilliseconds));
    return std::chrono::milliseconds(ms);
}

double secondsIn(const std::string &name, const std::string &text)
{
    const double lowest = 0.001, highest = 1e9;
    bool isNumber = false;
    const double number = QString::fromStdString(text).toDouble(&isNumber);
    if (!isNumber || !(number >= lowest && number <= highest)) // as no NaN is
        throw CLI::ValidationError(name,
                                   "'" + text + "' is no number of seconds from 0.001 to 1000000000, like 1.5");
    return number;
}

template <typename Number>
std::string defaultText(Number value)
{
    return " (default " + std::to_string(value) + ")";
}

void addMilliseconds(CLI::App &app, const std::string &name, Time &time, int lowest, const std::string &help)
{
    const auto shown = std::chrono::duration_cast<std::chrono::milliseconds>(time).count();
    app.add_option_function<std::string>(
           name, [&time, name, lowest](const std::string &text) { time = millisecondsIn(name, text, lowest); },
           help + defaultText(shown))
        ->type_name("MS");
}

int linkNumberIn(const std::string &text)
{
    bool isWhole = false;
    const int number = QString::fromStdString(text).toInt(&isWhole);
    if (!isWhole || number < 0 || number > MaxRemoteLink)
        throw CLI::ValidationError("--remote",
                                   "'" + text + "' is no link number from 0 to " + std::to_string(MaxRemoteLink));
    return number;
}

void addRemote(CLI::App &app, Options &options)
{
    app.add_option_function<std::string>(
           "--remote", [&options](const std::string &text) { options.host.remoteLink = linkNumberIn(text); },
           "By remote frames, with this link number" + defaultText(DefaultRemoteLink))
        ->type_name("[=LINKNO]");
}

void addLinkOptions(CLI::App &app, Options &options)
{
    app.add_option("LINK", options.link, "Where the controllers are")->required()->type_name("");
    app.add_option("--station", options.station,
                   "Station of every VAR without @STATION" + defaultText(options.station))
        ->type_name("N")
        ->check(CLI::Range(0, MaxStation));
    addMilliseconds(app, "--timeout", options.host.timing.timeout, 1, "Time limit of an answer");
    addMilliseconds(app, "--late", options.host.timing.late, 0, "How long after that it may still come");
    addMilliseconds(app, "--gap", options.host.timing.gap, 0, "Least silence before a request");
    app.add_option("--retries", options.host.retries,
                   "How often a failing request is repeated" + defaultText(options.host.retries))
        ->type_name("N")
        ->check(CLI::Range(0, 1000));
    app.add_option("--block", options.host.blockWords,
                   "Most words that one block reads, with bits at most 31; with --remote at most 116 of either" +
                       defaultText(options.host.blockWords))
        ->type_name("WORDS")
        ->check(CLI::Range(MinBlockWords, MaxBlockWords));
    addRemote(app, options);
}

std::uint64_t traceLimitIn(const std::string &text)
{
    try {
        return formats::parseTraceLimit(text);
    } catch (const std::invalid_argument &error) {
        throw CLI::ValidationError("--trace-limit", error.what());
    }
}

void addTraceOptions(CLI::App &app, formats::TraceSettings &trace)
{
    app.add_option("--trace", trace.path,
                   "Everything on the line into this file, for Wireshark; with - to stdout, and the data to stderr")
        ->type_name("FILE.pcapng")
        ->check([](const std::string &path) { return std::string(path.empty() ? "the name is empty" : ""); });
    app.add_option_function<std::string>(
           "--trace-limit", [&trace](const std::string &text) { trace.limit = traceLimitIn(text); },
           "Keeps the newest of the trace, like 10M in all: FILE and, older, FILE.1; each opens alone")
        ->type_name("SIZE");
}

void addOutputOptions(CLI::App &app, Options &options)
{
    app.add_option_function<std::string>(
           "--format", [&options](const std::string &name) { options.format = formatNamed(name); },
           "Of words and double words: dec, signed or hex; float for double words")
        ->type_name("NAME");
    app.add_flag("--json", options.json, "One JSON object a line, the summary last");
    app.add_flag("--frames", options.frames,
                 "Every frame in hexadecimal, and what it says, on stderr; lines instead of a live table");
    addTraceOptions(app, options.trace);
    app.add_flag("--quiet", options.quiet, "No summary and no notes");
}

void addNoOptions(CLI::App &, Options &) {}

void addPollOptions(CLI::App &app, Options &options)
{
    app.add_option_function<std::string>(
           "--for", [&options](const std::string &text) { options.seconds = secondsIn("--for", text); },
           "Ends after them")
        ->type_name("SECONDS");
    app.add_option("--count", options.rounds, "Ends when every VAR was asked for that often")
        ->type_name("N")
        ->check(CLI::Range(1, 1000000000));
    addMilliseconds(app, "--interval", options.interval, 0, "From the start of one round to the next");
}

struct Command {
    Options::Command command;
    const char *name;
    const char *help;
    const char *what; ///< it reads, writes or polls
    void (*addOwnOptions)(CLI::App &app, Options &options);
};

const Command Commands[] = {
    {Options::Read, "read", "Prints the values of variables.", "VAR", addNoOptions},
    {Options::Write, "write", "Writes values, then reads them back and compares.", "ASSIGNMENT", addNoOptions},
    {Options::Poll, "poll", "Reads variables round and round: a live table on a terminal, else a line a change.",
     "VAR", addPollOptions},
};

void addCommand(CLI::App &app, Options &options, const Command &command)
{
    CLI::App *const sub = app.add_subcommand(command.name, command.help);
    sub->callback([&options, &command] { options.command = command.command; });
    addLinkOptions(*sub, options);
    addOutputOptions(*sub, options);
    sub->add_option(command.what, options.variables, "What to " + std::string(command.name))
        ->required()
        ->type_name("");
    command.addOwnOptions(*sub, options);
}

/// "read, write, poll"
std::string commandNames()
{
    std::string names;
    for (const Command &command : Commands)
        names += (names.empty() ? "" : ", ") + std::string(command.name);
    return names;
}

/// What is wrong, also where CLI11 does not name the argument.
std::string faultOf(const CLI::App &app, const CLI::ParseError &error, const std::string &first)
{
    if (!app.get_subcommands().empty())
        return error.what();
    return (first.empty() ? "a command is missing" : "'" + first + "' is no command") + "; commands are " +
           commandNames() + " and help";
}

Finished finished(const CLI::App &app, const CLI::ParseError &error, const std::string &first)
{
    if (error.get_exit_code() != 0)
        return {ExitUsage, "fgs: " + faultOf(app, error, first) + "; fgs help and fgs help COMMAND tell the rest"};
    std::ostringstream out, complaint;
    app.exit(error, out, complaint);
    if (error.get_name() != "CallForHelp")
        return {ExitOk, out.str()};
    const std::string command = app.get_subcommands().empty() ? "" : app.get_subcommands().front()->get_name();
    return {ExitOk, examplesOf(command) + out.str() + notesOf(command)};
}

/// The command whose own option this is; none if it is none's or everybody's.
const CLI::App *ownerOf(const CLI::App &app, const std::string &option)
{
    const CLI::App *owner = nullptr;
    for (const CLI::App *command : app.get_subcommands([](const CLI::App *) { return true; }))
        if (command->get_option_no_throw(option)) {
            if (owner)
                return nullptr;
            owner = command;
        }
    return owner;
}

/// CLI11 would take the value of an option that it does not know for a variable.
void refuseOptionsOfOthers(const CLI::App &app, const std::vector<std::string> &arguments)
{
    for (const std::string &argument : arguments) {
        const std::string option = argument.substr(0, argument.find('='));
        const CLI::App *const owner = option.rfind("--", 0) == 0 ? ownerOf(app, option) : nullptr;
        if (owner && owner->get_name() != arguments.front())
            throw Finished{ExitUsage, "fgs: " + option + " belongs to fgs " + owner->get_name() +
                                          "; leave it out, or use fgs " + owner->get_name()};
    }
}

bool isCommand(const std::string &name)
{
    return std::any_of(std::begin(Commands), std::end(Commands),
                       [&name](const Command &command) { return command.name == name; });
}

/// "help" and "help COMMAND" as the options that they stand for.
std::vector<std::string> withHelpAsOption(std::vector<std::string> arguments)
{
    if (arguments.empty() || arguments.front() != "help")
        return arguments;
    arguments.erase(arguments.begin());
    arguments.resize(std::min<std::size_t>(arguments.size(), 1));
    if (arguments.empty() || isCommand(arguments.front()))
        arguments.push_back("--help");
    return arguments;
}

/// "--remote" as "--remote=1", because CLI11 would take the LINK behind it for the number.
std::vector<std::string> withRemoteNumber(std::vector<std::string> arguments)
{
    if (std::find(arguments.begin(), arguments.end(), "--remote=") != arguments.end())
        throw Finished{ExitUsage,
                       "fgs: --remote=: '' is no link number from 0 to " + std::to_string(MaxRemoteLink)};
    std::replace(arguments.begin(), arguments.end(), std::string("--remote"),
                 "--remote=" + std::to_string(DefaultRemoteLink));
    return arguments;
}

} // namespace

Options parseArguments(int argc, const char *const *argv)
{
    Options options;
    CLI::App app("Reads, writes and watches controllers of the FGs series.", "fgs");
    app.set_version_flag("--version", "fgs " FGS_VERSION);
    app.require_subcommand(1);
    for (const Command &command : Commands)
        addCommand(app, options, command);
    std::vector<std::string> arguments = withRemoteNumber(withHelpAsOption({argv + 1, argv + std::max(1, argc)}));
    refuseOptionsOfOthers(app, arguments);
    const std::string first = arguments.empty() ? "" : arguments.front();
    std::reverse(arguments.begin(), arguments.end()); // as CLI11 wants them
    try {
        app.parse(arguments);
        if (const std::string fault = formats::faultOf(options.trace); !fault.empty())
            throw Finished{ExitUsage, "fgs: " + fault};
    } catch (const CLI::ParseError &error) {
        throw finished(app, error, first);
    }
    return options;
}

std::vector<Tag> readableTags(const Options &options)
{
    std::vector<Tag> tags;
    for (const std::string &text : options.variables) {
        tags.push_back(parseTag(QString::fromStdString(text), options.station));
        if (tags.back().variable.station == 0)
            throw TextError(QStringLiteral("variable '%1': station 0 means all stations and cannot be read")
                                .arg(QString::fromStdString(text)));
    }
    return tags;
}

} // namespace fgs
