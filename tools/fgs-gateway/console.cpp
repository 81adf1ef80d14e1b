#include "console.h"

#include "tools/controls.h"

#include <cerrno>
#include <cstdio>

namespace fgs
{

namespace
{

bool print(std::FILE *stream, const QByteArray &line)
{
    const auto size = static_cast<std::size_t>(line.size());
    return std::fwrite(line.constData(), 1, size, stream) == size && std::fputc('\n', stream) != EOF;
}

int outputError = 0; ///< its first errno

void note(bool isWritten)
{
    if (!isWritten && !outputError)
        outputError = errno;
}

} // namespace

void printLine(const QString &line)
{
    note(print(stdout, line.toUtf8()));
}

void printMessage(const QString &message)
{
    print(stderr, withoutControls(message).toLocal8Bit());
}

int flushOutput()
{
    note(std::fflush(stdout) == 0);
    return outputError;
}

} // namespace fgs
