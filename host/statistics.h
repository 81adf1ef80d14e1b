// How many requests came to what, and how long the answers took.
#ifndef FGS_HOST_STATISTICS_H
#define FGS_HOST_STATISTICS_H

#include "link.h"
#include "outcome.h"

#include <array>

namespace fgs
{

/// Upper bounds, included, of the counts in a histogram of round trips; the last count is of what is longer.
constexpr std::array<Time, 16> RoundTripBounds = {100us, 250us, 500us, 1ms,   2500us, 5ms,    10ms, 25ms,
                                                  50ms,  100ms, 250ms, 500ms, 1s,     2500ms, 5s,   10s};
using RoundTripCounts = std::array<quint64, RoundTripBounds.size() + 1>;

/// Times from the last byte of the request to the last byte of the reply. Takes no memory as they grow in number.
class RoundTrips
{
public:
    void add(Time time);

    quint64 count() const { return number; }
    Time min() const { return shortest; }
    Time max() const { return longest; }
    Time mean() const { return number ? Time(total / number) : Time(0); }
    /// The time that this share of them, 0..1, does not exceed; up to 6 % too long.
    Time quantile(double share) const;
    /// By RoundTripBounds, exactly.
    const RoundTripCounts &histogram() const { return bounded; }

private:
    static const int StepsPerOctave = 16;
    std::array<quint64, 64UL *StepsPerOctave> counts = {};
    RoundTripCounts bounded = {};
    quint64 number = 0;
    Time shortest{0}, longest{0}, total{0};
};

/// A time limit of answers that has some room above the slowest ones; 0 if this one has.
Time betterTimeout(const RoundTrips &times, Time timeout);

/// Two equations hold after every step of the poller:
///   requests = sum of outcomes + underWay
///   failures() = retries + abandoned + of(Outcome::LinkLost)
struct Statistics {
    quint64 requests = 0; ///< frames sent, repetitions included
    std::array<quint64, OutcomeCount> outcomes = {};
    quint64 underWay = 0;       ///< 1 after a stop that came before the outcome, otherwise 0
    quint64 retries = 0;        ///< failures after which the driver repeats the request; not those by a lost link
    quint64 abandoned = 0;      ///< failures after which the driver gave its job up
    quint64 strayBytes = 0;     ///< thrown away between two transactions
    quint64 unaskedAnswers = 0; ///< whole answers besides those to the requests
    quint64 linkLost = 0;       ///< how often it went away
    quint64 reconnects = 0;
    RoundTrips roundTrips;

    quint64 of(Outcome outcome) const { return outcomes[static_cast<std::size_t>(outcome)]; }
    quint64 failures() const { return requests - underWay - of(Outcome::Good); }
};

} // namespace fgs

#endif
