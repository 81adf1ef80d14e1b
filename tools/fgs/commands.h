// The commands. Each returns the exit code, or throws TextError or Failure; the stop ends it early.
#ifndef FGS_TOOL_COMMANDS_H
#define FGS_TOOL_COMMANDS_H

#include "options.h"

namespace fgs
{

int readCommand(const Options &options, Stop &stop);
int writeCommand(const Options &options, Stop &stop);
int pollCommand(const Options &options, Stop &stop);
int decodeCommand(const Options &options, const Stop &stop);
/// Opens no link and waits for nothing.
int planCommand(const Options &options);
int scanCommand(const Options &options, const Stop &stop);
int doctorCommand(const Options &options, const Stop &stop);

} // namespace fgs

#endif
