// Random numbers that are the same on every machine for the same seed.
#ifndef SIM_RANDOM_H
#define SIM_RANDOM_H

#include <cstdint>
#include <random>

namespace fgssim
{

class Random
{
public:
    /// Streams of one seed are independent of each other.
    Random(std::uint64_t seed, std::uint64_t stream) : engine(seed * 1000003 + stream) {}

    /// 0 .. limit - 1; limit is at least 1.
    template <typename Number>
    Number below(Number limit)
    {
        return Number(engine() % std::uint64_t(limit));
    }
    std::int64_t between(std::int64_t low, std::int64_t high)
    {
        return low + std::int64_t(below(std::uint64_t(high - low) + 1));
    }

private:
    std::mt19937_64 engine;
};

} // namespace fgssim

#endif
