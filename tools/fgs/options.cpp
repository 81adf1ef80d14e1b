#include "options.h"

#include "completion.h"
#include "help.h"
#include "host/text_error.h"
#include "tools/failure.h"
#include "tools/trace_options.h"

#include <CLI/CLI.hpp>
#include <QtCore/QRegularExpression>
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

/// Of every command.
void addPlaceOptions(CLI::App &app, Options &options, bool needsLink)
{
    app.add_option("LINK", options.link,
                   "Where the controllers are, or FILE.toml with the link and names of variables")
        ->required(needsLink)
        ->type_name("");
    app.add_option("--link", options.otherLink, "In place of the link in FILE.toml")->type_name("LINK");
    app.add_option("--station", options.station,
                   "Station of every VAR without @STATION" + defaultText(options.station))
        ->type_name("N")
        ->check(CLI::Range(0, MaxStation));
    app.add_option("--block", options.host.blockWords,
                   "Most words that one block reads, with bits at most 31; with --remote at most 116 of either" +
                       defaultText(options.host.blockWords))
        ->type_name("WORDS")
        ->check(CLI::Range(MinBlockWords, MaxBlockWords));
    addMilliseconds(app, "--gap", options.host.timing.gap, 0, "Least silence before a request");
}

/// Of those that talk to controllers.
void addLinkOptions(CLI::App &app, Options &options)
{
    addMilliseconds(app, "--timeout", options.host.timing.timeout, 1, "Time limit of an answer");
    addMilliseconds(app, "--late", options.host.timing.late, 0, "How long after that it may still come");
    app.add_option("--retries", options.host.retries,
                   "How often a failing request is repeated" + defaultText(options.host.retries))
        ->type_name("N")
        ->check(CLI::Range(0, 1000));
    addRemote(app, options);
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
    addTraceOptions(app, options.trace, ", and the data to stderr");
    app.add_flag("--quiet", options.quiet, "No summary and no notes");
}

void addPlanOptions(CLI::App &app, Options &options)
{
    addMilliseconds(app, "--answer", options.answer, 0, "What the controller takes from a request to its reply");
    app.add_flag("--json", options.json, "One JSON object");
    addRemote(app, options);
}

void addNoOptions(CLI::App &, Options &) {}

/// Whole milliseconds.
Time spanIn(const std::string &name, const std::string &text)
{
    return std::chrono::milliseconds(static_cast<int>(std::min(secondsIn(name, text), 1e6) * 1000));
}

void addSearchOptions(CLI::App &app, SearchOptions &search)
{
    app.add_option("--probe", search.probe,
                   "The word that is read: any that all stations have (default " + search.probe + ")")
        ->type_name("AREA:ADDRESS");
    addMilliseconds(app, "--timeout", search.patience, 1,
                    "Time limit of an answer, beside the time that its bytes take");
    app.add_option_function<std::string>(
           "--listen", [&search](const std::string &text) { search.listen = spanIn("--listen", text); },
           "How long to listen before anything is sent" +
               defaultText(std::chrono::duration_cast<std::chrono::seconds>(search.listen).count()))
        ->type_name("SECONDS");
}

void addScanOptions(CLI::App &app, Options &options)
{
    SearchOptions &search = options.scan;
    app.add_option("LINK", options.link, "The device, without settings, or tcp:HOST:PORT")
        ->required()
        ->type_name("");
    app.add_option("--stations", search.stations,
                   "Which are asked, the first of them ahead of the others (default 1-32)")
        ->type_name("LIST");
    app.add_option("--speeds", search.speeds, "Which are tried (default 19200,9600,115200,38400,57600,4800,2400)")
        ->type_name("LIST");
    app.add_option("--formats", search.formats, "Which are tried (default 8E1,8N1,8O1)")->type_name("LIST");
    addSearchOptions(app, search);
    app.add_flag("--dry-run", search.dryRun, "Tells what would be tried, and how long that takes at most");
    app.add_flag("--json", options.json, "The result as one JSON object");
    app.add_flag("--quiet", options.quiet, "No notes and no progress");
}

void addReadOptions(CLI::App &app, Options &options)
{
    app.add_flag("--csv", options.csv,
                 "One row a value, for spreadsheets: time, variable, name, value, unit, quality, "
                 "reason")
        ->excludes("--json");
}

struct ViewColumn {
    const char *name;
    bool TableView::*isShown;
};

const ViewColumn ViewColumns[] = {
    {"each", &TableView::each}, {"range", &TableView::range}, {"trend", &TableView::trend}};

void show(const std::string &name, TableView &view)
{
    for (const ViewColumn &column : ViewColumns)
        if (name == column.name) {
            view.*column.isShown = true;
            return;
        }
    throw CLI::ValidationError("--show", "'" + name + "' is none of each, range, trend");
}

/// Names with commas between them.
TableView viewOf(const std::string &names)
{
    TableView view;
    std::istringstream list(names);
    for (std::string name; std::getline(list, name, ',');)
        show(name, view);
    return view;
}

void addPollOptions(CLI::App &app, Options &options)
{
    addReadOptions(app, options);
    app.add_option_function<std::string>(
           "--show", [&options](const std::string &names) { options.view = viewOf(names); },
           "In the live table: each (a row for each value), range (smallest, mean, largest), trend; as keys e, r, "
           "t")
        ->type_name("LIST");
    app.add_option_function<std::string>(
           "--for", [&options](const std::string &text) { options.seconds = secondsIn("--for", text); },
           "Ends after them")
        ->type_name("SECONDS");
    app.add_flag("--stats", options.stats, "At the end, and on SIGUSR1, how many round trips took how long");
    CLI::Option *const count =
        app.add_option("--count", options.rounds, "Ends when every VAR was asked for that often")
            ->type_name("N")
            ->check(CLI::Range(1, 1000000000));
    app.add_flag("--once", options.once, "Asks for every VAR once, prints each in a line and ends")
        ->excludes(count);
    addMilliseconds(app, "--interval", options.interval, 0, "From the start of one round to the next");
}

void addDecodeOptions(CLI::App &app, Options &options)
{
    app.add_option("INPUT", options.inputs,
                   "Hexadecimal digits, files, or - for stdin, which is taken if there is none")
        ->type_name("");
    app.add_flag("--json", options.json, "One JSON object for each request with all that came for it");
}

void addDoctorOptions(CLI::App &app, Options &options)
{
    app.add_option("LINK", options.link, "What is looked at; not needed with --list")->type_name("");
    app.add_option("--station", options.doctor.stations, "Which stations are to answer (default 1)")
        ->type_name("LIST");
    addSearchOptions(app, options.doctor);
    app.add_flag("--list", options.list, "Tells the checks, and makes none");
    app.add_flag("--json", options.json, "One JSON object a check, the counts last");
}

struct Command {
    Options::Command command;
    const char *name;
    const char *help;
    const char *what; ///< it reads, writes, polls or plans; null: all its options are its own
    bool opensLink;
    void (*addOwnOptions)(CLI::App &app, Options &options);
};

const Command Commands[] = {
    {Options::Read, "read", "Prints the values of variables.", "VAR", true, addReadOptions},
    {Options::Write, "write", "Writes values, then reads them back and compares.", "ASSIGNMENT", true,
     addNoOptions},
    {Options::Poll, "poll", "Reads variables round and round: a live table on a terminal, else a line a change.",
     "VAR", true, addPollOptions},
    {Options::Plan, "plan",
     "Shows what the driver would send for variables, and what that costs the line; opens no link.", "VAR", false,
     addPlanOptions},
    {Options::Scan, "scan", "Finds the speed, the format and the stations of a line: listens, then asks.", nullptr,
     false, addScanOptions},
    {Options::Doctor, "doctor", "Looks for what keeps a line from working, and tells what to do.", nullptr, false,
     addDoctorOptions},
    {Options::Decode, "decode", "Explains what was on a line: traces, and bytes in hexadecimal.", nullptr, false,
     addDecodeOptions},
};

std::string whatText(const Command &command)
{
    return "What to " + std::string(command.name) +
           (command.command == Options::Write ? "" : "; with FILE.toml all that it names if left out");
}

const char *whatOf(const Options &options)
{
    return std::find_if(std::begin(Commands), std::end(Commands),
                        [&options](const Command &each) { return each.command == options.command; })
        ->what;
}

bool isFile(const std::string &link)
{
    const std::string ending = ".toml";
    return link.size() >= ending.size() && link.compare(link.size() - ending.size(), ending.size(), ending) == 0;
}

bool isVariable(const std::string &text)
{
    static const QRegularExpression form(QStringLiteral("^[0-9]+:[0-9]"));
    return form.match(QString::fromStdString(text)).hasMatch();
}

/// Nothing is opened, so the link may be left out, and of its settings alone a link is made.
void supplyPlannedLink(Options &options)
{
    static const QRegularExpression settings(QStringLiteral("^[0-9]+(,[5-8][NEO][12])?$"));
    if (isVariable(options.link))
        options.variables.insert(options.variables.begin(), std::exchange(options.link, {}));
    else if (settings.match(QString::fromStdString(options.link)).hasMatch())
        options.link = "/dev/line:" + options.link;
}

/// The first argument is a file or a link. Throws what CLI11 would.
void tellFileFromLink(Options &options)
{
    if (options.command == Options::Plan)
        supplyPlannedLink(options);
    if (isFile(options.link))
        options.file = std::exchange(options.link, options.otherLink);
    else if (!options.otherLink.empty())
        throw CLI::ValidationError("--link", "it replaces the link of a file, and there is none; write " +
                                                 options.otherLink + " in place of " + options.link);
    if (options.variables.empty() && options.file.empty())
        throw CLI::RequiredError(whatOf(options));
}

void addVariableOptions(CLI::App &app, Options &options, const Command &command)
{
    addPlaceOptions(app, options, command.opensLink);
    if (command.opensLink) {
        addLinkOptions(app, options);
        addOutputOptions(app, options);
    }
    app.add_option(command.what, options.variables, whatText(command))
        ->required(command.command == Options::Write)
        ->type_name("");
}

void addCommand(CLI::App &app, Options &options, const Command &command)
{
    CLI::App *const sub = app.add_subcommand(command.name, command.help);
    sub->callback([&options, &command] { options.command = command.command; });
    if (command.what)
        addVariableOptions(*sub, options, command);
    command.addOwnOptions(*sub, options);
}

/// "read, write, poll, plan"
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
    if (!app.get_subcommands().empty() || first.rfind("--completion", 0) == 0)
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

struct Shell {
    const char *name;
    std::string (*completion)(const std::vector<CompletedCommand> &commands);
};

const Shell Shells[] = {{"bash", bashCompletion}, {"zsh", zshCompletion}};

std::vector<std::string> choicesOf(const std::string &option)
{
    std::vector<std::string> names;
    if (option == "--format")
        for (const auto &format : FormatNames)
            names.push_back(format.first);
    if (option == "--completion")
        for (const Shell &shell : Shells)
            names.emplace_back(shell.name);
    if (option == "--show")
        for (const ViewColumn &column : ViewColumns)
            names.emplace_back(column.name);
    return names;
}

/// Without what CLI11 adds for its checks.
std::string placeholderOf(const CLI::Option &option)
{
    const std::string name = option.get_type_name();
    return name.substr(0, name.find(':'));
}

CompletedCommand completedOf(const CLI::App &app, const std::string &name)
{
    CompletedCommand command{name, app.get_description(), {}};
    for (const CLI::Option *option : app.get_options())
        if (!option->get_lnames().empty()) {
            const std::string optionName = "--" + option->get_lnames().front();
            const bool takesValue = option->get_items_expected_max() > 0;
            command.options.push_back({optionName, option->get_description(),
                                       takesValue ? placeholderOf(*option) : "", choicesOf(optionName)});
        }
    return command;
}

std::string completionFor(const CLI::App &app, const std::string &shell)
{
    std::vector<CompletedCommand> commands{completedOf(app, "")};
    for (const Command &command : Commands)
        commands.push_back(completedOf(*app.get_subcommand(command.name), command.name));
    for (const Shell &each : Shells)
        if (shell == each.name)
            return each.completion(commands);
    throw CLI::ValidationError("--completion", "'" + shell + "' is none of bash, zsh");
}

void addCompletion(CLI::App &app)
{
    app.add_option_function<std::string>(
           "--completion",
           [&app](const std::string &shell) {
               throw Finished{ExitOk, completionFor(app, shell)};
           },
           "Prints what completes the command line in a shell: bash or zsh")
        ->type_name("SHELL")
        ->trigger_on_parse();
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
    addCompletion(app);
    app.require_subcommand(1);
    for (const Command &command : Commands)
        addCommand(app, options, command);
    std::vector<std::string> arguments = withRemoteNumber(withHelpAsOption({argv + 1, argv + std::max(1, argc)}));
    refuseOptionsOfOthers(app, arguments);
    const std::string first = arguments.empty() ? "" : arguments.front();
    std::reverse(arguments.begin(), arguments.end()); // as CLI11 wants them
    try {
        app.parse(arguments);
        if (whatOf(options))
            tellFileFromLink(options);
        if (const std::string fault = formats::faultOf(options.trace); !fault.empty())
            throw Finished{ExitUsage, "fgs: " + fault};
    } catch (const CLI::ParseError &error) {
        throw finished(app, error, first);
    }
    return options;
}

void takeFile(Options &options)
{
    if (options.file.empty())
        return;
    options.named = readTagFile(QString::fromStdString(options.file), options.station);
    if (options.link.empty())
        options.link = options.named.link.toStdString();
    if (options.link.empty() && options.command != Options::Plan)
        throw TextError(QStringLiteral("file '%1' has no link; add one, like link = \"/dev/ttyUSB0:19200,8E1\", or "
                                       "give --link LINK")
                            .arg(QString::fromStdString(options.file)));
}

std::vector<Tag> readableTags(const Options &options)
{
    if (options.variables.empty())
        return options.named.tags();
    std::vector<Tag> tags;
    for (const std::string &text : options.variables) {
        tags.push_back(tagMeant(options.named, QString::fromStdString(text), options.station));
        if (tags.back().variable.station == 0)
            throw TextError(QStringLiteral("variable '%1': station 0 means all stations and cannot be read")
                                .arg(QString::fromStdString(text)));
    }
    return tags;
}

} // namespace fgs
