// Requests of a host and good replies to them, made by an encoder of the tests' own.
#ifndef TARN_TESTS_FUZZ_QUESTIONS_H
#define TARN_TESTS_FUZZ_QUESTIONS_H

#include "host/late_replies.h"
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

inline void seal(Bytes &frame)
{
    unsigned crc = 0xFFFF;
    for (unsigned byte : frame) {
        crc ^= byte;
        for (int bit = 0; bit < 8; ++bit)
            crc = crc & 1 ? (crc >> 1) ^ 0xA001u : crc >> 1;
    }
    frame.push_back(static_cast<std::uint8_t>(crc & 0xFF));
    frame.push_back(static_cast<std::uint8_t>(crc >> 8));
}

inline bool isSealed(Bytes frame)
{
    if (frame.size() < 2)
        return false;
    const Bytes before = frame;
    frame.resize(frame.size() - 2);
    seal(frame);
    return frame == before;
}

inline Entry anyEntry(Input &input)
{
    static const struct {
        int code, bits;
    } areas[] = {{0x00, 1},  {0x01, 1},  {0x02, 1},  {0x05, 1},  {0x04, 1}, {0x08, 16}, {0x12, 16},
                 {0x11, 16}, {0x06, 16}, {0x07, 16}, {0x13, 32}, {0x03, 1}, {0x09, 16}, {0x10, 16}};
    const auto &area = areas[input.below(14)];
    // A host asks for three data bytes at least: with fewer an echo would pass for the reply.
    const int fewest = area.bits == 1 ? 3 : area.bits == 16 ? 2 : 1;
    const int count = (area.bits == 1 ? 8 : 1) * (fewest + input.between(0, input.oneIn(8) ? 28 : 4));
    return {area.code, count, input.between(0, 300), count * area.bits / 8, area.bits == 1};
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
    seal(frame);
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
    seal(reply);
    return reply;
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
