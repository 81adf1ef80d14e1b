#include "commands.h"
#include "signals.h"
#include "tools/failure.h"
#include "tools/program.h"
#include "tools/standard_streams.h"

#include <QtCore/QCoreApplication>

namespace
{

int carryOut(const fgs::Options &options, fgs::Stop &stop)
{
    switch (options.command) {
    case fgs::Options::Read:
        return fgs::readCommand(options, stop);
    case fgs::Options::Write:
        return fgs::writeCommand(options, stop);
    case fgs::Options::Poll:
        return fgs::pollCommand(options, stop);
    case fgs::Options::Decode:
        return fgs::decodeCommand(options, stop);
    case fgs::Options::Plan:
        return fgs::planCommand(options);
    case fgs::Options::Scan:
        return fgs::scanCommand(options, stop);
    case fgs::Options::Doctor:
        return fgs::doctorCommand(options, stop);
    }
    return fgs::ExitOther;
}

int run(int argc, char **argv, fgs::Stop &stop)
{
    fgs::Options options = fgs::parseArguments(argc, argv); // before Qt may change the form of numbers
    int nameOnly = 1;                                       // the arguments are not for Qt
    const QCoreApplication application(nameOnly, argv);
    fgs::takeFile(options);
    return carryOut(options, stop);
}

} // namespace

int main(int argc, char **argv)
{
    occupyStandardStreams();
    fgs::Stop stop;
    fgs::stopOnSignals(stop);
    return fgs::runProgram("fgs", [&] { return run(argc, argv, stop); });
}
