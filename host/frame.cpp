#include "frame.h"

namespace fgs
{

namespace
{

const Extent NoFrame = {0, false};

int exactSize(Extent extent)
{
    return extent.isExact ? extent.size : 0;
}

bool areEntriesPossible(int entries)
{
    return entries >= 1 && entries <= MaxEntries;
}

Extent readRequestExtent(FrameView start)
{
    const int entries = start.at(CountAt);
    if (!areEntriesPossible(entries))
        return NoFrame;
    for (int i = 0, at = EntriesAt; i < entries && at < start.size; ++i, at += RequestEntrySize)
        if (!areaOfCode(start.at(at)))
            return NoFrame;
    return {EntriesAt + entries * RequestEntrySize + CrcSize, true};
}

Extent writeRequestExtent(FrameView start)
{
    const int around = EntriesAt + RequestEntrySize + CrcSize;
    if (start.at(CountAt) != 1)
        return NoFrame;
    if (start.size < EntriesAt + 2) // the count of its entry
        return {around + 1, false};
    const Area *const area = areaOfCode(start.at(EntriesAt));
    if (!area)
        return NoFrame;
    const int data = area->kind == AreaKind::Bit ? 1 : dataSize(*area, start.at(EntriesAt + 1));
    return {around + data, true};
}

bool isAcknowledge(FrameView frame)
{
    return frame.size >= AcknowledgeSize && frame.at(CommandAt) == WriteCommand &&
           frame.at(CountAt) == Acknowledged;
}

} // namespace

int dataSize(const Area &area, int count)
{
    return elementsFor(area, count) * bytesPerElement(area);
}

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

int checkFor(FrameView frame)
{
    return checkCode({frame.bytes, frame.size - CrcSize});
}

bool hasGoodCheck(FrameView frame)
{
    return frame.size >= CrcSize && frame.le16(frame.size - CrcSize) == checkFor(frame);
}

Extent requestExtent(FrameView start)
{
    if (start.size < EntriesAt)
        return NoFrame;
    return start.at(CommandAt) == ReadCommand    ? readRequestExtent(start)
           : start.at(CommandAt) == WriteCommand ? writeRequestExtent(start)
                                                 : NoFrame;
}

Extent replyExtent(FrameView start)
{
    if (isAcknowledge(start))
        return {AcknowledgeSize, true};
    if (start.size < EntriesAt || start.at(CommandAt) != ReadCommand || !areEntriesPossible(start.at(CountAt)))
        return NoFrame;
    int at = EntriesAt;
    for (int i = 0; i < start.at(CountAt); ++i) {
        if (at + ReplyHeaderSize > start.size)
            return {at + ReplyHeaderSize + CrcSize, false};
        const Area *const area = areaOfCode(start.at(at));
        if (!area)
            return NoFrame;
        at += ReplyHeaderSize + dataSize(*area, start.at(at + 1));
    }
    return {at + CrcSize, true};
}

int requestSize(FrameView start)
{
    return exactSize(requestExtent(start));
}

int replySize(FrameView start)
{
    return exactSize(replyExtent(start));
}

} // namespace fgs
