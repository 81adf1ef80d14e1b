#include "frame.h"

namespace fgs
{

namespace
{

bool isAcknowledge(FrameView frame)
{
    return frame.size >= AcknowledgeSize && frame.at(CommandAt) == WriteCommand &&
           frame.at(CountAt) == Acknowledged;
}

} // namespace

/// CRC-16: polynomial 0x8005 reflected, initial value 0xFFFF, no final XOR; "123456789" gives 0x4B37.
int checkOf(FrameView frame)
{
    unsigned crc = 0xFFFF;
    for (int i = 0; i < frame.size; ++i) {
        crc ^= static_cast<unsigned>(frame.at(i));
        for (int bit = 0; bit < 8; ++bit)
            crc = crc & 1 ? crc >> 1 ^ 0xA001 : crc >> 1;
    }
    return static_cast<int>(crc);
}

int dataSize(const Area &area, int count)
{
    return elementsFor(area, count) * bytesPerElement(area);
}

bool hasGoodCheck(FrameView frame)
{
    return frame.size >= CrcSize &&
           frame.le16(frame.size - CrcSize) == checkOf({frame.bytes, frame.size - CrcSize});
}

int replySize(FrameView start)
{
    if (isAcknowledge(start))
        return AcknowledgeSize;
    if (start.size < EntriesAt || start.at(CommandAt) != ReadCommand)
        return 0;
    const int entries = start.at(CountAt);
    int at = EntriesAt;
    for (int i = 0; i < entries && entries <= MaxEntries; ++i) {
        const Area *const area = at + ReplyHeaderSize <= start.size ? areaOfCode(start.at(at)) : nullptr;
        if (!area)
            return 0;
        at += ReplyHeaderSize + dataSize(*area, start.at(at + 1));
    }
    return entries >= 1 && entries <= MaxEntries ? at + CrcSize : 0;
}

} // namespace fgs
