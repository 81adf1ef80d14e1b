// Values for a scenario by formulas: one for each place.
#ifndef FGS_SIM_SCENARIO_FORMULAS_H
#define FGS_SIM_SCENARIO_FORMULAS_H

#include "commands.h"
#include "formula.h"

namespace fgssim
{

struct PlaceFormula {
    Place place; ///< of the simulated stations
    Formula formula;
};

/// The whole number nearest to it that an address holds; one beyond the range becomes the nearest in it.
std::int64_t heldValue(double value, AreaKind kind);

/// Sets the places to what their formulas give after so many seconds; one that gives no number is left as it is.
/// The number is that of the time, for what is random.
Command formulaCommand(const std::vector<PlaceFormula> &formulas, double seconds, std::uint64_t number,
                       const std::vector<unsigned> &stations);

} // namespace fgssim

#endif
