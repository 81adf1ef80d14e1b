#include "pcapng_reader.h"

#include <limits>

namespace formats
{

using namespace pcapng;

namespace
{

using Limits = std::numeric_limits<std::int64_t>;

const std::int64_t SecondInNanoseconds = 1000000000;

const std::uint32_t Swapped = 0x4D3C2B1A; // the byte-order magic of the other byte order
const std::uint32_t OlderFormats[] = {0xA1B2C3D4, 0xD4C3B2A1, 0xA1B23C4D, 0x4D3CB2A1};

std::uint32_t littleEndian(std::string_view bytes)
{
    std::uint32_t value = 0;
    for (std::size_t i = bytes.size(); i-- > 0;)
        value = value << 8 | static_cast<unsigned char>(bytes[i]);
    return value;
}

std::uint32_t bigEndian(std::string_view bytes)
{
    std::uint32_t value = 0;
    for (const char byte : bytes)
        value = value << 8 | static_cast<unsigned char>(byte);
    return value;
}

/// How many units of time a second has: a power of 2 or of 10.
struct Resolution {
    bool isBinary = false;
    unsigned exponent = 6;
};

Resolution resolutionOf(unsigned option)
{
    return {(option & 0x80) != 0, option & 0x7F};
}

std::uint64_t powerOfTen(unsigned exponent)
{
    std::uint64_t power = 1;
    for (; exponent > 0; --exponent)
        power *= 10;
    return power;
}

/// Seconds and nanoseconds of a number of units of 2^-n s.
std::pair<std::uint64_t, std::uint64_t> splitBinary(std::uint64_t units, unsigned exponent)
{
    const std::uint64_t whole = exponent < 64 ? units >> exponent : 0;
    std::uint64_t fraction = exponent < 64 ? units & ((std::uint64_t(1) << exponent) - 1) : units;
    const unsigned finest = 34; // bits of a fraction whose product with 10^9 fits
    if (exponent > finest) {
        fraction = exponent - finest < 64 ? fraction >> (exponent - finest) : 0;
        exponent = finest;
    }
    return {whole, fraction * std::uint64_t(SecondInNanoseconds) >> exponent};
}

std::pair<std::uint64_t, std::uint64_t> splitDecimal(std::uint64_t units, unsigned exponent)
{
    if (exponent > 19) // less than a nanosecond each, and all of them together less than two seconds
        return {0, exponent - 9 > 19 ? 0 : units / powerOfTen(exponent - 9)};
    const std::uint64_t second = powerOfTen(exponent), fraction = units % second;
    return {units / second,
            exponent > 9 ? fraction / powerOfTen(exponent - 9) : fraction * powerOfTen(9 - exponent)};
}

/// Nanoseconds since 1970; what they cannot hold is their nearest end.
std::int64_t nanoseconds(std::uint64_t units, Resolution resolution, std::int64_t offset)
{
    const auto split = resolution.isBinary ? splitBinary : splitDecimal;
    const auto [whole, fraction] = split(units, resolution.exponent);
    std::int64_t seconds = 0, product = 0, sum = 0;
    if (__builtin_add_overflow(whole, offset, &seconds))
        return Limits::max();
    if (__builtin_mul_overflow(seconds, SecondInNanoseconds, &product))
        return seconds < 0 ? Limits::min() : Limits::max();
    return __builtin_add_overflow(product, fraction, &sum) ? Limits::max() : sum;
}

Direction directionOf(std::uint32_t flags)
{
    switch (flags & DirectionFlags) {
    case InboundFlag:
        return Direction::Inbound;
    case OutboundFlag:
        return Direction::Outbound;
    }
    return Direction::Unknown;
}

std::string_view withoutFilling(std::string_view text)
{
    return text.substr(0, text.find('\0'));
}

/// Longer ones are cut.
std::string_view nameIn(std::string_view value)
{
    const std::size_t mostBytes = 1024;
    return withoutFilling(value).substr(0, mostBytes);
}

} // namespace

struct PcapngReader::Recorded : Interface {
    std::uint16_t linkType = 0;
    Resolution resolution;
    std::int64_t timeOffset = 0; ///< seconds
};

void PcapngReader::fail(const std::string &what)
{
    isOver = true;
    throw PcapngError(blockStart, what);
}

void PcapngReader::take(char *bytes, std::size_t count)
{
    source.read(bytes, static_cast<std::streamsize>(count));
    position += static_cast<std::uint64_t>(source.gcount());
    if (static_cast<std::size_t>(source.gcount()) == count)
        return;
    fail("the file ends at offset " + std::to_string(position) +
         " within the block that begins here, so it was cut off; the packets before this one are whole");
}

std::uint16_t PcapngReader::u16(std::string_view bytes) const
{
    return static_cast<std::uint16_t>(u32(bytes));
}

std::uint32_t PcapngReader::u32(std::string_view bytes) const
{
    return isBigEndian ? bigEndian(bytes) : littleEndian(bytes);
}

std::uint64_t PcapngReader::u64(std::string_view bytes) const
{
    const std::uint64_t first = u32(bytes.substr(0, 4)), second = u32(bytes.substr(4));
    return isBigEndian ? first << 32 | second : second << 32 | first;
}

/// Reads type and length. False: the file is over.
bool PcapngReader::beginBlock()
{
    char head[8];
    blockStart = position;
    if (isOver || source.peek() == std::istream::traits_type::eof())
        return false;
    take(head, 4);
    type = u32({head, 4});
    if (type != SectionHeader && !hasSection) {
        for (std::uint32_t magic : OlderFormats)
            if (type == magic)
                fail("this is pcap, the older format; convert it: editcap -F pcapng OLD NEW");
        fail("this is no pcapng file: it does not begin with a section header");
    }
    take(head + 4, 4);
    body.clear();
    if (type == SectionHeader) {
        body.resize(4);
        take(body.data(), 4);
        beginSection();
    }
    length = u32({head + 4, 4});
    if (length < 12 || length % 4 != 0 || length < 12 + body.size())
        fail("a block cannot be " + std::to_string(length) + " bytes long, so the file is damaged from here on");
    return true;
}

void PcapngReader::beginSection()
{
    const std::uint32_t magic = littleEndian(body);
    if (magic != ByteOrderMagic && magic != Swapped)
        fail("a section header without the mark of its byte order, so the file is damaged from here on");
    isBigEndian = magic == Swapped;
    hasSection = true;
    interfaces.clear();
}

void PcapngReader::readBody()
{
    if (length > LongestBlock)
        fail("a block of " + std::to_string(length) +
             " bytes, longer than any sensible one, so the file is damaged from here on");
    const std::size_t before = body.size();
    body.resize(length - 12);
    take(body.data() + before, body.size() - before);
}

void PcapngReader::skipBody()
{
    char scrap[4096];
    for (std::size_t left = length - 12 - body.size(); left > 0;) {
        const std::size_t count = std::min(left, sizeof scrap);
        take(scrap, count);
        left -= count;
    }
}

void PcapngReader::endBlock()
{
    char again[4];
    take(again, 4);
    if (u32({again, 4}) != length)
        fail("the block gives its length as " + std::to_string(length) + " at its beginning and as " +
             std::to_string(u32({again, 4})) + " at its end, so the file is damaged from here on");
}

std::string_view PcapngReader::part(std::size_t at, std::size_t size, const char *what)
{
    if (at > body.size() || size > body.size() - at)
        fail(std::string("the block is too short for ") + what + ", so the file is damaged from here on");
    return std::string_view(body).substr(at, size);
}

PcapngReader::Options PcapngReader::optionsFrom(std::size_t at)
{
    Options options;
    while (at < body.size()) {
        const std::string_view head = part(at, 4, "an option");
        const std::uint16_t code = u16(head.substr(0, 2)), size = u16(head.substr(2));
        if (code == EndOfOptions)
            break;
        options.emplace_back(code, part(at + 4, size, "an option"));
        at += 4 + padded(size);
    }
    return options;
}

void PcapngReader::addInterface()
{
    if (interfaces.size() == MostInterfaces)
        fail("more than " + std::to_string(MostInterfaces) + " interfaces in one section; split the file");
    Recorded interface;
    interface.linkType = u16(part(0, 8, "an interface").substr(0, 2));
    for (const auto &[code, value] : optionsFrom(8)) {
        if (code == InterfaceName)
            interface.name = nameIn(value);
        else if (code == InterfaceDescribed)
            interface.description = nameIn(value);
        else if (code == TimeResolution && value.size() == 1)
            interface.resolution = resolutionOf(static_cast<unsigned char>(value[0]));
        else if (code == TimeOffset && value.size() == 8)
            interface.timeOffset = static_cast<std::int64_t>(u64(value));
    }
    interfaces.push_back(std::make_shared<Recorded>(std::move(interface)));
}

/// Whether the packet is one of ours; its tags are big-endian in every file.
bool PcapngReader::readTags(std::string_view packet, TracedFrame &frame)
{
    bool isOurs = false;
    while (packet.size() >= 4) {
        const std::uint32_t tag = bigEndian(packet.substr(0, 2)), size = bigEndian(packet.substr(2, 2));
        packet.remove_prefix(4);
        if (tag == EndOfTags) {
            frame.bytes = packet;
            return isOurs;
        }
        if (size > packet.size())
            return false;
        if (tag == DissectorName)
            isOurs = withoutFilling(packet.substr(0, size)) == OurDissector;
        else if (tag == SentOrReceived && size == 4)
            frame.direction = bigEndian(packet.substr(0, 4)) ? Direction::Inbound : Direction::Outbound;
        packet.remove_prefix(size);
    }
    return false;
}

std::optional<TracedFrame> PcapngReader::frameOfBlock()
{
    const std::string_view head = part(0, 20, "a packet");
    const std::uint32_t number = u32(head.substr(0, 4)), size = u32(head.substr(12, 4));
    if (number >= interfaces.size())
        fail("a packet of interface " + std::to_string(number) +
             ", which the file has not described; the section has " + std::to_string(interfaces.size()));
    const std::shared_ptr<const Recorded> &interface = interfaces[number];
    const std::string_view packet = part(20, size, "its packet");
    TracedFrame frame = {interface, 0, Direction::Unknown, {}, {}, blockStart};
    if (interface->linkType != ExportedPdu || !readTags(packet, frame))
        return std::nullopt;
    const std::uint64_t units = std::uint64_t(u32(head.substr(4, 4))) << 32 | u32(head.substr(8, 4));
    frame.time = nanoseconds(units, interface->resolution, interface->timeOffset);
    for (const auto &[code, value] : optionsFrom(20 + padded(size))) {
        if (code == Comment)
            frame.comment.append(frame.comment.empty() ? "" : "\n").append(value);
        else if (code == PacketFlags && value.size() == 4 && directionOf(u32(value)) != Direction::Unknown)
            frame.direction = directionOf(u32(value));
    }
    return frame;
}

std::optional<TracedFrame> PcapngReader::next()
{
    while (beginBlock()) {
        std::optional<TracedFrame> frame;
        const bool isLookedInto = type == SectionHeader || type == InterfaceDescription || type == EnhancedPacket;
        isLookedInto ? readBody() : skipBody();
        endBlock();
        if (type == InterfaceDescription)
            addInterface();
        else if (type == EnhancedPacket)
            frame = frameOfBlock();
        const bool isPacket = type == EnhancedPacket || type == SimplePacket || type == ObsoletePacket;
        foreign += isPacket && !frame;
        if (frame)
            return frame;
    }
    return std::nullopt;
}

} // namespace formats
