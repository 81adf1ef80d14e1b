// When the driver last stored each value. The image alone does not tell: it starts with zeros, keeps old values,
// and shows a write before the controller has taken it.
#ifndef FGS_HOST_FRESHNESS_H
#define FGS_HOST_FRESHNESS_H

#include "statistics.h"
#include "variable.h"

#include <map>
#include <vector>

namespace fgs
{

const Time Never = Time::min();

/// The state of a whole variable is that of its oldest part.
struct Age {
    Time stored = Never;             ///< a good reply brought the value
    Time tried = Never;              ///< it was last asked for, with success or without
    Outcome outcome = Outcome::Good; ///< of the last time; LinkLost too if the link went away since
    int received = 0, expected = 0;  ///< bytes of the answer, of Incomplete
    bool isKnown() const { return stored != Never; }
    /// Whether the value is known, but the last try failed or the link was lost since.
    bool isStale() const { return isKnown() && outcome != Outcome::Good; }
};

class Freshness
{
public:
    /// A good reply to a read was stored. `bytes` is the length of its data.
    void stored(int station, int area, int address, int bytes, Time now);
    /// A read was given up. Of an incomplete answer `received` bytes of `expected` came.
    void failed(int station, int area, int address, int bytes, Time now, Outcome outcome, int received = 0,
                int expected = 0);
    /// What was stored since then may be the answer to another question.
    void doubt(Time since, Time now);
    /// The link went away: every value is that old at least.
    void lostLink(Time now) { linkLostAt = now; }

    Age of(const Variable &variable) const;

private:
    struct Failure {
        Time time = Never;
        Outcome outcome = Outcome::Good;
        int received = 0, expected = 0;
    };
    /// By element.
    struct Cells {
        std::vector<Time> stored;
        std::vector<Failure> failed;

        void grow(std::size_t size);
    };
    std::map<std::pair<int, int>, Cells> places; ///< by station and area
    Time linkLostAt = Never;
};

} // namespace fgs

#endif
