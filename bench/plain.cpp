#include "plain.h"

namespace plain
{

namespace
{

unsigned shifted(unsigned crc)
{
    return (crc >> 1) ^ ((crc & 1) ? 0xA001u : 0u);
}

struct Table {
    unsigned short entry[256];

    Table()
    {
        for (unsigned i = 0; i < 256; ++i) {
            unsigned crc = i;
            for (int bit = 0; bit < 8; ++bit)
                crc = shifted(crc);
            entry[i] = static_cast<unsigned short>(crc);
        }
    }
};

const Table table;

} // namespace

unsigned short crcByBits(const unsigned char *bytes, int length)
{
    unsigned crc = 0xFFFF;
    for (int i = 0; i < length; ++i) {
        crc ^= bytes[i];
        for (int bit = 0; bit < 8; ++bit)
            crc = shifted(crc);
    }
    return static_cast<unsigned short>(crc);
}

unsigned short crcByTable(const unsigned char *bytes, int length)
{
    unsigned crc = 0xFFFF;
    for (int i = 0; i < length; ++i)
        crc = (crc >> 8) ^ table.entry[(crc ^ bytes[i]) & 0xFF];
    return static_cast<unsigned short>(crc);
}

} // namespace plain
