#include "remote_frame.h"

#include "crc.h"

#include <numeric>

namespace fgssim
{

namespace
{

const std::size_t StationAt = 4, AreaAt = 5, AddressAt = 7, LengthAt = 11, DataAt = 21;
const int PairedBits = 11; ///< the one bit area whose length counts pairs of bytes

std::uint32_t be32(Slice bytes, std::size_t at)
{
    return std::uint32_t(bytes.be16(at)) << 16 | bytes.be16(at + 2);
}

std::size_t dataSize(Slice frame)
{
    return frame.size() - RemoteReadLength;
}

std::string nameOf(const Area &area)
{
    return "area " + std::to_string(area.number);
}

const Area &areaOf(Slice frame)
{
    const unsigned number = frame.be16(AreaAt);
    if (number >= areas().size())
        throw Refusal("unknown area " + std::to_string(number));
    return areas()[number];
}

/// Bits, words or double words that a read of this length asks for.
unsigned readCount(const Area &area, unsigned length)
{
    switch (area.kind) {
    case AreaKind::Bit:
        return length * (area.number == PairedBits ? 16 : 8);
    case AreaKind::Word:
        return length;
    case AreaKind::DoubleWord:
        break;
    }
    return (length + 1) / 2;
}

/// Bits, words or double words that a write of this length carries; it carries all of them.
unsigned writeCount(const Area &area, unsigned length, std::size_t bytes)
{
    if (!area.writable)
        throw Refusal("write to " + nameOf(area) + ", which is read-only");
    if (area.kind == AreaKind::DoubleWord && length % 2 != 0)
        throw Refusal("write of " + counted(length, AreaKind::Word) + " to " + nameOf(area) +
                      ", which has double words");
    if (bytes != (area.kind == AreaKind::Bit ? length : 2 * length))
        throw Refusal("write of length " + std::to_string(length) + " to " + nameOf(area) + " with " +
                      std::to_string(bytes) + " bytes of data");
    return area.kind == AreaKind::DoubleWord ? length / 2 : length;
}

void requireRoom(const Entry &entry, std::uint32_t address)
{
    if (address >= AddressesPerArea || address + entry.count > AddressesPerArea)
        throw Refusal(nameOf(*entry.area) + ": " + counted(entry.count, entry.area->kind) + " from address " +
                      std::to_string(address) + " pass the end of the area");
}

std::uint32_t writtenValue(Slice data, std::size_t width)
{
    std::uint32_t value = 0;
    for (std::size_t i = 0; i < width; ++i)
        value |= std::uint32_t(data.u8(i)) << (8 * i);
    return value;
}

/// One byte a bit, otherwise as many as the value has.
std::size_t writtenWidth(AreaKind kind)
{
    return kind == AreaKind::Bit ? 1 : dataLength(kind, 1);
}

void takeValues(Request &request, Slice data)
{
    const Entry &entry = request.entries.front();
    const std::size_t width = writtenWidth(entry.area->kind);
    for (unsigned i = 0; i < entry.count; ++i)
        request.values.push_back(writtenValue(data.from(i * width), width));
    if (entry.area->kind == AreaKind::Bit)
        for (std::uint32_t bit : request.values)
            if (bit > 1)
                throw Refusal("bit value " + hexByte(Byte(bit)) + "; 0 and 1 are allowed");
}

Bytes sealedReply(Bytes head, const Bytes &data)
{
    head.insert(head.end(), data.begin(), data.end());
    appendCrc(head);
    return head;
}

} // namespace

Extent remoteExtent(Slice start)
{
    if (start.empty())
        return {Extent::State::Open, 0, {}};
    const std::size_t length = start.u8(0);
    if (length < RemoteReadLength)
        return {Extent::State::Impossible, 0,
                "length byte " + hexByte(start.u8(0)) + "; a request has 22 to 255 bytes"};
    return {Extent::State::Known, length, {}};
}

Byte sumOf(Slice bytes)
{
    return Byte(std::accumulate(bytes.begin(), bytes.end(), 0u) & 0xFF);
}

unsigned remoteStation(Slice frame)
{
    return frame.u8(StationAt);
}

Request parseRemoteRequest(Slice frame)
{
    const bool isWrite = frame.size() > RemoteReadLength;
    const Area &area = areaOf(frame);
    const unsigned length = frame.be16(LengthAt);
    const unsigned count = isWrite ? writeCount(area, length, dataSize(frame)) : readCount(area, length);
    const std::uint32_t address = be32(frame, AddressAt);
    const Entry entry = {&area, count, unsigned(address)};
    requireRoom(entry, address);
    Request request{remoteStation(frame), isWrite, {entry}, {}};
    if (isWrite)
        takeValues(request, frame.from(DataAt).first(dataSize(frame)));
    return request;
}

Bytes remoteReadReply(const Request &request, const ValueSource &value)
{
    return sealedReply({Byte(request.station), 'R', 1}, entryData(request.entries.front(), value));
}

Bytes remoteWriteReply(const Request &request)
{
    return sealedReply({Byte(request.station), 'W', 1}, Bytes(3, 0));
}

} // namespace fgssim
