#include "program.h"

#include "console.h"
#include "failure.h"
#include "host/text_error.h"

#include <cerrno>
#include <cstring>

namespace fgs
{

namespace
{

void complain(const char *name, const QString &message)
{
    printMessage(QLatin1String(name) + QStringLiteral(": ") + message);
}

int fail(const char *name, int code, const std::exception &error)
{
    complain(name, QString::fromStdString(error.what()));
    return code;
}

int codeOfRun(const char *name, const std::function<int()> &run)
{
    try {
        return run();
    } catch (const Finished &finished) {
        (finished.code ? printMessage : printLine)(QString::fromStdString(finished.text).trimmed());
        return finished.code;
    } catch (const TextError &error) {
        return fail(name, ExitUsage, error);
    } catch (const Failure &error) {
        return fail(name, error.code, error);
    } catch (const std::exception &error) {
        return fail(name, ExitOther, error);
    }
}

/// The code, unless it hides that the output has not arrived.
int codeWithOutput(const char *name, int code)
{
    const int error = flushOutput();
    if (error == 0 || error == EPIPE)
        return code;
    complain(name, QStringLiteral("the output cannot be written: ") + QString::fromLocal8Bit(strerror(error)));
    return code == ExitOk ? ExitOther : code;
}

} // namespace

int runProgram(const char *name, const std::function<int()> &run)
{
    return codeWithOutput(name, codeOfRun(name, run));
}

} // namespace fgs
