// The poll loop: one step is one transaction with the controller.
#ifndef FGS_HOST_POLLER_H
#define FGS_HOST_POLLER_H

#include "driver_api.h"
#include "freshness.h"
#include "late_replies.h"
#include "reply_finder.h"
#include "trace.h"

namespace fgs
{

struct Timing {
    Time timeout = 1s;           ///< for an answer; what the bytes take on the line comes on top
    Time gap = 2ms;              ///< silence on the line before a request; at least four byte times are kept
    Time late = 2s;              ///< for how long after its time limit a reply may still come
    Time turnaround = 100ms;     ///< for the stations to take in a broadcast
    Time firstReconnect = 500ms; ///< between the tries to open a lost link; doubled each time
    Time lastReconnect = 10s;
};

/// What one step did.
struct Step {
    enum Kind {
        Idle,     ///< nothing is to be sent
        NoLink,   ///< the link is lost and was not to be had again yet; at most a tenth of a second was waited
        Exchanged ///< a request was sent
    };
    Kind kind = Idle;
    Outcome outcome = Outcome::Good; ///< of Exchanged, like the rest
    bool ended = false;              ///< the job is done: answered or given up; otherwise the request is sent again
    bool isWrite = false;
    int station = 0;
};

/// A bad reply never becomes a good value: the line is silent before a request; noise, echoes and other stations'
/// frames are passed over; a reply is handed over only if it repeats the station, areas and counts of the request;
/// no step takes longer than its time limits. What the driver gets instead of a reply makes it repeat the request
/// or give it up, as COMINFO says. A lost link costs the driver nothing: the request waits for the next one.
///
/// Use it on one thread, the driver's polling thread.
class Poller
{
public:
    Poller(const DriverApi &driver, Link &link, const Timing &timing);

    Step step();

    const Statistics &statistics() const { return stats; }
    /// Of the local reads. A read whose place the driver does not tell, a single one of words, leaves no trace.
    Freshness freshness;
    TraceHook trace;

private:
    bool reopen();
    bool awaitLateReplies();
    bool awaitSilence();
    void throwAway(FrameView bytes);
    Outcome exchange();
    bool await(Time deadline);
    Outcome judge(bool found) const;
    void finish(Step &step);
    void tellDriver(Step &step);
    void markCurrent(const Step &step);
    void note(TraceEntry::Event event, FrameView bytes, Outcome outcome = Outcome::Good, int replyAt = 0) const;

    const DriverApi driver;
    Link &link;
    const Timing timing;
    Statistics stats;
    LateReplies lateReplies;
    ReplyFinder finder;
    QByteArray reply;
    Protocol *request = nullptr; ///< in flight
    DataStarts dataStarts = {};  ///< of its reply
    Time sentAt{0};
    Time lastByte{0}; ///< seen on the line
    Time nextOpen{0};
    Time reconnectDelay;
};

} // namespace fgs

#endif
