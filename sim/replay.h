// Answers as a controller once did: what followed each request in a recording follows it again.
#ifndef SIM_REPLAY_H
#define SIM_REPLAY_H

#include "framing.h"

#include <map>
#include <string>

namespace fgssim
{

/// A stretch of bytes as it was recorded.
struct RecordedBytes {
    std::string line; ///< lines are independent of each other
    Time time;
    bool isInbound; ///< as the recorder saw it, whichever side it was on
    Bytes bytes;    ///< may be none: nothing was on the line
};

/// All lines of a recording together: one that has the same request on two lines answers it twice as often.
class Replay
{
public:
    struct Sent {
        Time after; ///< from the end of the request on
        Bytes bytes;
    };
    using Answer = std::vector<Sent>; ///< none: silence

    struct Counters {
        std::uint64_t answered = 0; ///< requests, silence included
        std::uint64_t unknown = 0;  ///< good requests that the recording does not have: silence
        std::uint64_t again = 0;    ///< times that a request's answers began anew
    };

    /// Its frames are those of which it has the most good requests. Requests are what goes in the direction of most
    /// good ones, on each line. With `inTime` answers take the time that they took, otherwise none.
    Replay(const std::vector<RecordedBytes> &recording, bool inTime);

    /// The nth call with a request gives what followed its nth occurrence; after the last one comes the first
    /// again. Null: the recording does not have it.
    const Answer *answerTo(Slice request);

    const Framing &framing() const { return *frames; }
    std::size_t requests() const { return recorded; }
    const Counters &counters() const { return counts; }

private:
    struct Occurrences {
        std::vector<Answer> answers;
        std::size_t next = 0;
    };

    const Framing *frames;
    std::map<Bytes, Occurrences> known;
    std::size_t recorded = 0;
    Counters counts;
};

/// "answered as recorded 120, not in the recording 3, begun anew 2"
std::string summary(const Replay::Counters &counters);

} // namespace fgssim

#endif
