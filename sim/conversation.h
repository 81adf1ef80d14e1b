// One conversation: received bytes in, bytes to send out, with the time as an argument. No input or output.
#ifndef SIM_CONVERSATION_H
#define SIM_CONVERSATION_H

#include "controller.h"
#include "log.h"
#include "random_faults.h"
#include "reassembler.h"
#include "replay.h"
#include "strikes.h"

#include <deque>
#include <utility>

namespace fgssim
{

struct Counters {
    std::uint64_t requests = 0;   ///< frames with a good check
    std::uint64_t replies = 0;    ///< handed out, damaged and late ones included
    std::uint64_t broadcasts = 0; ///< requests for every station
    std::uint64_t elsewhere = 0;  ///< requests for stations that are not here
    std::uint64_t rejected = 0;   ///< requests that nobody accepts, and stretches of garbage
    std::uint64_t unanswered = 0; ///< for stations that are off, and missing addresses
    std::uint64_t lost = 0;       ///< replies for which there was no room: too many wait to be sent or read
    std::array<std::uint64_t, FaultKinds> faults{};
    std::uint64_t strikes = 0; ///< faults of the table
};

std::string summary(const Counters &counters);

/// What passes a line, for whoever records it.
struct TappedFrame {
    const std::string &line; ///< of a conversation without a name: empty
    Time time;
    bool isRequest;   ///< received here; otherwise sent from here
    Slice bytes;      ///< none: no reply was sent, or it was lost
    std::string what; ///< became of it; empty: a request that is answered
};
using Tap = std::function<void(const TappedFrame &)>;

/// What all conversations share.
struct Simulation {
    Controller controller;
    FaultChooser faults;
    Log log;
    Counters counters;
    Tap tap = {};
    std::optional<Replay> replay = {}; ///< answers in place of the controller
    Strikes strikes{1};
    Time unpluggedUntil = Time::min(); ///< before it nothing passes any line, neither in nor out

    bool isUnplugged(Time now) const { return now < unpluggedUntil; }
};

class Conversation
{
public:
    /// `prefix` starts each line in the log.
    Conversation(Simulation &shared, const LineTimes &lineTimes, std::string prefix = {});

    void receive(Slice bytes, Time now);
    /// What the passing of time does.
    void advance(Time now);
    /// The bytes that are to be sent by now; each is handed out once.
    Bytes takeDue(Time now);
    /// When to call advance() and takeDue() again; none: not before bytes come.
    std::optional<Time> nextEvent() const;
    /// The reply that was just handed out could not be sent.
    void replyLost();
    /// Whether a fault has cut the link since the last call.
    bool takeCut() { return std::exchange(isCut, false); }

private:
    struct Outgoing {
        Bytes bytes;
        Time start;
        std::size_t sent;
        std::string what;
    };
    struct Held { // until the next request
        Time after;
        Bytes bytes;
        std::string what;
    };
    void handle(const std::vector<Piece> &pieces);
    void handleFrame(Slice frame);
    bool answerAsRecorded(Slice request);
    void sendRecorded(const Replay::Answer &answer);
    void reject(const std::string &cause, Slice bytes);
    void sendReply(Slice frame, const Response &response);
    void sendFault(RandomFault fault, const Response &response);
    void sendStrike(const Strike &strike, const Exchange &exchange, const Request &request);
    void sendHeld();
    bool hasRoom() const;
    void send(Bytes reply, Time wait, std::string what);
    void enqueue(Bytes bytes, Time wait, std::string what);
    void replyLost(const char *cause);
    Time spent(std::size_t bytes) const { return times.byteTime * std::int64_t(bytes); }
    /// `text` is called, and gives a string, only if the line is written.
    template <typename Text>
    void say(Log::Topic topic, Text text);
    void tap(bool isRequest, Slice bytes, const std::string &what) const;

    Simulation &simulation;
    LineTimes times;
    std::string name;
    Reassembler reassembler;
    std::deque<Outgoing> outgoing; // one after the other, as one line sends them
    std::vector<Held> held;        // by faults
    bool isCut = false;
    Time latest{0};     // the last time that was told
    Time requestEnd{0}; // when the bytes received so far have passed the line
    Time replyEnd{0};   // the same of the bytes to send
};

} // namespace fgssim

#endif
