#include "commands.h"
#include "tools/failure.h"
#include "tools/program.h"
#include "tools/standard_streams.h"

#include <QtCore/QCoreApplication>

namespace
{

int carryOut(const fgs::Options &options)
{
    fgs::Stop stop;
    fgs::Bell bell;
    fgs::Signals signalled(stop, bell);
    switch (options.command) {
    case fgs::Options::Run:
        return fgs::runCommand(options, stop, bell, signalled);
    case fgs::Options::Check:
        return fgs::checkCommand(options);
    case fgs::Options::Plan:
        return fgs::planCommand(options);
    case fgs::Options::Test:
        return fgs::testCommand(options, stop, signalled);
    case fgs::Options::Doctor:
        return fgs::doctorCommand(options, stop, signalled);
    case fgs::Options::Init:
        return fgs::initCommand(options);
    }
    return fgs::ExitOther;
}

int run(int argc, char **argv)
{
    const fgs::Options options = fgs::parseArguments(argc, argv); // before Qt may change the form of numbers
    int nameOnly = 1;                                             // the arguments are not for Qt
    const QCoreApplication application(nameOnly, argv);
    return carryOut(options);
}

} // namespace

int main(int argc, char **argv)
{
    occupyStandardStreams();
    return fgs::runProgram("fgs-gateway", [&] { return run(argc, argv); });
}
