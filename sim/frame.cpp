#include "frame.h"

#include "crc.h"

namespace fgssim
{

namespace
{

const std::size_t HeadLength = 3;  // station, command, number of entries
const std::size_t EntryLength = 4; // code, count, address
const std::size_t FirstWriteData = HeadLength + EntryLength;

Extent open()
{
    return {Extent::State::Open, 0, {}};
}

Extent known(std::size_t length)
{
    return {Extent::State::Known, length, {}};
}

Extent impossible(const std::string &cause)
{
    return {Extent::State::Impossible, 0, cause};
}

std::size_t writeDataLength(AreaKind kind, unsigned count)
{
    return kind == AreaKind::Bit ? 1 : dataLength(kind, count);
}

Extent readExtent(Slice start)
{
    if (start.size() < HeadLength)
        return open();
    const unsigned entries = start.u8(2);
    if (entries < 1 || entries > MaxEntries)
        return impossible("read of " + std::to_string(entries) + " entries; 1 to 6 are allowed");
    return known(HeadLength + entries * EntryLength + CrcLength);
}

Extent writeExtent(Slice start)
{
    if (start.size() >= HeadLength && start.u8(2) != 1)
        return impossible("write of " + std::to_string(start.u8(2)) + " entries; a write has 1");
    if (start.size() < HeadLength + 1)
        return open();
    const Area *area = areaOfCode(start.u8(3));
    if (!area)
        return impossible("write to unknown area code " + hexByte(start.u8(3)));
    if (start.size() < HeadLength + 2)
        return open();
    return known(FirstWriteData + writeDataLength(area->kind, start.u8(4)) + CrcLength);
}

// The four bytes of an entry; the part that reads and writes have in common.
Entry takeEntry(Slice bytes)
{
    const Area *area = areaOfCode(bytes.u8(0));
    if (!area)
        throw Refusal("unknown area code " + hexByte(bytes.u8(0)));
    return {area, bytes.u8(1), bytes.le16(2)};
}

void requireRoom(const Entry &entry, unsigned count)
{
    if (entry.address + count > AddressesPerArea)
        throw Refusal("area " + std::to_string(entry.area->number) + ": " + counted(count, entry.area->kind) +
                      " from address " + addressText(*entry.area, entry.address) + " pass the end of the area");
}

Entry takeReadEntry(Slice bytes)
{
    const Entry entry = takeEntry(bytes);
    if (entry.area->kind == AreaKind::Bit && entry.count % 8 != 0)
        throw Refusal("area " + std::to_string(entry.area->number) + ": bits are read by eights, not " +
                      std::to_string(entry.count));
    requireRoom(entry, entry.count);
    return entry;
}

std::uint32_t takeValue(Slice data, AreaKind kind)
{
    switch (kind) {
    case AreaKind::Bit:
        return data.u8(0);
    case AreaKind::Word:
        return data.be16(0);
    case AreaKind::DoubleWord:
        break;
    }
    return data.be16(0) | std::uint32_t(data.be16(2)) << 16;
}

void putWord(Bytes &frame, std::uint32_t value)
{
    frame.push_back(Byte(value >> 8 & 0xFF));
    frame.push_back(Byte(value & 0xFF));
}

void putBits(Bytes &frame, const Entry &entry, const ValueSource &value)
{
    for (unsigned done = 0; done < entry.count; done += 8) {
        unsigned packed = 0;
        for (unsigned bit = 0; bit < 8; ++bit)
            packed |= (value(*entry.area, entry.address + done + bit) & 1) << bit;
        frame.push_back(Byte(packed));
    }
}

void putValues(Bytes &frame, const Entry &entry, const ValueSource &value)
{
    for (unsigned i = 0; i < entry.count; ++i) {
        const std::uint32_t number = value(*entry.area, entry.address + i);
        putWord(frame, number);
        if (entry.area->kind == AreaKind::DoubleWord)
            putWord(frame, number >> 16);
    }
}

Request parseRead(Slice frame)
{
    Request request{frame.u8(0), false, {}, {}};
    for (std::size_t i = 0; i < frame.u8(2); ++i)
        request.entries.push_back(takeReadEntry(frame.from(HeadLength + i * EntryLength)));
    return request;
}

void requireWritable(const Entry &entry)
{
    if (!entry.area->writable)
        throw Refusal("write to area " + std::to_string(entry.area->number) + ", which is read-only");
    if (entry.area->kind != AreaKind::Bit && entry.count == 0)
        throw Refusal("write of " + counted(0, entry.area->kind));
}

Request parseWrite(Slice frame)
{
    const Entry entry = takeEntry(frame.from(HeadLength));
    requireWritable(entry);
    const unsigned values = entry.area->kind == AreaKind::Bit ? 1 : entry.count;
    requireRoom(entry, values);
    Request request{frame.u8(0), true, {entry}, {}};
    const std::size_t step = writeDataLength(entry.area->kind, 1);
    for (unsigned i = 0; i < values; ++i)
        request.values.push_back(takeValue(frame.from(FirstWriteData + i * step), entry.area->kind));
    if (entry.area->kind == AreaKind::Bit && request.values[0] > 1)
        throw Refusal("bit value " + hexByte(frame.u8(FirstWriteData)) + "; 0 and 1 are allowed");
    return request;
}

} // namespace

Extent requestExtent(Slice start)
{
    if (start.size() < 2)
        return open();
    switch (start.u8(1)) {
    case ReadCommand:
        return readExtent(start);
    case WriteCommand:
        return writeExtent(start);
    }
    return impossible("unknown command " + hexByte(start.u8(1)));
}

Request parseRequest(Slice frame)
{
    const Extent extent = requestExtent(frame);
    if (extent.state == Extent::State::Impossible)
        throw Refusal(extent.cause);
    if (extent.state == Extent::State::Open || extent.length != frame.size())
        throw Refusal("wrong length, " + std::to_string(frame.size()) + " bytes");
    if (!hasGoodCrc(frame))
        throw Refusal("bad CRC");
    return frame.u8(1) == ReadCommand ? parseRead(frame) : parseWrite(frame);
}

Bytes entryData(const Entry &entry, const ValueSource &value)
{
    Bytes data;
    if (entry.area->kind == AreaKind::Bit)
        putBits(data, entry, value);
    else
        putValues(data, entry, value);
    return data;
}

Bytes readReply(const Request &request, const ValueSource &value)
{
    Bytes frame = {Byte(request.station), ReadCommand, Byte(request.entries.size())};
    for (const Entry &entry : request.entries) {
        frame.push_back(entry.area->code);
        frame.push_back(Byte(entry.count));
        const Bytes data = entryData(entry, value);
        frame.insert(frame.end(), data.begin(), data.end());
    }
    appendCrc(frame);
    return frame;
}

Bytes writeReply(const Request &request)
{
    return {Byte(request.station), WriteCommand, WriteAcknowledge};
}

Bytes refusal(const Request &request)
{
    return {Byte(request.station), WriteCommand, WriteRefused};
}

} // namespace fgssim
