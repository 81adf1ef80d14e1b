#include "background.h"

namespace fgssim
{

namespace
{

const Course Walk = {Course::Shape::Walk, 0, 1000, 10};
const unsigned RampLength = 1000;
const std::uint64_t RandomStream = 1;

} // namespace

std::uint32_t patternValue(unsigned station, const Area &area, unsigned address)
{
    const std::uint32_t key = station << 24 | unsigned(area.number) << 16 | address;
    const std::uint32_t product = key * 2654435761u;
    return product >> (32 - bitsOf(area.kind));
}

Background::Background(Values values, std::uint64_t seed) : kind(values), random(seed, RandomStream)
{
    for (std::int64_t &walk : walks)
        walk = startOfWalk(Walk, random);
}

std::uint32_t Background::value(unsigned station, const Area &area, unsigned address) const
{
    switch (kind) {
    case Values::Still:
        return 0;
    case Values::Pattern:
        return patternValue(station, area, address);
    case Values::Moving:
        break;
    }
    return movingValue(station, area, address);
}

std::uint32_t Background::movingValue(unsigned station, const Area &area, unsigned address) const
{
    if (area.kind == AreaKind::Bit)
        return (address + ticks) % 16 < 8;
    if (address % 2 == 0)
        return std::uint32_t((address + 100 * station + ticks) % RampLength);
    const std::size_t walk = (31 * station + 7 * unsigned(area.number) + address / 2) % walks.size();
    return std::uint32_t(walks[walk]);
}

void Background::tick()
{
    ++ticks;
    for (std::int64_t &walk : walks)
        walk = nextOfWalk(Walk, walk, random);
}

} // namespace fgssim
