// Cuts the stream of received bytes into request frames and what is none.
//
// The length of a request is known from its first bytes. Where none can start, or where its check is bad, one
// byte is skipped and the next start is tried, so that a request behind garbage is found. A silence ends
// what is incomplete: it is skipped in the same way.
#ifndef SIM_REASSEMBLER_H
#define SIM_REASSEMBLER_H

#include "framing.h"
#include "line_times.h"

#include <optional>

namespace fgssim
{

struct Piece {
    enum class Content { Frame, Garbage };
    Content content;
    Bytes bytes;       ///< of garbage at most 256
    std::string cause; ///< of garbage: why no request starts with its first byte
};

class Reassembler
{
public:
    explicit Reassembler(Time silenceLength, const Framing &theFrames = ControllerFraming)
        : frames(theFrames), silence(silenceLength)
    {
    }

    std::vector<Piece> receive(Slice bytes, Time now);
    /// What a silence ends; nothing before deadline().
    std::vector<Piece> advance(Time now);
    /// When the silence has lasted long enough; none if nothing waits.
    std::optional<Time> deadline() const;

private:
    void cut(bool ended, std::vector<Piece> &pieces);
    void skip(Byte byte, const std::string &cause, std::vector<Piece> &pieces);
    void endGarbage(std::vector<Piece> &pieces);

    const Framing &frames;
    Time silence;
    Time lastReceived{0};
    Bytes buffer;  // shorter than the longest request between two calls
    Bytes garbage; // skipped and not yet handed over
    std::string garbageCause;
};

} // namespace fgssim

#endif
