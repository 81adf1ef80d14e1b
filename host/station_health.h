// Which stations are asked, so that dead ones do not slow the others down.
#ifndef FGS_HOST_STATION_HEALTH_H
#define FGS_HOST_STATION_HEALTH_H

#include "probe_budget.h"

#include <map>
#include <set>

namespace fgs
{

/// A station that gave no good answer to `patience` jobs in a row rests. After the rest it is probed with one job;
/// if that fails too it rests twice as long, up to a limit. One station is probed at a time, and all probes
/// share a ProbeBudget, however many stations are dead. While none of the watched stations answers, the line is at
/// fault and all are asked.
class StationHealth
{
public:
    StationHealth(int jobs, Time first, Time longest) : patience(jobs), firstRest(first), longestRest(longest) {}

    /// These are asked from now on. What is known of them and of the others stays.
    void watch(const std::set<int> &stations);
    void answered(int station);
    /// A job was given up now; it took that long.
    void gaveUp(int station, Time now, Time took);

    /// Whether any station has failures; if not, all are active.
    bool isTroubled() const { return troubled > 0; }
    /// Whether the station has left as many jobs unanswered as it takes to rest, also while all are asked.
    bool isSilent(int station) const;
    /// Whether it has left a job unanswered since the last watch().
    bool hasJustFailed(int station) const;
    /// Jobs that it has left unanswered in a row.
    int failures(int station) const;
    /// Whether its last job was answered, or it had none yet.
    bool isSound(int station) const;
    /// Whether the next job of the station is a probe.
    bool isProbed(int station) const;
    bool hasResting() const { return awake().size() != states.size(); }
    /// The stations that do not rest.
    std::set<int> awake() const;
    /// The resting station to probe now, that whose rest ended first; 0 if there is none.
    int dueProbe(Time now) const;

private:
    struct State {
        int failures = 0; ///< jobs given up in a row
        Time rest{0};     ///< the last one
        Time restUntil{0};
        bool hasJustFailed = false;
    };
    bool isLineDown() const { return troubled == states.size(); }
    bool isDead(const State &state) const { return state.failures >= patience && !isLineDown(); }
    void giveAnotherChance();
    void countTroubled();

    const int patience;
    const Time firstRest, longestRest;
    ProbeBudget budget;
    std::map<int, State> states; ///< of those that are watched
    std::map<int, State> others; ///< that were
    std::size_t troubled = 0;    ///< stations with failures
};

} // namespace fgs

#endif
