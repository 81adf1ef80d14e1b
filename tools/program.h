// The way every command of a program ends.
#ifndef FGS_TOOL_PROGRAM_H
#define FGS_TOOL_PROGRAM_H

#include <functional>

namespace fgs
{

/// Runs what a program does, and returns its exit code. What is thrown is told on stderr, behind the program's
/// name, and has its code: Finished, TextError (ExitUsage), Failure, and anything else (ExitOther). So is output
/// that could not be written; a reader that has had enough is no failure.
int runProgram(const char *name, const std::function<int()> &run);

} // namespace fgs

#endif
