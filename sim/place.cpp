#include "place.h"

namespace fgssim
{

std::string notation(const Place &place)
{
    return std::to_string(place.area->number) + ":" + addressText(*place.area, place.first) +
           (place.count == 1 ? "" : "x" + std::to_string(place.count)) +
           (place.station ? "@" + std::to_string(*place.station) : "");
}

} // namespace fgssim
