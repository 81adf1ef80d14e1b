// What the reference host finds in the bytes that arrive: replies, other frames, echoes, damaged ones and noise, in
// pieces of any length. It finds nothing that does not answer the request, and finds the answer behind whole
// frames.
#include "host/reply_finder.h"
#include "host/trace.h"
#include "questions.h"

using namespace fgs;
using fuzz::Bytes;
using fuzz::Input;
using fuzz::Question;
using fuzz::require;

namespace
{

/// What comes on the line for one question.
struct Arrival {
    Bytes bytes;
    /// Where the reply stands; what is before it are echoes and whole frames that answer something else.
    std::size_t replyAt = 0;
    bool hasReply = false;
};

Bytes otherFrame(const Question &question, Input &input)
{
    const Question other = anyQuestion(input);
    return answerAlike(question, other) ? Bytes() : goodReply(other, input);
}

Bytes damaged(Bytes frame, Input &input)
{
    const std::size_t at = static_cast<std::size_t>(input.below(frame.size()));
    if (input.oneIn(2))
        frame.resize(at);
    else
        frame[at] = static_cast<std::uint8_t>(frame[at] ^ 1 << input.below(8));
    return frame;
}

/// A reply whose data continue the copied head as the request does cannot be told from an echo.
bool beginsWith(const Bytes &reply, const Bytes &request)
{
    return reply.size() >= request.size() && std::equal(request.begin(), request.end(), reply.begin());
}

Arrival anyArrival(const Question &question, Input &input)
{
    Arrival arrival;
    bool orderly = true;
    const auto append = [&arrival](const Bytes &part) {
        arrival.bytes.insert(arrival.bytes.end(), part.begin(), part.end());
    };
    for (int parts = input.between(1, 6); parts > 0; --parts) {
        switch (input.between(0, 4)) {
        case 0: {
            const Bytes reply = goodReply(question, input);
            orderly = orderly && !beginsWith(reply, question.frame());
            if (orderly && !arrival.hasReply) {
                arrival.hasReply = true;
                arrival.replyAt = arrival.bytes.size();
            }
            append(reply);
            break;
        }
        case 1:
            append(question.frame());
            break;
        case 2:
            append(otherFrame(question, input));
            break;
        case 3:
            append(damaged(goodReply(question, input), input));
            orderly = false;
            break;
        default:
            append(input.bytes(input.below(std::size_t(40))));
            orderly = false;
            break;
        }
    }
    return arrival;
}

Bytes copyOf(FrameView view)
{
    return view.size > 0 ? Bytes(view.bytes, view.bytes + view.size) : Bytes();
}

bool answers(const Question &question, const Bytes &reply)
{
    const Bytes frame = question.frame();
    if (reply.size() != std::size_t(question.request.replyLen) || reply[0] != frame[0] || reply[1] != frame[1])
        return false;
    if (question.isWrite)
        return reply[2] == 0x20;
    bool same = reply[2] == frame[2];
    for (std::size_t i = 0; i < question.entries.size(); ++i) {
        const std::size_t at = std::size_t(question.dataStarts[i]);
        same = same && reply[at - 2] == question.entries[i].code && reply[at - 1] == question.entries[i].count;
    }
    return same;
}

/// Whether the bytes are echoes of the request and whole good frames.
bool isWholeFrames(const Question &question, Bytes bytes)
{
    const Bytes echo = question.frame();
    while (!bytes.empty()) {
        const int size = replySize({reinterpret_cast<const char *>(bytes.data()), int(bytes.size())});
        std::size_t length = size > 0 && size <= int(bytes.size()) ? std::size_t(size) : 0;
        if (bytes.size() >= echo.size() && std::equal(echo.begin(), echo.end(), bytes.begin()))
            length = echo.size();
        else if (length == 0 ||
                 (length != 3 && !frames::isSealed(Bytes(bytes.begin(), bytes.begin() + int(length)))))
            return false;
        bytes.erase(bytes.begin(), bytes.begin() + int(length));
    }
    return true;
}

void checkTrace(TraceEntry::Event event, FrameView bytes, Outcome outcome, int replyAt)
{
    require(!describe(TraceEntry{event, Time(0), bytes, outcome, replyAt}).isEmpty(), "no trace line");
}

void checkFound(const Question &question, const ReplyFinder &finder)
{
    const Bytes reply = copyOf(finder.reply());
    require(answers(question, reply), "what was found does not answer the request");
    const int skipped = int(finder.reply().bytes - finder.received().bytes);
    require(question.isWrite || frames::isSealed(reply) ||
                isWholeFrames(question, copyOf({finder.received().bytes, skipped})),
            "a reply with a bad check code was found behind noise");
    require(finder.wouldPass() == (question.isWrite || frames::isSealed(reply)), "wouldPass() of a reply");
    checkTrace(TraceEntry::Received, finder.received(), Outcome::Good, skipped);
}

/// Only a write is refused, and the driver must not take that for the acknowledgement.
void checkRefused(const Question &question, const ReplyFinder &finder)
{
    const Bytes refusal = {std::uint8_t(question.station), 0xFF, 0x21};
    require(question.isWrite && copyOf(finder.reply()) == refusal, "what was taken for a refusal is none");
    require(!finder.wouldPass(), "a refusal would pass for an acknowledgement");
}

void checkTaken(const Question &question, const ReplyFinder &finder)
{
    finder.isRefusal() ? checkRefused(question, finder) : checkFound(question, finder);
}

void checkNotFound(const ReplyFinder &finder, const Question &question)
{
    const FrameView received = finder.received(), rest = finder.reply();
    require(rest.bytes >= received.bytes && rest.size >= 0 &&
                rest.bytes + rest.size == received.bytes + received.size,
            "reply() is not the rest of what was received");
    require(!finder.wouldPass() || rest.size == question.request.replyLen, "another length would pass");
    require(!finder.sawPart() || std::uint8_t(rest.bytes[0]) == question.station, "a part of something else");
}

std::string hex(const Bytes &bytes)
{
    return fuzz::toQt(bytes).toHex(' ').toStdString();
}

std::string story(const Question &question, const Arrival &arrival, std::size_t given)
{
    return "request " + hex(question.frame()) + ", reply of " + std::to_string(question.request.replyLen) + " at " +
           std::to_string(arrival.replyAt) + ", " + std::to_string(given) + " bytes of " + hex(arrival.bytes);
}

/// Hands over the bytes in pieces, each of which lies in the finder's room and nowhere else.
void receive(const Question &question, const Arrival &arrival, Input &input)
{
    ReplyFinder finder;
    finder.expect(question.request, question.dataStarts);
    const int most = input.oneIn(3) ? 1 : input.between(1, 64);
    bool found = false;
    std::size_t given = 0;
    while (!found && given < arrival.bytes.size()) {
        const std::size_t count = std::min(std::size_t(input.between(1, most)), arrival.bytes.size() - given);
        require(finder.roomSize() >= int(count), "no room");
        std::copy_n(arrival.bytes.begin() + int(given), count, finder.room());
        given += count;
        found = finder.take(int(count));
        require(copyOf(finder.received()) == Bytes(arrival.bytes.begin(), arrival.bytes.begin() + int(given)),
                "received() is not what arrived");
        found ? checkTaken(question, finder) : checkNotFound(finder, question);
        if (arrival.hasReply && given >= arrival.replyAt + std::size_t(question.request.replyLen))
            require(found, "the reply behind whole frames was not found: " + story(question, arrival, given));
    }
    if (found && !finder.isRefusal() && arrival.hasReply)
        require(finder.reply().bytes - finder.received().bytes == std::ptrdiff_t(arrival.replyAt),
                "something before the reply was taken for it");
    checkTrace(TraceEntry::Received, finder.received(), Outcome::BadCheck, 0);
    checkTrace(TraceEntry::Sent, {question.request.frame.constData(), question.request.frameLen}, Outcome::Good, 0);
}

/// Any bytes as a frame. They stand by themselves, so that a look past their end is noticed.
void describeAnything(const Bytes &bytes)
{
    const FrameView view = {reinterpret_cast<const char *>(bytes.data()), int(bytes.size())};
    for (const TraceEntry::Event event : {TraceEntry::Sent, TraceEntry::Received, TraceEntry::Stray})
        checkTrace(event, view, Outcome::Good, 0);
    require(hasGoodCheck(view) == frames::isSealed(bytes), "hasGoodCheck() is wrong");
    const int size = replySize(view);
    require(size == 0 || size >= 3, "a reply of less than three bytes");
    if (size > 0 && size <= view.size)
        require(replySize({view.bytes, size}) == size, "the length of a reply depends on what follows");
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t *bytes, std::size_t size)
{
    Input input(bytes, size);
    while (!input.isUsedUp()) {
        if (input.oneIn(4)) {
            describeAnything(input.bytes(input.below(std::size_t(80))));
            continue;
        }
        const Question question = anyQuestion(input);
        const Arrival arrival = anyArrival(question, input);
        receive(question, arrival, input);
    }
    return 0;
}
