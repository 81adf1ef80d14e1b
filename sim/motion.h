// Ranges of addresses whose courses the user has set, over the background.
#ifndef SIM_MOTION_H
#define SIM_MOTION_H

#include "background.h"

#include <optional>

namespace fgssim
{

/// One setting of the user.
struct Range {
    const Area *area;
    unsigned first, count;           ///< addresses
    std::optional<unsigned> station; ///< none: every station
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
    void tick();

private:
    struct Moving {
        Range range;
        std::vector<std::int64_t> walks; // one an address; empty unless the course is a walk

        bool covers(const Area &area, unsigned address) const;
        std::int64_t value(unsigned address, std::uint64_t now) const;
    };
    void add(unsigned station, const Range &range);

    Background background;
    Random random;
    std::uint64_t ticks = 0;
    std::array<std::vector<Moving>, 256> moving; // by station; the latest range first
};

} // namespace fgssim

#endif
