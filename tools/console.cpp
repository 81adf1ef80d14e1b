#include "console.h"

#include "controls.h"

#include <cerrno>

namespace fgs
{

namespace
{

std::FILE *dataStream = stdout;
int outputError = 0; ///< its first errno
bool statusIsShown = false;

void note(bool isWritten)
{
    if (!isWritten && !outputError)
        outputError = errno;
}

bool print(std::FILE *stream, const QByteArray &line)
{
    const auto size = static_cast<std::size_t>(line.size());
    return std::fwrite(line.constData(), 1, size, stream) == size && std::fputc('\n', stream) != EOF;
}

} // namespace

void printLine(const QString &line)
{
    note(print(dataStream, line.toUtf8()));
}

void printText(const std::string &text)
{
    note(std::fwrite(text.data(), 1, text.size(), dataStream) == text.size());
}

void printDataTo(std::FILE *stream)
{
    dataStream = stream;
}

void showStatus(const QString &status)
{
    if (statusIsShown || !status.isEmpty())
        std::fputs(("\r" + status.toLocal8Bit() + "\x1b[K").constData(), stderr);
    statusIsShown = !status.isEmpty();
}

void printMessage(const QString &message)
{
    showStatus(QString());
    print(stderr, withoutControls(message).toLocal8Bit());
}

int flushOutput()
{
    note(std::fflush(dataStream) == 0);
    return outputError;
}

} // namespace fgs
