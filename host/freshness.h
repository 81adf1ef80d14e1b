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
    Outcome outcome = Outcome::Good; ///< of the last time
    bool isKnown() const { return stored != Never; }
};

class Freshness
{
public:
    /// A good reply to a read was stored. `bytes` is the length of its data.
    void stored(int station, int area, int address, int bytes, Time now);
    /// A read was given up.
    void failed(int station, int area, int address, int bytes, Time now, Outcome outcome);

    Age of(const Variable &variable) const;
    void clear() { places.clear(); }

private:
    /// By byte of eight bits, word or double word.
    struct Cells {
        std::vector<Time> stored;
        std::vector<Time> failed;
        std::vector<Outcome> why;

        void grow(std::size_t size);
    };
    std::map<std::pair<int, int>, Cells> places; ///< by station and area
};

} // namespace fgs

#endif
