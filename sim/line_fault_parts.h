// What the table of faults is made of: damaged bytes, and faults that deliver them.
#ifndef SIM_LINE_FAULT_PARTS_H
#define SIM_LINE_FAULT_PARTS_H

#include "crc.h"
#include "line_faults.h"

#include <random>

namespace fgssim
{

using namespace std::chrono_literals;
using LineFaults = std::vector<LineFault>;

const Time Moment = 3ms;
const Time BabblePace = 1ms; ///< of what babbles

LineFaults noises();
LineFaults otherFrames();
LineFaults times();
LineFaults acknowledgements();

// ---- bytes

inline Bytes operator+(Bytes left, const Bytes &right)
{
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

inline Bytes first(const Bytes &frame, int count)
{
    return Slice(frame).first(std::size_t(count)).copy();
}

inline Bytes from(const Bytes &frame, int at)
{
    return Slice(frame).from(std::size_t(at)).copy();
}

inline Bytes flipped(Bytes frame, int at, int bit)
{
    Byte &byte = frame[std::size_t(at)];
    byte = Byte(byte ^ 1 << bit);
    return frame;
}

inline Bytes sealed(Bytes frame)
{
    appendCrc(frame);
    return frame;
}

inline Bytes renewed(const Bytes &frame)
{
    return sealed(first(frame, int(frame.size()) - 2));
}

inline Bytes inserted(Bytes frame, int at)
{
    frame.insert(frame.begin() + at, Byte(frame[std::size_t(at)] ^ 0x55));
    return frame;
}

inline Bytes without(Bytes frame, int at)
{
    frame.erase(frame.begin() + at);
    return frame;
}

/// Always the same bytes; none of them begins a frame of stations 1 to 9.
inline Bytes noise(int size)
{
    std::mt19937 random(1234); // NOLINT(cert-msc32-c,cert-msc51-cpp): the same bytes every time
    Bytes bytes(std::size_t(size), 0);
    for (Byte &byte : bytes)
        byte = Byte(0x40 + random() % 0x80);
    return bytes;
}

inline Bytes damaged(const Bytes &frame)
{
    return flipped(frame, int(frame.size()) - 1, 3);
}

inline Bytes reversed(Bytes frame)
{
    std::reverse(frame.begin(), frame.end());
    return frame;
}

inline Bytes withoutTopBits(Bytes frame)
{
    for (Byte &byte : frame)
        byte = Byte(byte & 0x7F);
    return frame;
}

/// The generator polynomial itself, as it passes the line: the check cannot see it.
inline Bytes withBurst(Bytes frame, int at)
{
    for (int pattern : {0x03, 0x40, 0x01}) {
        Byte &byte = frame[std::size_t(at++)];
        byte = Byte(byte ^ pattern);
    }
    return frame;
}

inline Bytes swapped(Bytes frame, int at)
{
    std::swap(frame[std::size_t(at)], frame[std::size_t(at) + 1]);
    return frame;
}

inline Bytes damagedEcho(const Exchange &x, int)
{
    return damaged(x.request) + x.reply;
}

// ---- faults

inline int once(const Exchange &)
{
    return 1;
}

inline int onceIfChecked(const Exchange &x)
{
    return x.hasCheck ? 1 : 0;
}

inline int onceIfUnchecked(const Exchange &x)
{
    return x.hasCheck ? 0 : 1;
}

using Damage = std::function<Bytes(const Exchange &, int place)>;

inline std::function<Delivery(const Exchange &, int)> arriving(const Damage &bytes)
{
    return [bytes](const Exchange &x, int place) { return Delivery{{ReplyDelay, bytes(x, place)}}; };
}

inline LineFault whole(const char *name, Bytes (*bytes)(const Exchange &), int (*places)(const Exchange &) = once)
{
    return {name, places, arriving([bytes](const Exchange &x, int) { return bytes(x); })};
}

} // namespace fgssim

#endif
