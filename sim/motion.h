// Ranges of addresses whose courses the user has set, over the background.
#ifndef SIM_MOTION_H
#define SIM_MOTION_H

#include "background.h"
#include "place.h"

namespace fgssim
{

/// One setting of the user.
struct Range : Place {
    Course course;
};

class Motion
{
public:
    /// Where ranges overlap the later one counts.
    Motion(const std::vector<unsigned> &stations, const std::vector<Range> &ranges, Values values,
           std::uint64_t seed);

    /// Cut to the width of the area.
    std::uint32_t value(unsigned station, const Area &area, unsigned address) const;
    /// Where ranges overlap the later one counts. The station of the range does not.
    void set(unsigned station, const Range &range);
    void tick();

private:
    struct Moving {
        Range range;
        std::vector<std::int64_t> walks; // one an address; empty unless the course is a walk

        std::int64_t value(unsigned address, std::uint64_t now) const;
    };

    Background background;
    Random random;
    std::uint64_t ticks = 0;
    std::array<std::vector<Moving>, 256> moving; // by station; the latest range first
};

} // namespace fgssim

#endif
