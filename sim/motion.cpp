#include "motion.h"

namespace fgssim
{

namespace
{

const std::uint64_t RandomStream = 2;

} // namespace

Motion::Motion(const std::vector<unsigned> &stations, const std::vector<Range> &ranges, Values values,
               std::uint64_t seed)
    : background(values, seed), random(seed, RandomStream)
{
    for (const Range &range : ranges) {
        for (unsigned station : stations) {
            if (!range.station || *range.station == station)
                set(station, range);
        }
    }
}

void Motion::set(unsigned station, const Range &range)
{
    Moving entry{range, {}};
    if (range.course.shape == Course::Shape::Walk) {
        for (unsigned i = 0; i < range.count; ++i)
            entry.walks.push_back(startOfWalk(range.course, random));
    }
    std::vector<Moving> &list = moving[station];
    const auto isCovered = [&](const Moving &older) { return range.covers(older.range); };
    list.erase(std::remove_if(list.begin(), list.end(), isCovered), list.end());
    list.insert(list.begin(), std::move(entry));
}

std::uint32_t Motion::value(unsigned station, const Area &area, unsigned address) const
{
    for (const Moving &entry : moving[station]) {
        if (entry.range.covers(area, address))
            return cutToWidth(entry.value(address, ticks), area.kind);
    }
    return background.value(station, area, address);
}

void Motion::tick()
{
    ++ticks;
    background.tick();
    for (std::vector<Moving> &list : moving) {
        for (Moving &entry : list) {
            for (std::int64_t &walk : entry.walks)
                walk = nextOfWalk(entry.range.course, walk, random);
        }
    }
}

std::int64_t Motion::Moving::value(unsigned address, std::uint64_t now) const
{
    return walks.empty() ? valueAt(range.course, now) : walks[address - range.first];
}

} // namespace fgssim
