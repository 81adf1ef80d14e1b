// What the system knows of this process, as metrics tell it.
#ifndef FGS_GATEWAY_PROCESS_FIGURES_H
#define FGS_GATEWAY_PROCESS_FIGURES_H

#include <vector>

namespace fgs
{

struct ProcessFigure {
    const char *name; ///< of the metric
    bool isTotal;     ///< it only grows
    const char *help;
    double value;
};

/// 0 for what the system does not tell.
std::vector<ProcessFigure> processFigures();

} // namespace fgs

#endif
