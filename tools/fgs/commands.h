// The commands. Each returns the exit code, or throws TextError or Failure.
#ifndef FGS_TOOL_COMMANDS_H
#define FGS_TOOL_COMMANDS_H

#include "failure.h"
#include "options.h"

namespace fgs
{

ExitCode readCommand(const Options &options);
ExitCode writeCommand(const Options &options);
ExitCode pollCommand(const Options &options);

} // namespace fgs

#endif
