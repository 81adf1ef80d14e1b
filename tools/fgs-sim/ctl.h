// `fgs-sim ctl`: a command for one that runs with --control.
#ifndef FGS_SIM_CTL_H
#define FGS_SIM_CTL_H

#include "options.h"

namespace fgssim
{

/// Prints the answer to stdout, a refusal and anything that is wrong to stderr. Returns the exit code: 0 done,
/// ExitOther refused, ExitLink nobody is there.
int runCtl(const CtlOptions &options);

} // namespace fgssim

#endif
