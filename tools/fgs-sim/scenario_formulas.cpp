#include "scenario_formulas.h"

#include <algorithm>
#include <cmath>

namespace fgssim
{

std::int64_t heldValue(double value, AreaKind kind)
{
    const unsigned bits = bitsOf(kind);
    const double lowest = kind == AreaKind::Bit ? 0 : -std::ldexp(1., int(bits) - 1);
    const double highest = std::ldexp(1., int(bits)) - 1;
    return std::int64_t(std::llround(std::clamp(value, lowest, highest)));
}

Command formulaCommand(const std::vector<PlaceFormula> &formulas, double seconds, std::uint64_t number,
                       const std::vector<unsigned> &stations)
{
    std::vector<Command> sets;
    std::string text;
    for (const PlaceFormula &each : formulas) {
        const double value = each.formula.valueAt(seconds, number);
        const std::string place = notation(each.place);
        text += text.empty() ? "" : " ";
        if (std::isnan(value)) {
            text += place + " has no value";
            continue;
        }
        const std::string setting = place + "=" + std::to_string(heldValue(value, each.place.area->kind));
        sets.push_back(parseCommand("set " + setting, stations));
        text += setting;
    }
    return {text, true, [sets](Simulation &simulation, Time now) {
                for (const Command &set : sets)
                    set.carryOut(simulation, now);
                return std::string("done");
            }};
}

} // namespace fgssim
