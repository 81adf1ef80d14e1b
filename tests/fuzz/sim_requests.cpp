// The simulated controller's requests: any bytes in pieces of any length. What it cuts out of them depends on the
// bytes alone, and so do its answers.
#include "sim/conversation.h"
#include "sim/crc.h"
#include "target.h"

#include <optional>

using namespace fgssim;
using fuzz::Input;
using fuzz::require;

namespace
{

const std::size_t LongestReply = 3 + 6 * (2 + 255 * 4) + 2;

/// A request as hosts send it, or with anything in its fields, with a good check code.
Bytes anyRequest(Input &input)
{
    const bool write = input.oneIn(3);
    const bool sensible = !input.oneIn(4);
    const std::size_t entries = write ? 1 : std::size_t(input.between(1, 6));
    Bytes frame = {Byte(input.between(0, 3)), write ? WriteCommand : ReadCommand, Byte(entries)};
    for (std::size_t i = 0; i < entries; ++i) {
        const Area &area = areas()[input.below(areas().size())];
        frame.push_back(sensible ? area.code : Byte(input.below(256)));
        frame.push_back(Byte(sensible ? 8 * input.between(0, 3) : input.between(0, 255)));
        frame.push_back(Byte(input.below(256)));
        frame.push_back(Byte(sensible ? 0 : input.below(256)));
    }
    const Extent extent = requestExtent(frame);
    if (extent.state == Extent::State::Known && extent.length > frame.size() + CrcLength) {
        Bytes data = input.bytes(extent.length - CrcLength - frame.size());
        data.resize(extent.length - CrcLength - frame.size());
        frame.insert(frame.end(), data.begin(), data.end());
    }
    appendCrc(frame);
    return frame;
}

Bytes anyStream(Input &input)
{
    Bytes stream;
    for (int parts = input.between(1, 8); parts > 0; --parts) {
        Bytes part = input.oneIn(3) ? input.bytes(input.below(std::size_t(60))) : anyRequest(input);
        if (!part.empty() && input.oneIn(6))
            part.resize(input.below(part.size()));
        stream.insert(stream.end(), part.begin(), part.end());
    }
    return stream;
}

/// What was cut out, without the places where garbage was handed over.
struct Cut {
    std::vector<Bytes> frames;
    Bytes all;
    std::vector<std::size_t> ends; ///< of the frames, in `all`

    void add(const std::vector<Piece> &pieces)
    {
        for (const Piece &piece : pieces) {
            all.insert(all.end(), piece.bytes.begin(), piece.bytes.end());
            require(!piece.bytes.empty(), "an empty piece");
            if (piece.content == Piece::Content::Garbage) {
                require(piece.bytes.size() <= 256 && !piece.cause.empty(), "garbage too long, or without a cause");
                continue;
            }
            require(hasGoodCrc(piece.bytes), "a frame with a bad check code");
            frames.push_back(piece.bytes);
            ends.push_back(all.size());
        }
    }
    bool operator==(const Cut &other) const
    {
        return frames == other.frames && all == other.all && ends == other.ends;
    }
};

/// Calls use(piece) with the stream in pieces of up to `most` bytes.
template <typename Use>
void inPieces(const Bytes &stream, Input &input, Use use)
{
    const int most = input.oneIn(3) ? 1 : input.between(1, 100);
    for (std::size_t at = 0; at < stream.size();) {
        const Slice piece = Slice(stream).from(at).first(std::size_t(input.between(1, most)));
        use(piece);
        at += piece.size();
    }
}

void checkCutting(const Bytes &stream, Input &input)
{
    Reassembler whole(Time(1000)), divided(Time(1000));
    Cut atOnce, piecewise;
    atOnce.add(whole.receive(stream, Time(0)));
    inPieces(stream, input, [&](Slice piece) { piecewise.add(divided.receive(piece, Time(0))); });
    require(whole.deadline() == divided.deadline() || stream.empty(), "another deadline");
    atOnce.add(whole.advance(Time(1000)));
    piecewise.add(divided.advance(Time(1000)));
    require(atOnce.all == stream, "bytes are lost, or handed over twice");
    require(atOnce == piecewise, "the pieces depend on how the bytes arrive");
    require(!whole.deadline() && !divided.deadline(), "something is left after a silence");
}

void checkRequest(const Bytes &frame)
{
    try {
        const Request request = parseRequest(frame);
        require(request.station == frame[0] && request.entries.size() == frame[2], "another request");
        const Bytes reply = readReply(request, [](const Area &, unsigned) { return 0xFFFFFFFFu; });
        require(request.write || (reply.size() <= LongestReply && hasGoodCrc(reply)), "a wrong reply");
    } catch (const Refusal &refusal) {
        require(refusal.what()[0] != '\0', "a refusal without a cause");
    }
}

Simulation simulation(const FaultRates &faults, std::size_t &lines)
{
    const std::vector<unsigned> stations = {1, 2};
    return {Controller(stations, Memory(Motion(stations, {}, Values::Moving, 1))), FaultChooser(faults, 7),
            Log(Log::Level::All, [&lines](const std::string &) { ++lines; }), Counters()};
}

/// At one point of time.
void checkAnswers(const Bytes &stream, Input &input)
{
    std::size_t lines = 0;
    Simulation one = simulation({}, lines), other = simulation({}, lines);
    Conversation whole(one, LineTimes()), divided(other, LineTimes());
    whole.receive(stream, Time(5));
    inPieces(stream, input, [&](Slice piece) { divided.receive(piece, Time(5)); });
    const Bytes answers = whole.takeDue(Time(5));
    require(answers == divided.takeDue(Time(5)), "the answers depend on how the bytes arrive");
    require(whole.takeDue(Time(5)).empty(), "an answer is handed out twice");
    require(one.counters.requests == other.counters.requests && one.counters.replies == other.counters.replies,
            "other counts");
    require(answers.size() <= one.counters.replies * LongestReply, "too many bytes");
}

/// With faults, delays and a pace: the time comes in steps.
void checkTimes(const Bytes &stream, Input &input)
{
    std::size_t lines = 0;
    Simulation shared = simulation({10, 10, 10, 10, 10, 10}, lines);
    LineTimes times;
    times.delay = std::chrono::microseconds(input.between(0, 5000));
    times.byteTime = std::chrono::nanoseconds(input.between(0, 2000000));
    Conversation conversation(shared, times, "line ");
    Time now(0);
    inPieces(stream, input, [&](Slice piece) {
        conversation.receive(piece, now);
        conversation.takeDue(now);
        now += std::chrono::microseconds(input.between(0, 200000));
        conversation.advance(now);
    });
    for (int events = 0; const std::optional<Time> next = conversation.nextEvent(); ++events) {
        require(events < 500000, "there is no end of events");
        now = std::max(now, *next);
        conversation.advance(now);
        conversation.takeDue(now);
    }
    require(!summary(shared.counters).empty(), "no summary");
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t *bytes, std::size_t size)
{
    Input input(bytes, size);
    const Bytes stream = anyStream(input);
    checkCutting(stream, input);
    checkAnswers(stream, input);
    checkTimes(stream, input);
    checkRequest(anyRequest(input));
    return 0;
}
