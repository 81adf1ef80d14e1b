// Faults of the table that are chosen one by one, for the requests to come.
#ifndef SIM_STRIKES_H
#define SIM_STRIKES_H

#include "line_faults.h"
#include "random.h"

#include <optional>

namespace fgssim
{

const std::int64_t MostStrikes = INT32_MAX; ///< of one order

struct StrikeOrder {
    const LineFault *fault;
    std::int64_t count;              ///< of requests; at least one
    std::optional<unsigned> station; ///< whose requests; none: every station's
};

struct Strike {
    const LineFault *fault;
    int place; ///< for LineFault::deliver()
};

class Strikes
{
public:
    /// The seed chooses the places at which faults strike.
    explicit Strikes(std::uint64_t seed);

    /// One of the same fault and station is added to the one before; together they are MostStrikes at most.
    void order(const StrikeOrder &wanted);
    /// Drops the orders for the station; none: all.
    void cancel(std::optional<unsigned> station);
    /// The fault of the first order that is for this station and can happen to such an exchange. Counts it down.
    std::optional<Strike> take(const Exchange &exchange);

    const std::vector<StrikeOrder> &orders() const { return waiting; }

private:
    std::vector<StrikeOrder> waiting; // the first come first
    Random random;
};

} // namespace fgssim

#endif
