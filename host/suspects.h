// Which places of a controller do not answer while their neighbours do, found out by asking in halves.
#ifndef FGS_HOST_SUSPECTS_H
#define FGS_HOST_SUSPECTS_H

#include "frame.h"
#include "line_event.h"
#include "probe_budget.h"
#include "spans.h"

#include <map>
#include <optional>
#include <set>

namespace fgs
{

/// What was found out about a place.
struct Finding {
    LineEvent::EventKind kind; ///< PlaceSilent, PlaceBack or GapSilent
    Span span;
};

/// One request that is to find a silent place out.
struct Probe {
    Spans blocks;
    bool thorough = false; ///< with all attempts, because its failure is the last word
};

/// A request that is left unanswered twice, although its station has answered something in between, has a silent
/// place in it. Its parts are asked one after the other, in halves of halves, until the silent places are alone;
/// those that answer are polled again at once. If all parts answer, it was an address read along between two of
/// them, or a passing fault. A probe counts as unanswered only if the station answers what is asked next; so a
/// station that dies meanwhile has no silent places.
///
/// The probes of silent places share a ProbeBudget. Pure bookkeeping: the host asks, and tells what came of it.
class Suspects
{
public:
    /// A silent place is probed after `first`, then after twice as long, and so on up to `longest`. A probe has so
    /// many blocks at most.
    Suspects(int blockWords, Time first, Time longest, int mostBlocks = MaxEntries - 1);

    /// These are polled from now on. What is known of silent places and gaps stays.
    void watch(const Spans &wanted);

    /// Whether there is nothing to remember.
    bool isQuiet() const { return doubts.empty() && searches.empty() && silent.empty() && silentGaps.empty(); }
    /// Whether it matters what is asked in which order: something must not be polled or read along, or it has to be
    /// known if a station answers anything.
    bool isPressing() const;
    /// What is not to be polled: silent, or being found out.
    Spans leftOut() const;
    /// What no block may span: leftOut() and the silent gaps.
    Spans barriers() const;
    Spans silentPlaces() const;
    /// What was left unanswered when it was last asked for.
    Spans doubted() const;
    /// Whether more is going to be asked about it at once.
    bool isOpen(const Span &span) const;
    /// Whether one attempt is enough for a request with these blocks, because it was left unanswered before.
    bool isDoubted(const Spans &blocks) const;
    /// Whether it has to be known if the station answers anything at all.
    bool needsSignOfLife(int station) const;
    /// A block that the station has answered of late; null if none is known.
    const Span *knownGood(int station) const;

    /// A polled request got no answer, though it was sent so often. Returns whether a place is to blame for it, and
    /// not its station.
    bool gaveUp(const Spans &blocks, int requests);
    /// Something else than a reading of these wanted places got no answer from the station.
    void stayedSilent(int station);
    /// The station answered. `blocks` is what it has read, empty if it was a write.
    void answered(int station, const Spans &blocks, Time now);
    /// The request with these blocks is not left unanswered, whatever its answer was worth.
    void heard(const Spans &blocks);

    /// The next request to find something out; none if there is none now. Stations in `asleep` are not asked.
    std::optional<Probe> nextProbe(Time now, const std::set<int> &asleep);
    /// What came of the probe that nextProbe() gave last.
    void probeAnswered();
    void probeSilent(Time now, Time took);

    /// What was found out since the last call.
    std::vector<Finding> takeFindings();

private:
    struct Doubt {
        Span span;
        int requests;       ///< left unanswered in a row
        bool answeredSince; ///< the station has answered something else
        bool isRipe() const;
        bool needsSignOfLife() const;
    };
    struct Task {
        Spans spans; ///< to ask; for a gap across it
        Span gap;    ///< of no size if the task is to ask
        int found;   ///< by the search, when the task was set
        bool isGap() const { return gap.size() > 0; }
        bool isLast() const { return isGap() || (spans.size() == 1 && spans.front().size() == 1); }
    };
    struct Search {
        enum State {
            Ready,
            Unproven, ///< the last probe was not answered; does the station answer anything?
            Waiting   ///< for any answer of the station, to ask the same again
        };
        int station;
        State state;
        std::vector<Task> tasks; ///< the last one first
        int found;               ///< places and gaps so far
    };
    struct Silent {
        Span span;
        Time rest;
        Time due;
    };

    void search(const Spans &blocks, const Spans &spans);
    static void pushGap(Search &search, const Span &gap, const Spans &across);
    void pushHalves(Search &search, const Task &task) const;
    void pushEdges(Search &search, const Span &block) const;
    void conclude(Search &search, Time now);
    void nameSilent(const Span &span, Time now);
    void finishSearches();
    Search *readySearch(const std::set<int> &asleep);
    Silent *dueSilent(Time now, const std::set<int> &asleep);
    std::optional<Probe> probeOf(Search &search);
    Spans underSearch() const;
    void holdSearches(int station);
    void markGood(const Span &block);

    const int blockWords, mostBlocks;
    const Time firstRest, longestRest;
    Spans wanted;
    std::vector<Doubt> doubts;
    std::vector<Search> searches;
    std::vector<Silent> silent;
    Spans silentGaps;
    std::map<int, Span> good; ///< by station
    std::vector<Finding> findings;
    int failuresLeft = 0;  ///< how many more probes may fail before places are named by whole blocks
    ProbeBudget budget;    ///< of silent places
    int probedStation = 0; ///< of the search that the last probe is for; 0 if it is for a silent place
    Span probedPlace{};    ///< the silent place otherwise
};

} // namespace fgs

#endif
