#include "reassembler.h"

namespace fgssim
{

namespace
{

const std::size_t MaxGarbage = 256;

// What the first byte of `rest` starts.
struct Head {
    enum class State { Frame, Incomplete, Garbage };
    State state;
    std::size_t length; // of a frame
    std::string cause;  // unless it is one
};

std::string tooShort(Slice rest, const Extent &extent)
{
    const bool known = extent.state == Extent::State::Known;
    return "incomplete, " + std::to_string(rest.size()) + (known ? " of " + std::to_string(extent.length) : "") +
           " bytes, then silence";
}

Head judge(const Framing &frames, Slice rest)
{
    const Extent extent = frames.extent(rest);
    if (extent.state == Extent::State::Impossible)
        return {Head::State::Garbage, 0, extent.cause};
    if (extent.state == Extent::State::Open || rest.size() < extent.length)
        return {Head::State::Incomplete, 0, tooShort(rest, extent)};
    const Slice frame = rest.first(extent.length);
    if (const std::string fault = frames.checkFault(frame); !fault.empty())
        return {Head::State::Garbage, 0, fault};
    return {Head::State::Frame, extent.length, {}};
}

} // namespace

std::vector<Piece> Reassembler::receive(Slice bytes, Time now)
{
    std::vector<Piece> pieces = advance(now);
    lastReceived = now;
    buffer.insert(buffer.end(), bytes.begin(), bytes.end());
    cut(false, pieces);
    return pieces;
}

std::vector<Piece> Reassembler::advance(Time now)
{
    std::vector<Piece> pieces;
    const std::optional<Time> end = deadline();
    if (end && now >= *end)
        cut(true, pieces);
    return pieces;
}

std::optional<Time> Reassembler::deadline() const
{
    if (buffer.empty() && garbage.empty())
        return std::nullopt;
    return lastReceived + silence;
}

void Reassembler::cut(bool ended, std::vector<Piece> &pieces)
{
    Slice rest = buffer;
    while (!rest.empty()) {
        const Head head = judge(frames, rest);
        if (head.state == Head::State::Incomplete && !ended)
            break;
        if (head.state == Head::State::Frame) {
            endGarbage(pieces);
            pieces.push_back({Piece::Content::Frame, rest.first(head.length).copy(), {}});
            rest = rest.from(head.length);
        } else {
            skip(rest.u8(0), head.cause, pieces);
            rest = rest.from(1);
        }
    }
    buffer = rest.copy();
    if (buffer.empty())
        endGarbage(pieces);
}

void Reassembler::skip(Byte byte, const std::string &cause, std::vector<Piece> &pieces)
{
    if (garbage.empty())
        garbageCause = cause;
    garbage.push_back(byte);
    if (garbage.size() == MaxGarbage)
        endGarbage(pieces);
}

void Reassembler::endGarbage(std::vector<Piece> &pieces)
{
    if (!garbage.empty())
        pieces.push_back({Piece::Content::Garbage, std::move(garbage), garbageCause});
    garbage.clear();
}

} // namespace fgssim
