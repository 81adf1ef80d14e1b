#include "options.h"

#include "help.h"
#include "tools/failure.h"
#include "tools/trace_options.h"

#include <algorithm>
#include <CLI/CLI.hpp>
#include <sstream>

namespace fgs
{

namespace
{

/// A thing to do with the file in place of running.
struct Command {
    Options::Command command;
    const char *option;
    const char *help;
    bool hasJson;
};

const Command Commands[] = {
    {Options::Check, "--check", "Tells all that is wrong with the file, and opens nothing", false},
    {Options::Plan, "--plan", "Shows blocks, frames, cycle time and messages, and opens nothing", true},
    {Options::Test, "--test", "Reads once and prints what would be published, without a broker", true},
    {Options::Doctor, "--doctor", "Looks for what keeps file, broker and line from working", true}};

struct Given {
    std::vector<Options::Command> commands;
};

void addCommands(CLI::App &app, Given &given)
{
    for (const Command &command : Commands)
        app.add_flag_callback(
            command.option, [&given, &command] { given.commands.push_back(command.command); }, command.help);
}

void addOptions(CLI::App &app, Options &options, Given &given)
{
    app.add_option("FILE", options.file, "What the gateway does: link, broker, groups of variables")->type_name("");
    addCommands(app, given);
    app.add_option("--init", options.link, "Prints a file with comments for a gateway on this link")
        ->type_name("LINK");
    app.add_flag("--json", options.json, "Of --plan, --test and --doctor: JSON, an object a line");
    app.add_flag("--read-only", options.readOnly, "Writes nothing, whatever the file allows");
    addTraceOptions(app, options.trace);
}

Finished usage(const std::string &fault)
{
    return {ExitUsage, "fgs-gateway: " + fault + "; fgs-gateway --help tells the rest"};
}

bool hasJson(Options::Command wanted)
{
    return std::any_of(std::begin(Commands), std::end(Commands),
                       [wanted](const Command &each) { return each.command == wanted && each.hasJson; });
}

/// What cannot be together, or is missing; empty if nothing.
std::string faultOf(const Options &options)
{
    const bool isRun = options.command == Options::Run;
    if (options.file.empty() && options.command != Options::Init)
        return "the file is missing; fgs-gateway --init LINK prints one to begin with";
    if (!options.file.empty() && options.command == Options::Init)
        return "--init reads no file; write fgs-gateway --init LINK > " + options.file;
    if (options.json && !hasJson(options.command))
        return "--json goes with --plan, --test and --doctor only; leave it out";
    if (options.readOnly && !isRun)
        return "--read-only is of a running gateway; leave it out, nothing is written here";
    if (options.trace.isWanted() && !isRun)
        return "--trace is of a running gateway; leave it out";
    return formats::faultOf(options.trace);
}

void judge(Options &options, const Given &given, const CLI::App &app)
{
    std::vector<Options::Command> commands = given.commands;
    if (app.count("--init") > 0)
        commands.push_back(Options::Init);
    if (commands.size() > 1)
        throw usage("--check, --plan, --test, --doctor and --init exclude each other; choose one");
    if (!commands.empty())
        options.command = commands.front();
    if (const std::string fault = faultOf(options); !fault.empty())
        throw usage(fault);
}

Finished finished(const CLI::App &app, const CLI::ParseError &error)
{
    if (error.get_exit_code() != 0)
        return usage(error.what());
    std::ostringstream out, complaint;
    app.exit(error, out, complaint);
    return {ExitOk, error.get_name() == "CallForHelp" ? examples() + out.str() + notes() : out.str()};
}

} // namespace

Options parseArguments(int argc, const char *const *argv)
{
    Options options;
    Given given;
    CLI::App app("Carries the values of a line's controllers to an MQTT broker, and commands back.", "fgs-gateway");
    app.set_version_flag("--version", "fgs-gateway " FGS_VERSION);
    addOptions(app, options, given);
    std::vector<std::string> arguments(argv + std::min(1, argc), argv + argc);
    std::reverse(arguments.begin(), arguments.end()); // as CLI11 wants them
    try {
        app.parse(arguments);
    } catch (const CLI::ParseError &error) {
        throw finished(app, error);
    }
    judge(options, given, app);
    return options;
}

} // namespace fgs
