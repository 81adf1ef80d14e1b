// SIGINT and SIGTERM end the event loop.
#ifndef FGS_SIM_SIGNALS_H
#define FGS_SIM_SIGNALS_H

namespace fgssim
{

/// REQUIRES: a QCoreApplication. To be called once.
void quitOnSignals();

} // namespace fgssim

#endif
