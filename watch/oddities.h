// What the driver's deliberate oddities do to one list of variables.
#ifndef FGS_WATCH_ODDITIES_H
#define FGS_WATCH_ODDITIES_H

#include "line_plan.h"

namespace fgs
{

struct Oddity {
    int number;      ///< in docs/behaviour.md
    QString meaning; ///< for this list, for people
};

/// Those that strike the list, in the order of their numbers.
std::vector<Oddity> odditiesOf(const LinePlan &plan);

} // namespace fgs

#endif
