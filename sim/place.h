// Addresses in a row, as people name them: AREA:ADDRESS[xCOUNT][@STATION].
#ifndef SIM_PLACE_H
#define SIM_PLACE_H

#include "areas.h"

#include <optional>

namespace fgssim
{

struct Place {
    const Area *area;
    unsigned first, count;           ///< addresses; at least one
    std::optional<unsigned> station; ///< none: every station

    bool covers(const Area &in, unsigned address) const
    {
        return &in == area && address >= first && address - first < count;
    }
    bool covers(const Place &other) const
    {
        return covers(*other.area, other.first) && covers(*other.area, other.first + other.count - 1);
    }
};

/// "5:100x4@2"; what may be left out is.
std::string notation(const Place &place);

} // namespace fgssim

#endif
