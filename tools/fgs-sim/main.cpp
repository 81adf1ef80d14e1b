// fgs-sim, a simulated controller of the FGs series.
//
//   fgs-sim [--pty[=LINKPATH] | --serial DEVICE[:BAUD[,8E1]] | --tcp [HOST:]PORT] [--stations LIST]
//           [--set AREA:ADDRESS[xCOUNT][@STATION]=VALUE]... [--values still|moving|pattern] [--tick MS]
//           [--fault KIND=PERCENT]... [--faults PERCENT] [--late-by MS] [--delay MS] [--pace BAUD[,8E1]]
//           [--seed N] [--for SECONDS] [--log quiet|normal|all]
//
// The first line on stdout is where the controller can be reached: a device path or HOST:PORT. The log and
// the final summary go to stderr. Exit code: 0 ended as asked (by a signal or --for), 1 other, 2 wrong usage, 3
// the link cannot be opened or was lost. README.md beside this file tells the rest.
#include "endpoint.h"
#include "signals.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QDateTime>
#include <QtCore/QTimer>

#include <cstdio>

using namespace fgssim;

namespace
{

void writeLog(const std::string &line)
{
    const QByteArray time = QDateTime::currentDateTime().toString(Qt::ISODateWithMs).toLatin1();
    std::fprintf(stderr, "%s %s\n", time.constData(), line.c_str());
}

Simulation makeSimulation(const Options &options)
{
    Motion motion(options.stations, options.ranges, options.values, options.seed);
    return {Controller(options.stations, Memory(std::move(motion))),
            FaultChooser(options.faults, options.seed),
            Log(options.log, writeLog),
            {}};
}

void announce(const Endpoint &link)
{
    std::printf("%s\n", link.address().c_str());
    std::fflush(stdout);
}

int run(const Options &options)
{
    Simulation simulation = makeSimulation(options);
    quitOnSignals();
    const std::unique_ptr<Endpoint> link = std::visit(
        [&](const auto &address) { return openEndpoint(simulation, options.times, address); }, options.link);
    QTimer tick;
    QObject::connect(&tick, &QTimer::timeout, &tick, [&] { simulation.controller.tick(); });
    tick.start(options.tickMs);
    if (options.seconds > 0)
        QTimer::singleShot(int(options.seconds * 1000), QCoreApplication::instance(), &QCoreApplication::quit);
    announce(*link);
    simulation.log.write(Log::Level::Normal, "simulating " + std::to_string(options.stations.size()) +
                                                 " station(s) on " + link->address());
    const int code = QCoreApplication::exec();
    std::fprintf(stderr, "%s\n", summary(simulation.counters).c_str());
    return code;
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
    try {
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
