// Check codes and hexadecimal digits: pure functions.
#include "tarn_fgsseries_p.h"

namespace
{

const unsigned Polynomial = 0xA001; // 0x8005 reflected
const unsigned Start = 0xFFFF;
const int Slices = 8; // Saves 10 to 18 % of a poll on the panel, against one table and a byte at a time.

/// The register after `bits` steps.
constexpr unsigned step(unsigned crc, int bits)
{
    return bits == 0 ? crc : step((crc >> 1) ^ ((crc & 1) ? Polynomial : 0), bits - 1);
}

template <unsigned... Index>
struct Indices {
};
template <unsigned Count, unsigned... Index>
struct MakeIndices : MakeIndices<Count - 1, Count - 1, Index...> {
};
template <unsigned... Index>
struct MakeIndices<0, Index...> {
    typedef Indices<Index...> type;
};

/// Entry i of slice s: what byte i adds to the register when s more bytes follow it.
struct Slice {
    unsigned short entry[256];
};

template <unsigned... Index>
constexpr Slice slice(int following, Indices<Index...>)
{
    return Slice{{static_cast<unsigned short>(step(Index, 8 + 8 * following))...}};
}

constexpr Slice slice(int following)
{
    return slice(following, MakeIndices<256>::type());
}

constexpr Slice table[Slices] = {slice(0), slice(1), slice(2), slice(3), slice(4), slice(5), slice(6), slice(7)};

typedef unsigned short Register;

Register addByte(Register crc, unsigned char byte)
{
    return static_cast<Register>((crc >> 8) ^ table[0].entry[(crc ^ byte) & 0xFF]);
}

Register addEightBytes(Register crc, const unsigned char *b)
{
    Register first;
    memcpy(&first, b, sizeof first);
    first ^= crc;
    return table[7].entry[first & 0xFF] ^ table[6].entry[first >> 8] ^ table[5].entry[b[2]] ^ table[4].entry[b[3]] ^
           table[3].entry[b[4]] ^ table[2].entry[b[5]] ^ table[1].entry[b[6]] ^ table[0].entry[b[7]];
}

} // namespace

unsigned short CalCRC(unsigned char *bytes, unsigned short length)
{
    Register crc = Start;
    const unsigned char *at = bytes;
    const unsigned char *const end = bytes ? bytes + length : bytes;
    for (long slices = (end - at) / Slices; slices > 0; --slices, at += Slices)
        crc = addEightBytes(crc, at);
    for (; at != end; ++at)
        crc = addByte(crc, *at);
    return static_cast<unsigned short>(crc);
}

unsigned short CalSUM(unsigned char *bytes, unsigned short length)
{
    unsigned sum = 0;
    for (unsigned i = 0; bytes && i < length; ++i)
        sum += bytes[i];
    return static_cast<unsigned short>(sum);
}

int CalLRC(unsigned char *bytes, unsigned short length)
{
    return (~CalSUM(bytes, length) & 0xFF) + 1; // Deliberate: behaviour 151.
}

unsigned short CalXOR(unsigned char *bytes, unsigned short length)
{
    if (!bytes)
        return 0;
    unsigned result = bytes[0]; // Deliberate: behaviour 152.
    for (unsigned i = 1; i < length; ++i)
        result ^= bytes[i];
    return static_cast<unsigned short>(result);
}

int DigitalToASCII(int digit)
{
    return cut(qint64(digit) + (digit <= 9 ? '0' : 'A' - 10)); // Deliberate: behaviour 153.
}

int ASCIIToDigital(int character)
{
    if (character < '0' || character == '@') // Deliberate: behaviour 153.
        return 0;
    return character < '@' ? character - '0' : character - ('A' - 10);
}
