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

/// A write has one entry; one of bits sets a single one, whatever its count says.
int writeSize(FrameView start)
{
    const int dataAt = EntriesAt + RequestEntrySize;
    const Area *const area = start.size > EntriesAt + 1 ? areaOfCode(start.at(EntriesAt)) : nullptr;
    if (!area || start.at(CountAt) != 1)
        return 0;
    const int data = area->kind == AreaKind::Bit ? 1 : dataSize(*area, start.at(EntriesAt + 1));
    return dataAt + data + CrcSize;
}

} // namespace

// CRC-16: polynomial 0x8005 reflected, initial value 0xFFFF, no final XOR; "123456789" gives 0x4B37.
int checkCode(FrameView bytes)
{
    unsigned crc = 0xFFFF;
    for (int i = 0; i < bytes.size; ++i) {
        crc ^= static_cast<unsigned>(bytes.at(i));
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
           frame.le16(frame.size - CrcSize) == checkCode({frame.bytes, frame.size - CrcSize});
}

int requestSize(FrameView start)
{
    if (start.size < EntriesAt)
        return 0;
    if (start.at(CommandAt) == WriteCommand)
        return writeSize(start);
    const int entries = start.at(CountAt);
    const bool isRead = start.at(CommandAt) == ReadCommand && entries >= 1 && entries <= MaxEntries;
    return isRead ? EntriesAt + entries * RequestEntrySize + CrcSize : 0;
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
