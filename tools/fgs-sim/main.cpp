// fgs-sim, a simulated controller of the FGs series.
//
//   fgs-sim [--pty[=LINKPATH] | --serial DEVICE[:BAUD[,8E1]] | --tcp [HOST:]PORT] [--stations LIST] [--remote]
//           [--set AREA:ADDRESS[xCOUNT][@STATION]=VALUE]... [--values still|moving|pattern] [--tick MS]
//           [--fault KIND=PERCENT]... [--faults PERCENT] [--late-by MS] [--delay MS] [--pace BAUD[,8E1]]
//           [--seed N] [--for SECONDS] [--log quiet|normal|all | --frames]
//           [--trace FILE.pcapng [--trace-limit SIZE]] [--replay FILE.pcapng [--replay-fast]]
//           [--missing PLACE]... [--refuse PLACE]... [--scenario FILE.toml] [--control[=SOCKETPATH]]
//   fgs-sim ctl [--socket PATH] COMMAND...
//
// The first line on stdout is where the controller can be reached, as fgs takes it: a device path or tcp:HOST:PORT.
// The log and the final summary go to stderr. Exit code: 0 ended as asked (by a signal or --for), 1 other, 2 wrong
// usage, 3 the link cannot be opened or was lost. README.md beside this file tells the rest.
#include "channel.h"
#include "control.h"
#include "ctl.h"
#include "endpoint.h"
#include "line_trace.h"
#include "log_times.h"
#include "replay_file.h"
#include "signals.h"
#include "sim/describe.h"
#include "tools/standard_streams.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QTimer>

#include <cerrno>
#include <cstdio>
#include <cstring>

using namespace fgssim;

namespace
{

void writeLog(const std::string &line)
{
    std::fprintf(stderr, "%s %s\n", wallClock().c_str(), line.c_str());
}

std::optional<Replay> openReplay(const Options &options)
{
    if (options.replay.empty())
        return std::nullopt;
    return readReplay(options.replay, options.replayInTime,
                      [](const std::string &warning) { std::fprintf(stderr, "fgs-sim: %s\n", warning.c_str()); });
}

Simulation makeSimulation(const Options &options)
{
    Motion motion(options.stations, options.ranges, options.values, options.seed);
    return {
        Controller(options.stations, Memory(std::move(motion)), options.remote ? RemoteFraming : ControllerFraming),
        FaultChooser(options.faults, options.seed),
        Log(options.log, writeLog),
        {},
        {},
        openReplay(options),
        Strikes(options.seed)};
}

/// stdout belongs to the trace if that goes there.
void announce(const std::string &text, bool isOnStdout)
{
    std::FILE *const stream = isOnStdout ? stdout : stderr;
    if (std::fprintf(stream, "%s\n", text.c_str()) < 0 || std::fflush(stream) != 0)
        throw std::runtime_error("cannot write " + text + " to the standard output: " + std::strerror(errno));
}

/// What runs, where, and what the user has set.
void tellStart(Log &log, const Options &options, const Endpoint &link)
{
    const auto say = [&](const std::string &line) { log.write(Log::Topic::State, now(), [&] { return line; }); };
    const std::string doing = options.replay.empty()
                                  ? "simulating " + std::to_string(options.stations.size()) + " station(s)"
                                  : "replaying " + options.replay;
    say(doing + " on " + link.address() + (options.remote ? ", by remote frames" : ""));
    for (const Range &range : options.ranges)
        say("set " + describe(range));
    for (const Command &command : options.commands)
        say(command.text);
    if (options.scenario)
        say("scenario " + options.scenarioFile + ", seed " + std::to_string(options.seed));
}

std::optional<LineTrace> openTrace(const formats::TraceSettings &settings)
{
    try {
        return settings.isWanted() ? std::optional<LineTrace>(std::in_place, settings) : std::nullopt;
    } catch (const formats::TraceError &error) {
        throw std::runtime_error("the trace '" + settings.path + "' " + error.what());
    }
}

formats::Interface lineOf(const Options &options, const Endpoint &link)
{
    const auto *const serial = std::get_if<SerialAddress>(&options.link);
    return {link.address(), serial ? textOf(serial->line) : ""};
}

void record(LineTrace &trace, const TappedFrame &frame)
{
    trace.record(frame);
    if (const std::string news = trace.news(); !news.empty())
        std::fprintf(stderr, "fgs-sim: %s\n", news.c_str());
}

/// False: something is missing in it, and has been told.
bool endTrace(std::optional<LineTrace> &trace)
{
    const std::string problem = trace ? trace->end() : "";
    if (!problem.empty())
        std::fprintf(stderr, "fgs-sim: %s\n", problem.c_str());
    return problem.empty();
}

/// Calls `use` in these intervals, until the program ends.
template <typename Use>
void every(Time interval, Use use)
{
    auto *const timer = new QTimer(QCoreApplication::instance());
    QObject::connect(timer, &QTimer::timeout, timer, use);
    timer->start(std::chrono::duration_cast<std::chrono::milliseconds>(interval));
}

/// Carries the scenario out from now on, until the program ends.
void follow(const Scenario &scenario, Simulation &simulation)
{
    auto *const timer = new QTimer(QCoreApplication::instance());
    timer->setSingleShot(true);
    timer->setTimerType(Qt::PreciseTimer);
    const auto step = [timer, &simulation, run = std::make_shared<ScenarioRun>(scenario, now())] {
        run->advance(simulation, now());
        if (const std::optional<Time> next = run->nextEvent())
            timer->start(std::chrono::ceil<std::chrono::milliseconds>(std::max(*next - now(), Time(0))));
    };
    QObject::connect(timer, &QTimer::timeout, timer, step);
    step();
}

int run(const Options &options)
{
    Simulation simulation = makeSimulation(options); // first: the new trace may overwrite the one to replay
    std::optional<LineTrace> trace = openTrace(options.trace);
    if (trace)
        simulation.tap = [&trace](const TappedFrame &frame) { record(*trace, frame); };
    quitOnSignals();
    const std::unique_ptr<Endpoint> link = std::visit(
        [&](const auto &address) { return openEndpoint(simulation, options.times, address); }, options.link);
    every(options.tick, [&] { simulation.controller.tick(); });
    every(std::chrono::seconds(1), [&] { simulation.log.advance(now()); });
    if (options.duration > Time(0))
        QTimer::singleShot(std::chrono::ceil<std::chrono::milliseconds>(options.duration),
                           QCoreApplication::instance(), &QCoreApplication::quit);
    if (trace)
        trace->nameLine(lineOf(options, *link));
    for (const Command &command : options.commands)
        command.carryOut(simulation, now());
    std::optional<Control> control;
    if (options.control)
        control.emplace(simulation, *options.control);
    announce(link->address(), !options.trace.isToStdout());
    if (options.control)
        announce("control " + *options.control, !options.trace.isToStdout());
    tellStart(simulation.log, options, *link);
    if (options.scenario)
        follow(*options.scenario, simulation);
    const int code = QCoreApplication::exec();
    simulation.log.flush();
    std::fprintf(stderr, "%s\n", summary(simulation.counters).c_str());
    if (simulation.replay)
        std::fprintf(stderr, "replay: %s\n", summary(simulation.replay->counters()).c_str());
    return endTrace(trace) || code != 0 ? code : ExitOther;
}

int report(const Finished &finished)
{
    std::fprintf(finished.code == 0 ? stdout : stderr, "%s", finished.text.c_str());
    return finished.code;
}

int fail(ExitCode code, const std::exception &error)
{
    std::fprintf(stderr, "fgs-sim: %s\n", error.what());
    return code;
}

} // namespace

int main(int argc, char **argv)
{
    occupyStandardStreams();
    try {
        if (argc > 1 && std::strcmp(argv[1], "ctl") == 0)
            return runCtl(parseCtlArguments(argc - 1, argv + 1));
        const Options options = parseArguments(argc, argv); // before Qt may change the form of numbers
        int nameOnly = 1;                                   // the arguments are not for Qt
        QCoreApplication app(nameOnly, argv);
        return run(options);
    } catch (const Finished &finished) {
        return report(finished);
    } catch (const EndpointError &error) {
        return fail(ExitLink, error);
    } catch (const std::exception &error) {
        return fail(ExitOther, error);
    }
}
