// What the tables of faults are made of: damaged bytes, and faults that deliver them.
#ifndef FGS_TESTS_FAULT_PARTS_H
#define FGS_TESTS_FAULT_PARTS_H

#include "line_faults.h"
#include "sim/crc.h"
#include "sim_bytes.h"

#include <algorithm>
#include <random>

namespace faults
{

using V = Verdict;
using Table = std::vector<Fault>;

Table noises();
Table otherFrames();
Table times();
Table acknowledgements();

// ---- bytes

inline QByteArray flipped(QByteArray frame, int at, int bit)
{
    frame[at] = char(frame.at(at) ^ (1 << bit));
    return frame;
}

inline QByteArray sealed(const QByteArray &frame)
{
    fgssim::Bytes bytes = toBytes(frame);
    fgssim::appendCrc(bytes);
    return fromBytes(bytes);
}

inline QByteArray renewed(const QByteArray &frame)
{
    return sealed(frame.left(frame.size() - 2));
}

inline QByteArray inserted(QByteArray frame, int at)
{
    return frame.insert(at, char(frame.at(at) ^ 0x55));
}

/// Always the same bytes; none of them begins a frame of stations 1 to 9.
inline QByteArray noise(int size)
{
    std::mt19937 random(1234);
    QByteArray bytes;
    while (bytes.size() < size)
        bytes.append(char(0x40 + random() % 0x80));
    return bytes;
}

inline QByteArray damaged(const QByteArray &frame)
{
    return flipped(frame, int(frame.size()) - 1, 3);
}

inline QByteArray reversed(QByteArray frame)
{
    std::reverse(frame.begin(), frame.end());
    return frame;
}

inline QByteArray withoutTopBits(QByteArray frame)
{
    for (int i = 0; i < frame.size(); ++i)
        frame[i] = char(frame.at(i) & 0x7F);
    return frame;
}

/// The generator polynomial itself, as it passes the line: the check cannot see it.
inline QByteArray withBurst(QByteArray frame, int at)
{
    const int pattern[] = {0x03, 0x40, 0x01};
    for (int i = 0; i < 3; ++i)
        frame[at + i] = char(frame.at(at + i) ^ pattern[i]);
    return frame;
}

inline QByteArray swapped(QByteArray frame, int at)
{
    std::swap(frame.data()[at], frame.data()[at + 1]);
    return frame;
}

inline QByteArray damagedEcho(const Exchange &x, int)
{
    return damaged(x.request) + x.reply;
}

// ---- faults

inline int once(const Exchange &)
{
    return 1;
}

using Bytes = std::function<QByteArray(const Exchange &, int)>;

inline std::function<Delivery(const Exchange &, int)> arriving(Bytes bytes, Time after = ReplyDelay)
{
    return [bytes, after](const Exchange &x, int position) { return Delivery{{after, bytes(x, position)}}; };
}

inline Fault whole(const char *name, QByteArray (*bytes)(const Exchange &), V read, V acknowledge, V remote)
{
    return {name, once, arriving([bytes](const Exchange &x, int) { return bytes(x); }), read, acknowledge, remote};
}

} // namespace faults

#endif
