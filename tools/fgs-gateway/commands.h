// What the program does. Each returns the exit code, or throws TextError or Failure.
#ifndef FGS_GATEWAY_COMMANDS_H
#define FGS_GATEWAY_COMMANDS_H

#include "options.h"
#include "signals.h"

namespace fgs
{

/// Until the stop.
int runCommand(const Options &options, const Stop &stop, Bell &bell, Signals &signalled);
int checkCommand(const Options &options);
int planCommand(const Options &options);
int testCommand(const Options &options, const Stop &stop, const Signals &signalled);
int initCommand(const Options &options);
int doctorCommand(const Options &options, const Stop &stop, const Signals &signalled);

} // namespace fgs

#endif
