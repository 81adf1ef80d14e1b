// What --help says beyond the list of options.
#ifndef FGS_TOOL_HELP_H
#define FGS_TOOL_HELP_H

#include <string>

namespace fgs
{

/// Every help begins with examples: that of a command with its own, that of the program (an empty name) with all.
std::string examplesOf(const std::string &command);
/// How the command's arguments are written, and the exit codes.
std::string notesOf(const std::string &command);

} // namespace fgs

#endif
