#include "commands.h"
#include "host/text_error.h"
#include "output.h"
#include "signals.h"
#include "tools/failure.h"
#include "tools/standard_streams.h"

#include <cerrno>
#include <cstring>
#include <QtCore/QCoreApplication>

namespace
{

int run(const fgs::Options &options, fgs::Stop &stop)
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

int fail(int code, const std::exception &error)
{
    fgs::printMessage(QStringLiteral("fgs: ") + QString::fromStdString(error.what()));
    return code;
}

int runProgram(int argc, char **argv, fgs::Stop &stop)
{
    try {
        fgs::Options options = fgs::parseArguments(argc, argv); // before Qt may change the form of numbers
        int nameOnly = 1;                                       // the arguments are not for Qt
        const QCoreApplication application(nameOnly, argv);
        fgs::takeFile(options);
        return run(options, stop);
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
    fgs::printMessage(QStringLiteral("fgs: the output cannot be written: ") +
                      QString::fromLocal8Bit(strerror(error)));
    return code == fgs::ExitOk ? fgs::ExitOther : code;
}

} // namespace

int main(int argc, char **argv)
{
    occupyStandardStreams();
    fgs::Stop stop;
    fgs::stopOnSignals(stop);
    return codeWithOutput(runProgram(argc, argv, stop));
}
