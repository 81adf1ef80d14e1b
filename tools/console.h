// What the programs print. One thread.
#ifndef FGS_TOOL_CONSOLE_H
#define FGS_TOOL_CONSOLE_H

#include <cstdio>
#include <QtCore/QString>
#include <string>

namespace fgs
{

void printLine(const QString &line);       ///< to stdout, or where printDataTo() says
void printText(const std::string &text);   ///< the same as it stands, with its line ends
void printMessage(const QString &message); ///< to stderr
/// A line on stderr, a terminal, that gives way to the next message; empty: it is gone.
void showStatus(const QString &status);
/// From now on data goes to this stream.
void printDataTo(std::FILE *stream);
/// 0, or once stdout takes nothing any more the errno that tells why.
int flushOutput();

} // namespace fgs

#endif
