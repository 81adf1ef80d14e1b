// What the program prints.
#ifndef FGS_GATEWAY_CONSOLE_H
#define FGS_GATEWAY_CONSOLE_H

#include <QtCore/QString>

namespace fgs
{

void printLine(const QString &line);       ///< to stdout
void printMessage(const QString &message); ///< to stderr
/// 0, or once stdout takes nothing any more the errno that tells why.
int flushOutput();

} // namespace fgs

#endif
