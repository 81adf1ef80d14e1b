// Bytes as they stand on the wire, in any container of bytes, with a CRC and a table of areas of the tests' own:
// all of it shares nothing with the driver, the host or the simulated controller.
#ifndef TARN_TESTS_WIRE_H
#define TARN_TESTS_WIRE_H

namespace frames
{

enum class Kind { None, Bits, Words, DoubleWords };

/// What an area type is on the wire. A write code of -1: the area is not written.
struct Area {
    Kind kind;
    int readCode;
    int writeCode;
};

const int AreaTypes = 14;

inline Area area(int areaType)
{
    static const Area areas[AreaTypes] = {
        {Kind::Bits, 0x00, -1},    {Kind::Bits, 0x01, 0x01},        {Kind::Bits, 0x02, 0x02},
        {Kind::Bits, 0x05, 0x05},  {Kind::Bits, 0x04, 0x04},        {Kind::Words, 0x08, 0x08},
        {Kind::Words, 0x12, 0x12}, {Kind::Words, 0x11, 0x11},       {Kind::Words, 0x06, -1},
        {Kind::Words, 0x07, 0x07}, {Kind::DoubleWords, 0x13, 0x13}, {Kind::Bits, 0x03, 0x03},
        {Kind::Words, 0x09, 0x09}, {Kind::Words, 0x10, 0x10},
    };
    return areaType >= 0 && areaType < AreaTypes ? areas[areaType] : Area{Kind::None, 0x00, -1};
}

/// The area type with this code; AreaTypes if there is none.
inline int areaTypeOf(unsigned code)
{
    int areaType = 0;
    while (areaType < AreaTypes && area(areaType).readCode != int(code))
        ++areaType;
    return areaType;
}

inline Kind kindOf(unsigned code)
{
    return area(areaTypeOf(code)).kind;
}

/// Of one item of the area with this code.
inline int bitsOf(unsigned code)
{
    const Kind kind = kindOf(code);
    return kind == Kind::DoubleWords ? 32 : kind == Kind::Words ? 16 : 1;
}

/// 0 behind the end.
template <typename Bytes>
unsigned byteAt(const Bytes &bytes, int at)
{
    return at < int(bytes.size()) ? static_cast<unsigned char>(*(bytes.begin() + at)) : 0u;
}

/// A word, high byte first.
template <typename Bytes>
unsigned wordAt(const Bytes &bytes, int at)
{
    return byteAt(bytes, at) << 8 | byteAt(bytes, at + 1);
}

/// What a write brings for its item i.
template <typename Bytes>
unsigned writtenItem(const Bytes &write, int i)
{
    const int bits = bitsOf(byteAt(write, 3));
    if (bits == 1)
        return byteAt(write, 7);
    return bits == 16 ? wordAt(write, 7 + 2 * i) : wordAt(write, 7 + 4 * i) | wordAt(write, 9 + 4 * i) << 16;
}

template <typename Bytes>
void put8(Bytes &frame, long long value)
{
    frame.push_back(static_cast<typename Bytes::value_type>(value & 0xFF));
}

template <typename Bytes>
void put16LowFirst(Bytes &frame, long long value)
{
    put8(frame, value);
    put8(frame, value >> 8);
}

template <typename Bytes>
void put16(Bytes &frame, long long value)
{
    put8(frame, value >> 8);
    put8(frame, value);
}

template <typename Bytes>
void put32(Bytes &frame, long long value)
{
    put16(frame, value >> 16);
    put16(frame, value);
}

/// A double word: low half first, each half high byte first.
template <typename Bytes>
void putDouble(Bytes &frame, long long value)
{
    put16(frame, value);
    put16(frame, value >> 16);
}

/// CRC-16, bit by bit: polynomial 0x8005 reflected, initial value 0xFFFF.
template <typename Bytes>
unsigned crc(const Bytes &frame)
{
    unsigned remainder = 0xFFFF;
    for (const auto byte : frame) {
        remainder ^= static_cast<unsigned char>(byte);
        for (int bit = 0; bit < 8; ++bit)
            remainder = (remainder >> 1) ^ ((remainder & 1) ? 0xA001u : 0u);
    }
    return remainder;
}

/// The frame and its CRC, low byte first.
template <typename Bytes, typename = typename Bytes::value_type>
Bytes sealed(Bytes frame)
{
    put16LowFirst(frame, crc(frame));
    return frame;
}

/// Whether the last two bytes are the CRC of those before.
template <typename Bytes>
bool isSealed(const Bytes &frame)
{
    return frame.size() >= 2 && crc(frame) == 0;
}

} // namespace frames

#endif
