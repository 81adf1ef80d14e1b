#include "course.h"

#include <algorithm>

namespace fgssim
{

std::int64_t valueAt(const Course &course, std::uint64_t tick)
{
    if (course.shape == Course::Shape::Fixed)
        return course.from;
    const bool up = course.from <= course.to;
    const std::int64_t distance = up ? course.to - course.from : course.from - course.to;
    const std::int64_t passed = std::int64_t(tick % std::uint64_t(distance / course.step + 1)) * course.step;
    return up ? course.from + passed : course.from - passed;
}

std::int64_t startOfWalk(const Course &course, Random &random)
{
    return random.between(std::min(course.from, course.to), std::max(course.from, course.to));
}

std::int64_t nextOfWalk(const Course &course, std::int64_t value, Random &random)
{
    const std::int64_t next = value + random.between(-course.step, course.step);
    return std::clamp(next, std::min(course.from, course.to), std::max(course.from, course.to));
}

} // namespace fgssim
