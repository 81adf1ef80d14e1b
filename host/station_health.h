// Which stations are asked, so that dead ones do not slow the others down.
#ifndef FGS_HOST_STATION_HEALTH_H
#define FGS_HOST_STATION_HEALTH_H

#include "link.h"

#include <map>
#include <set>

namespace fgs
{

/// A station that gave no good answer to `patience` jobs in a row rests, then is tried with one job at a time. So a
/// dead station takes at most one job's time limits out of every rest. While no station answers, the line is at
/// fault and all are asked.
class StationHealth
{
public:
    StationHealth(int jobs, Time span) : patience(jobs), rest(span) {}

    void watch(const std::set<int> &stations);
    void answered(int station);
    void gaveUp(int station, Time now);

    /// Whether any station has failures; if not, all are active.
    bool isTroubled() const { return troubled > 0; }
    /// The stations to ask now.
    std::set<int> active(Time now) const;

private:
    struct State {
        int failures = 0; ///< jobs given up in a row
        Time restUntil{0};
    };
    const int patience;
    const Time rest;
    std::map<int, State> states;
    std::size_t troubled = 0; ///< stations with failures
};

} // namespace fgs

#endif
