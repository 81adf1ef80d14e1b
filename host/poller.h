// The poll loop: one step is one transaction with the controller.
#ifndef FGS_HOST_POLLER_H
#define FGS_HOST_POLLER_H

#include "driver_api.h"
#include "freshness.h"
#include "late_replies.h"
#include "reply_finder.h"
#include "spans.h"
#include "trace.h"
#include "unasked_answers.h"

namespace fgs
{

struct Timing {
    Time timeout = 1s;           ///< for an answer; what the bytes take on the line comes on top
    Time gap = 2ms;              ///< silence on the line before a request; at least four byte times are kept
    Time late = 2s;              ///< for how long after its time limit a reply may still come
    Time turnaround = 100ms;     ///< for the stations to take in a broadcast
    Time firstReconnect = 500ms; ///< between the tries to open a lost link; doubled each time
    Time lastReconnect = 1s;     ///< and never longer, so that a device that is back is soon taken
};

/// A connection on which so many requests in a row, each with its repetitions, brought no byte is opened anew.
const int MostSilentRequests = 3;

/// What RW_VAR::hostAddr says of a block that is read only to keep another one company: its failure says nothing.
const int CompanionMark = -2;

/// What one step did.
struct Step {
    enum StepKind {
        Idle,   ///< nothing is to be sent
        NoLink, ///< the link is lost and was not to be had again yet; at most a tenth of a second was waited, and
                ///< what the link takes to open
        Exchanged, ///< a request was sent
        Stopped ///< the link has ended what is waited for; a request may be under way, whose outcome is not known
    };
    StepKind kind = Idle;
    bool sent = false;     ///< this step put a frame on the line, or a part of it
    bool isWrite = false;  ///< of Exchanged and Stopped, like the station
    bool isCyclic = false; ///< a read of the cyclic list
    int station = 0;
    Outcome outcome = Outcome::Good; ///< of Exchanged, like the rest
    bool ended = false;              ///< the job is done: answered or given up; otherwise the request is sent again
    int received = 0, expected = 0;  ///< bytes of the answer, of Incomplete
};

/// A bad reply never becomes a good value: the line is silent before a request; noise, echoes and other stations'
/// frames are passed over; a reply is handed over only if it repeats the station, areas and counts of the request;
/// no transaction takes longer than its time limits. What the driver gets instead of a reply makes it repeat the
/// request or give it up, as COMINFO says. A refusal is repeated too: it has no check code, and differs from an
/// acknowledgement in one bit. A remote reply repeats nothing of its request: there, length and check code
/// are all that is compared, and the more is waited for late replies. A lost link costs the driver nothing: the
/// request waits for the next one. Once the link has ended, nothing is sent or waited for.
///
/// Use it on one thread, the driver's polling thread.
class Poller
{
public:
    /// The settings are those that the driver has.
    Poller(const DriverApi &driver, Link &link, COMINFO &settings, const Timing &timing);

    Step step();

    /// The request in flight, or the driver's next one; null if it has none now.
    const Protocol *takeRequest();
    /// The driver gives up the job of the request in flight, if any: it is not sent again.
    void giveUp();
    /// Whether a request was sent whose outcome a stop has left open.
    bool isUnderWay() const { return stats.underWay != 0; }
    /// The request in flight, sent or not; null if there is none.
    const Protocol *inFlight() const { return request; }

    /// What the last read that was sent on the remote path reads.
    const Span &remotelyRead() const { return readSpan; }

    /// Listens whether more answers come than were asked for, for as long as a doubled one may take. Nothing if the
    /// last request was sent into a long silence.
    void listen();
    /// Whether such answers have come of late.
    bool hearsUnaskedAnswers() const { return stats.unaskedAnswers != 0 && unaskedAnswers.isAlert(link.now()); }
    /// When the values that came before were last put in doubt, and are worth asking for anew.
    Time doubtedAt() const { return lastDoubt; }

    const Statistics &statistics() const { return stats; }
    /// Of the local reads. A read whose place the driver does not tell, a single one of words, leaves no trace.
    const Freshness &freshness() const { return fresh; }
    /// Every value known so far is that of before.
    void lostLink()
    {
        ++stats.linkLost;
        fresh.lostLink(link.now());
    }
    void setTrace(const TraceHook &hook) { trace = hook; }

private:
    Step stopped() const;
    bool prepare();
    void exchange(Step &step);
    void settleUnderWay();
    void watchConnection(const Step &step);
    void replaceSilentConnection();
    bool reopen();
    bool awaitLateReplies();
    bool awaitSilence();
    bool awaitPause(Time least);
    Time pauseBefore(Time least) const;
    bool judgeStrays();
    void noteSurroundings();
    void throwAway(FrameView bytes);
    Outcome converse();
    Outcome pauseAfterBroadcast();
    Time deadline() const;
    bool await(Time limit);
    Outcome judge(bool found) const;
    void finish(Step &step);
    int handOver(FrameView bytes);
    void tellDriver(Step &step, bool isTimed);
    void markCurrent(const Step &step);
    void mark(const Step &step, int station, int area, int address, int bytes);
    void noteRemote();
    void note(TraceEntry::Event event, FrameView bytes, Outcome outcome = Outcome::Good, int replyAt = 0) const;

    const DriverApi driver;
    Link &link;
    COMINFO &settings;
    const Timing timing;
    Freshness fresh;
    TraceHook trace;
    Statistics stats;
    LateReplies lateReplies;
    UnaskedAnswers unaskedAnswers;
    Time lastDoubt = Never;
    ReplyFinder finder;
    QByteArray reply;
    Protocol *request = nullptr; ///< in flight
    DataStarts dataStarts = {};  ///< of its reply
    QByteArray remoteRequest;    ///< the last request on the remote path, while there is a trace
    Span readSpan{};             ///< by the last read on the remote path
    Time sentAt{0};
    Time lastByte{0};          ///< seen on the line
    Time longestPause{0};      ///< between the bytes of the answer
    bool wasBrokenOff = false; ///< the last answer: its rest may still be on the way
    Time nextOpen{0};
    Time openedAt = -1h; ///< the last time that a lost link was
    Time reconnectDelay;
    int tries = 0;           ///< of the request in flight
    bool jobIsSilent = true; ///< none of its tries has brought a byte so far
    int silentRequests = 0;  ///< given up in a row
};

} // namespace fgs

#endif
