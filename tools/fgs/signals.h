// Ctrl-C, SIGTERM and a terminal that is gone.
#ifndef FGS_TOOL_SIGNALS_H
#define FGS_TOOL_SIGNALS_H

#include "host/stop.h"

namespace fgs
{

/// Makes the first of them request the stop, which outlives the program's waiting; a second one ends the program at
/// once, and gives the terminal back before. A closed output is no signal.
void stopOnSignals(Stop &stop);
/// The signal that has requested the stop; 0: none has.
int stoppingSignal();

/// From now on SIGUSR1 is a question that the next call of takeQuestion() sees, and no end.
void answerQuestions();
/// Whether there was one since the last call.
bool takeQuestion();

} // namespace fgs

#endif
