#include "crc.h"

#include <array>

namespace fgssim
{

namespace
{

std::array<unsigned, 256> makeTable()
{
    std::array<unsigned, 256> table{};
    for (unsigned byte = 0; byte < table.size(); ++byte) {
        unsigned crc = byte;
        for (int bit = 0; bit < 8; ++bit)
            crc = crc & 1 ? crc >> 1 ^ 0xA001u : crc >> 1;
        table[byte] = crc;
    }
    return table;
}

} // namespace

unsigned crc16(Slice bytes)
{
    static const std::array<unsigned, 256> table = makeTable();
    unsigned crc = 0xFFFF;
    for (Byte byte : bytes)
        crc = crc >> 8 ^ table[(crc ^ byte) & 0xFF];
    return crc;
}

bool hasGoodCrc(Slice frame)
{
    if (frame.size() < CrcLength)
        return false;
    const std::size_t covered = frame.size() - CrcLength;
    return crc16(frame.first(covered)) == frame.le16(covered);
}

void appendCrc(Bytes &frame)
{
    const unsigned crc = crc16(frame);
    frame.push_back(Byte(crc & 0xFF));
    frame.push_back(Byte(crc >> 8));
}

} // namespace fgssim
