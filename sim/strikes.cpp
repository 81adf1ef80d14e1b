#include "strikes.h"

namespace fgssim
{

namespace
{

const std::uint64_t RandomStream = 4;

} // namespace

Strikes::Strikes(std::uint64_t seed) : random(seed, RandomStream) {}

void Strikes::order(const StrikeOrder &wanted)
{
    for (StrikeOrder &earlier : waiting) {
        if (earlier.fault == wanted.fault && earlier.station == wanted.station) {
            earlier.count = std::min(earlier.count + wanted.count, MostStrikes);
            return;
        }
    }
    waiting.push_back(wanted);
}

void Strikes::cancel(std::optional<unsigned> station)
{
    const auto isMeant = [&](const StrikeOrder &order) { return !station || order.station == station; };
    waiting.erase(std::remove_if(waiting.begin(), waiting.end(), isMeant), waiting.end());
}

std::optional<Strike> Strikes::take(const Exchange &exchange)
{
    const unsigned station = exchange.asked;
    for (auto each = waiting.begin(); each != waiting.end(); ++each) {
        const int places = each->fault->places(exchange);
        if (places == 0 || each->station.value_or(station) != station)
            continue;
        const Strike strike = {each->fault, random.below(places)};
        if (--each->count == 0)
            waiting.erase(each);
        return strike;
    }
    return std::nullopt;
}

} // namespace fgssim
