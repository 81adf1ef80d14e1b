// How the programs end.
#ifndef FGS_TOOL_FAILURE_H
#define FGS_TOOL_FAILURE_H

#include <QtCore/QString>
#include <stdexcept>
#include <string>

namespace fgs
{

enum ExitCode {
    ExitOk = 0,
    ExitOther = 1,
    ExitUsage = 2,
    ExitLink = 3, ///< the link cannot be opened, or was lost
    ExitNoReply = 4,
    ExitRefused = 5, ///< by the controller
    ExitBadReply = 6,
    ExitVerify = 7,  ///< the controller holds other values than were written
    ExitPartial = 8, ///< some variables have no value, or an old one
    ExitFound = 9,   ///< a check has found something to mend
    ExitSignal = 128 ///< and the number of the signal that ended it: 130 after Ctrl-C, 143 after SIGTERM
};

/// The program has nothing to do but to print `text` (on stdout if `code` is 0) and to end.
struct Finished {
    int code;
    std::string text;
};

/// Ends the program with a message.
class Failure : public std::runtime_error
{
public:
    Failure(int exitCode, const QString &message) : std::runtime_error(message.toStdString()), code(exitCode) {}

    const int code;
};

} // namespace fgs

#endif
