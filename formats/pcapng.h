// What reader and writer of pcapng share: the blocks and options that a trace of a line is made of.
//
// A frame stands in an Enhanced Packet Block of link type 252: first tags that name the dissector and the
// direction, big-endian, then the bytes as they were on the line.
#ifndef FORMATS_PCAPNG_H
#define FORMATS_PCAPNG_H

#include <cstdint>
#include <string>

namespace formats
{

/// As the recorder of the trace sees it.
enum class Direction { Unknown, Inbound, Outbound };

/// A line on which frames were recorded.
struct Interface {
    std::string name;        ///< "/dev/ttyUSB0"
    std::string description; ///< its settings, "19200,8E1"; empty: there are none
};

namespace pcapng
{

enum BlockType : std::uint32_t {
    SectionHeader = 0x0A0D0D0A, ///< the same in both byte orders
    InterfaceDescription = 1,
    ObsoletePacket = 2,
    SimplePacket = 3,
    EnhancedPacket = 6
};

enum Option : std::uint16_t {
    EndOfOptions = 0,
    Comment = 1,
    UserApplication = 4, ///< of a section
    InterfaceName = 2,   ///< of an interface, like the next ones
    InterfaceDescribed = 3,
    TimeResolution = 9,
    TimeOffset = 14, ///< seconds
    PacketFlags = 2  ///< of a packet
};

enum Tag : std::uint16_t {
    EndOfTags = 0,
    DissectorName = 12,
    SentOrReceived = 35 ///< four bytes: 0 sent, 1 received
};

const std::uint32_t ByteOrderMagic = 0x1A2B3C4D;
const std::uint16_t ExportedPdu = 252; ///< the link type
const char OurDissector[] = "fgs";

const std::uint32_t InboundFlag = 1, OutboundFlag = 2, DirectionFlags = 3;

/// The size with what fills it up to four bytes.
inline std::size_t padded(std::size_t size)
{
    return (size + 3) / 4 * 4;
}

} // namespace pcapng

} // namespace formats

#endif
