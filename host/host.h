// A host of the driver, whole: its settings, the variables, the writes. The poll loop below it is Poller's.
#ifndef FGS_HOST_HOST_H
#define FGS_HOST_HOST_H

#include "line_event.h"
#include "plan.h"
#include "poller.h"
#include "station_health.h"
#include "suspects.h"

#include <bitset>
#include <deque>
#include <optional>

namespace fgs
{

struct HostOptions {
    std::optional<int> remoteLink;      ///< everything goes by remote frames, with this link number, from 0 to 255
    int blockWords = DefaultBlockWords; ///< most words that one block reads
    int retries = 2;                    ///< of a failing request, before the driver gives it up
    Timing timing;
    Time firstRest = 1s;       ///< of a station that does not answer while others do; doubled after each probe
    Time longestRest = 10s;    ///< longer if many stations rest, because probes take a bounded share of the time
    Time longestSilence = 60s; ///< before a place that does not answer while others do is probed again
};

/// Where a host with these options has the driver keep the values.
Storage storageFor(const std::vector<Variable> &variables, const HostOptions &options);

/// The driver is one in a process, and so is its host. One thread, the driver's polling thread.
class Host
{
public:
    /// The variables are all that will be read or written: they decide where the driver keeps the values. The
    /// driver must have nothing in flight. Throws std::logic_error if the process has a host already.
    Host(const DriverApi &driver, Link &link, const std::vector<Variable> &variables,
         const HostOptions &options = HostOptions());
    ~Host();
    Host(const Host &) = delete;
    Host &operator=(const Host &) = delete;

    /// Reads the variables round and round, in place of those before; first what was asked for longest ago. What is
    /// known of stations stays.
    void poll(const std::vector<Variable> &variables);
    /// Reads the bits once, ahead of what is polled; ageOf() tells when it is done. What is left of it is forgotten
    /// when their station does not answer. Throws TextError if there are others than bits: the driver cannot read
    /// them once.
    void readSoon(const std::vector<Variable> &bits);
    /// Queues a write of as many values as the variable has. False: the driver's queue has no room for it now.
    /// Throws TextError if the area is read-only.
    bool write(const Variable &variable, const std::vector<quint32> &values);

    /// One transaction, or nothing to do.
    Step step();
    /// Listens for a moment whether more answers come than were asked for. If so, what the values before are worth
    /// is not known, and isSettled() wants them anew. To be called before values are used that are read only once.
    void listen();

    Age ageOf(const Variable &variable) const { return poller.freshness().of(variable); }
    /// Whether nothing more comes for the variable now: since the last poll() it got its value, or was asked for in
    /// vain and is not asked again at once. It may also not have been asked at all (ageOf().tried is before that),
    /// because its station does not answer.
    bool isSettled(const Variable &variable) const;
    /// Whether a request that reads a part of it is in flight and was cut off by a stop.
    bool isUnderWay(const Variable &variable) const;
    /// The parts of it that are left out because they do not answer while others do; bits by whole bytes.
    std::vector<Variable> silentPlaces(const Variable &variable) const;
    /// Whether the station is left out for a while because it does not answer.
    bool rests(int station) const { return listed.count(station) == 0; }
    /// The values in the driver's image, good if ageOf() says so; a bit is 0 or 1.
    std::vector<quint32> values(const Variable &variable) const;

    int writesQueued() const;
    /// Writes that the controller did not acknowledge, or that the driver dropped after another failure.
    int writesLost() const { return lostWrites; }
    /// Forgets all queued writes and the one in flight, which may have been carried out; none is sent (again). They
    /// count as lost. A read in flight is given up too.
    void dropWrites();

    const Statistics &statistics() const { return poller.statistics(); }
    void setTrace(const TraceHook &trace) { poller.setTrace(trace); }
    void setEvents(const EventHook &hook) { events = hook; }

private:
    static void onceReadEnded(int handle, int type, int index, int status);
    enum class Pass {
        Poll,  ///< the cyclic list is what is polled
        Probe, ///< one request that is to find out a silent place
        Sample ///< one short request that is to show if a station answers at all
    };

    bool isRemote() const { return info.remoteMode != 0; }
    bool isGivenUp(int station) const;
    bool isTroubled() const { return isExact || health.isTroubled() || !suspects.isQuiet(); }
    Spans currentBlocks() const;
    bool needsExact() const;
    void beginRound();
    Time askedAt(const Span &block) const;
    void listJoined();
    void listExactly();
    void beginProbe(const Probe &probe);
    void beginSample(int station);
    Span nextSample(int station);
    int stationToSample() const;
    void hand(const std::vector<RW_VAR> &blocks);
    void appendPolled(std::vector<RW_VAR> &list, const Span &block) const;
    void appendCompanion(std::vector<RW_VAR> &list, int station) const;
    void planAfter(const Step &step);
    void betweenRounds();
    void limitAttempts();
    bool noteReading(const Step &step, const Spans &blocks);
    void noteOutcome(const Step &step, bool isLookedAt);
    void noteHealth(const Step &step);
    void tellFindings();
    void watchLink();
    void watchAnswers();
    void tellOfStation(int station);
    void tell(const LineEvent &event) const;
    void endJob(const Step &step);
    void readNextOnce();
    void dropOnceReads(int station);
    void dropOne(int station);
    void dropQueued(int failedStation);
    RW_VAR blockOf(const Span &span) const;
    bool needsCompanion(const Span &block) const { return !isRemote() && isTooShort(block); }
    void endOnceRead();
    bool waitsInDriver(int failedStation) const;
    int itemsPerRecord(const Variable &variable) const;
    int recordsOf(const Variable &variable) const;
    int itemsPerWrite(const Variable &variable) const;
    int queue(const Variable &part, QByteArray values);

    const DriverApi driver;
    Link &link;
    const Storage storage;
    const int remoteLink;     ///< in remote frames
    COMINFO info = COMINFO(); ///< the driver keeps its address
    Poller poller;
    StationHealth health;
    Suspects suspects;
    std::vector<Variable> polled;
    Spans wanted;         ///< of them
    std::set<int> listed; ///< stations that are polled
    Pass pass = Pass::Poll;
    bool isExact = false;            ///< the driver's list is not left to it to join
    bool isResumed = false;          ///< the first round of what was asked for before
    bool isThorough = true;          ///< the probe has all attempts
    int jobsLeft = 0;                ///< in the round, or the pass; counted only while isExact
    std::map<int, int> samples;      ///< how many were taken since the station has answered
    std::deque<RW_VAR> waiting;      ///< one-shot reads to come
    bool onceUnderWay = false;       ///< the driver has the first of them
    std::map<int, int> queuedWrites; ///< records in the driver's queue, by station
    int lostWrites = 0;
    Time jobStart{0};
    bool jobUnderWay = false;
    int silentRequests = 0; ///< of the job
    Time pollStart{0};
    std::set<int> down; ///< stations of which it was told
    bool linkUp = true;
    bool wasLinkOpen = false;                 ///< at any time
    bool isAlert = false;                     ///< it was told that unasked answers come
    std::bitset<MaxStation + 1> everAnswered; ///< stations
    EventHook events;
};

} // namespace fgs

#endif
