// How one value moves from tick to tick.
#ifndef SIM_COURSE_H
#define SIM_COURSE_H

#include "random.h"

namespace fgssim
{

struct Course {
    enum class Shape {
        Fixed, ///< stays at `from`
        Ramp,  ///< goes from `from` to `to` by `step` a tick, up or down, then starts again
        Walk   ///< starts anywhere between the two ends and goes by up to `step` a tick, up or down
    };
    Shape shape;
    std::int64_t from, to;
    std::int64_t step; ///< at least 1
};

/// The value of a fixed course or a ramp; `tick` counts from 0.
std::int64_t valueAt(const Course &course, std::uint64_t tick);

std::int64_t startOfWalk(const Course &course, Random &random);
std::int64_t nextOfWalk(const Course &course, std::int64_t value, Random &random);

} // namespace fgssim

#endif
