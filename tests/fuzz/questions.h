// Requests of a host and good replies to them, made by an encoder of the tests' own.
#ifndef TARN_TESTS_FUZZ_QUESTIONS_H
#define TARN_TESTS_FUZZ_QUESTIONS_H

#include "host/late_replies.h"
#include "support/wire.h"
#include "target.h"

namespace fuzz
{

using Bytes = std::vector<std::uint8_t>;

struct Entry {
    int code, count, address, dataSize;
    bool isBits;
};

/// A read of 1 to 6 entries or a write of one word.
struct Question {
    int station;
    bool isWrite;
    std::vector<Entry> entries;
    Protocol request;
    fgs::DataStarts dataStarts;

    Bytes frame() const { return Bytes(request.frame.begin(), request.frame.end()); }
};

inline Entry anyEntry(Input &input)
{
    const int code = frames::area(input.below(frames::AreaTypes)).readCode;
    const int bits = frames::bitsOf(unsigned(code));
    // A host asks for three data bytes at least: with fewer an echo would pass for the reply.
    const int fewest = bits == 1 ? 3 : bits == 16 ? 2 : 1;
    const int count = (bits == 1 ? 8 : 1) * (fewest + input.between(0, input.oneIn(8) ? 28 : 4));
    return {code, count, input.between(0, 300), count * bits / 8, bits == 1};
}

inline QByteArray toQt(const Bytes &bytes)
{
    return QByteArray(reinterpret_cast<const char *>(bytes.data()), static_cast<int>(bytes.size()));
}

inline void add(Bytes &frame, std::initializer_list<int> bytes)
{
    for (int byte : bytes)
        frame.push_back(static_cast<std::uint8_t>(byte & 0xFF));
}

inline Question anyQuestion(Input &input)
{
    Question question{input.between(1, 3), input.oneIn(4), {}, {}, {}};
    const int count = question.isWrite ? 1 : input.between(1, 6);
    Bytes frame;
    add(frame, {question.station, question.isWrite ? 0xFF : 0xFE, count});
    int replyLen = 3;
    for (int i = 0; i < count; ++i) {
        const Entry entry = question.isWrite ? Entry{0x08, 1, input.between(0, 300), 2, false} : anyEntry(input);
        question.entries.push_back(entry);
        add(frame, {entry.code, entry.count, entry.address, entry.address >> 8});
        question.dataStarts[static_cast<std::size_t>(i)] = replyLen + 2;
        replyLen += 2 + entry.dataSize;
    }
    if (question.isWrite)
        add(frame, {input.between(0, 255), input.between(0, 255)});
    frame = frames::sealed(frame);
    question.request.frame = toQt(frame);
    question.request.frameLen = static_cast<int>(frame.size());
    question.request.replyLen = question.isWrite ? 3 : replyLen + 2;
    return question;
}

inline Bytes goodReply(const Question &question, Input &input)
{
    Bytes reply;
    if (question.isWrite) {
        add(reply, {question.station, 0xFF, 0x20});
        return reply;
    }
    add(reply, {question.station, 0xFE, static_cast<int>(question.entries.size())});
    for (const Entry &entry : question.entries) {
        add(reply, {entry.code, entry.count});
        Bytes data = input.bytes(static_cast<std::size_t>(entry.dataSize));
        data.resize(static_cast<std::size_t>(entry.dataSize));
        reply.insert(reply.end(), data.begin(), data.end());
    }
    return frames::sealed(reply);
}

/// Whether a reply to one could be taken for a reply to the other: nothing in it tells the addresses.
inline bool answerAlike(const Question &a, const Question &b)
{
    if (a.station != b.station || a.isWrite != b.isWrite || a.entries.size() != b.entries.size())
        return false;
    return a.isWrite || std::equal(a.entries.begin(), a.entries.end(), b.entries.begin(),
                                   [](const Entry &one, const Entry &other) {
                                       return one.code == other.code && one.count == other.count;
                                   });
}

} // namespace fuzz

#endif
