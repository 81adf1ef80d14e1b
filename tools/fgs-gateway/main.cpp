#include "commands.h"
#include "console.h"
#include "host/text_error.h"
#include "tools/failure.h"
#include "tools/standard_streams.h"

#include <cerrno>
#include <cstring>
#include <QtCore/QCoreApplication>

namespace
{

int run(const fgs::Options &options)
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

int fail(int code, const std::exception &error)
{
    fgs::printMessage(QStringLiteral("fgs-gateway: ") + QString::fromStdString(error.what()));
    return code;
}

int runProgram(int argc, char **argv)
{
    try {
        const fgs::Options options = fgs::parseArguments(argc, argv); // before Qt may change the form of numbers
        int nameOnly = 1;                                             // the arguments are not for Qt
        const QCoreApplication application(nameOnly, argv);
        return run(options);
    } catch (const fgs::Finished &finished) {
        (finished.code ? fgs::printMessage : fgs::printLine)(QString::fromStdString(finished.text).trimmed());
        return finished.code;
    } catch (const fgs::TextError &error) {
        return fail(fgs::ExitUsage, error);
    } catch (const fgs::Failure &error) {
        return fail(error.code, error);
    } catch (const std::exception &error) {
        return fail(fgs::ExitOther, error);
    }
}

/// The code, unless it hides that the output has not arrived. A reader that has had enough is no failure.
int codeWithOutput(int code)
{
    const int error = fgs::flushOutput();
    if (error == 0 || error == EPIPE)
        return code;
    fgs::printMessage(QStringLiteral("fgs-gateway: the output cannot be written: ") +
                      QString::fromLocal8Bit(strerror(error)));
    return code == fgs::ExitOk ? fgs::ExitOther : code;
}

} // namespace

int main(int argc, char **argv)
{
    occupyStandardStreams();
    return codeWithOutput(runProgram(argc, argv));
}
