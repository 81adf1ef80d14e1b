// A host of the driver, whole: its settings, the variables, the writes. The poll loop below it is Poller's.
#ifndef FGS_HOST_HOST_H
#define FGS_HOST_HOST_H

#include "plan.h"
#include "poller.h"
#include "station_health.h"

namespace fgs
{

struct HostOptions {
    int blockWords = DefaultBlockWords; ///< most words that one block reads
    int retries = 2;                    ///< of a failing request, before the driver gives it up
    Timing timing;
    Time firstRest = 1s;    ///< of a station that does not answer while others do; doubled after each probe
    Time longestRest = 10s; ///< longer if many stations rest, because probes take a bounded share of the time
};

/// The driver is one in a process, and so is its host. One thread, the driver's polling thread.
class Host
{
public:
    /// The variables are all that will be read or written: they decide where the driver keeps the values. The
    /// driver must have nothing in flight.
    Host(const DriverApi &driver, Link &link, const std::vector<Variable> &variables,
         const HostOptions &options = HostOptions());
    ~Host();
    Host(const Host &) = delete;
    Host &operator=(const Host &) = delete;

    /// Reads the variables round and round, in place of those before.
    void poll(const std::vector<Variable> &variables);
    /// Reads the variables as soon as possible: bits once, the others, which the driver cannot read once, round and
    /// round. ageOf() tells when it is done.
    void readSoon(const std::vector<Variable> &variables);
    /// Queues a write of as many values as the variable has. False: the driver's queue has no room for it now.
    /// Throws TextError if the area is read-only.
    bool write(const Variable &variable, const std::vector<quint32> &values);

    /// One transaction, or nothing to do.
    Step step();

    Age ageOf(const Variable &variable) const { return poller.freshness.of(variable); }
    /// Whether the station is left out for a while because it does not answer.
    bool rests(int station) const { return listed.count(station) == 0; }
    /// The values in the driver's image, good if ageOf() says so; a bit is 0 or 1.
    std::vector<quint32> values(const Variable &variable) const;

    int writesQueued() const;
    /// Writes that the controller did not acknowledge, or that the driver dropped after another failure.
    int writesLost() const { return lostWrites; }

    const Statistics &statistics() const { return poller.statistics(); }
    void setTrace(const TraceHook &trace) { poller.trace = trace; }

private:
    static void onceReadEnded(int handle, int type, int index, int status);
    void list(const std::set<int> &stations);
    void probeOnce();
    void endJob(const Step &step);
    void dropQueued(const Step &step);
    bool loses(int station, const Step &step) const;
    int recordsOf(const Variable &variable) const;
    int itemsPerWrite(const Variable &variable) const;

    const DriverApi driver;
    Link &link;
    const Storage storage;
    COMINFO info = COMINFO(); ///< the driver keeps its address
    Poller poller;
    StationHealth health;
    std::vector<Variable> polled;
    std::set<int> listed;            ///< stations in the driver's cyclic list
    std::map<int, RW_VAR> once;      ///< one-shot reads under way, by their index
    std::map<int, int> queuedWrites; ///< records in the driver's queue, by station
    int lostWrites = 0;
    Time jobStart{0};
    bool jobUnderWay = false;
    int lastStation = 0;
};

} // namespace fgs

#endif
