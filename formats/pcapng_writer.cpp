#include "pcapng_writer.h"

#include <array>
#include <cstring>

namespace formats
{

using namespace pcapng;

namespace
{

/// Fills a block whose size is known, front to back.
class BlockWriter
{
public:
    explicit BlockWriter(char *start) : at(start) {}

    void le16(std::uint32_t value) { put<2>({byte(value), byte(value >> 8)}); }
    void le32(std::uint32_t value)
    {
        put<4>({byte(value), byte(value >> 8), byte(value >> 16), byte(value >> 24)});
    }
    void be32(std::uint32_t value)
    {
        put<4>({byte(value >> 24), byte(value >> 16), byte(value >> 8), byte(value)});
    }
    /// Bytes and the zeros that fill them up to four.
    void filled(std::string_view text)
    {
        const std::size_t size = padded(text.size());
        if (size == 0)
            return;
        std::memset(at + size - 4, 0, 4);
        std::memcpy(at, text.data(), text.size());
        at += size;
    }

private:
    static char byte(std::uint32_t value) { return static_cast<char>(value & 0xFF); }

    /// One store, where the compiler sees that the bytes are neighbours.
    template <std::size_t Size>
    void put(const std::array<char, Size> &bytes)
    {
        std::memcpy(at, bytes.data(), Size);
        at += Size;
    }

    char *at;
};

const std::size_t BlockFrame = 12; // type and twice the length
const std::size_t OptionHead = 4;  // also of a tag, and the end of the list
const std::size_t TagsSize = 2 * OptionHead + 4 + 4 + OptionHead;
const std::size_t MostComment = 0xFFFF;

std::size_t optionSize(std::string_view value)
{
    return value.empty() ? 0 : OptionHead + padded(value.size());
}

void putOption(BlockWriter &block, Option option, std::string_view value)
{
    if (value.empty())
        return;
    block.le32(static_cast<std::uint32_t>(value.size() << 16 | option));
    block.filled(value);
}

void putTags(BlockWriter &block, Direction direction)
{
    static_assert(sizeof OurDissector == 4, "the name's end fills it up");
    block.be32(DissectorName << 16 | sizeof OurDissector);
    block.filled({OurDissector, sizeof OurDissector});
    if (direction != Direction::Unknown) {
        block.be32(SentOrReceived << 16 | 4);
        block.be32(direction == Direction::Inbound);
    }
    block.be32(EndOfTags);
}

std::size_t tagsSize(Direction direction)
{
    return direction == Direction::Unknown ? TagsSize - OptionHead - 4 : TagsSize;
}

std::string_view commentOf(const Frame &frame)
{
    return frame.comment.substr(0, MostComment);
}

std::uint32_t flagsOf(Direction direction)
{
    return direction == Direction::Inbound ? InboundFlag : direction == Direction::Outbound ? OutboundFlag : 0;
}

} // namespace

std::string sectionBlock(std::string_view application)
{
    const std::size_t size = BlockFrame + 16 + optionSize(application) + OptionHead;
    std::string block(size, '\0');
    BlockWriter writer(block.data());
    writer.le32(SectionHeader);
    writer.le32(static_cast<std::uint32_t>(size));
    writer.le32(ByteOrderMagic);
    writer.le16(1); // version 1.0
    writer.le16(0);
    writer.le32(0xFFFFFFFF); // of unknown length
    writer.le32(0xFFFFFFFF);
    putOption(writer, UserApplication, application);
    writer.le32(EndOfOptions);
    writer.le32(static_cast<std::uint32_t>(size));
    return block;
}

std::string interfaceBlock(const Interface &interface)
{
    const std::string_view nanoseconds = "\x09";
    const std::size_t size = BlockFrame + 8 + optionSize(interface.name) + optionSize(interface.description) +
                             optionSize(nanoseconds) + OptionHead;
    std::string block(size, '\0');
    BlockWriter writer(block.data());
    writer.le32(InterfaceDescription);
    writer.le32(static_cast<std::uint32_t>(size));
    writer.le16(ExportedPdu);
    writer.le16(0);
    writer.le32(0); // no limit of packets
    putOption(writer, InterfaceName, interface.name);
    putOption(writer, InterfaceDescribed, interface.description);
    putOption(writer, TimeResolution, nanoseconds);
    writer.le32(EndOfOptions);
    writer.le32(static_cast<std::uint32_t>(size));
    return block;
}

std::size_t frameBlockSize(const Frame &frame)
{
    return BlockFrame + 20 + padded(tagsSize(frame.direction) + frame.bytes.size()) + optionSize(commentOf(frame)) +
           OptionHead + 4 + OptionHead;
}

void writeFrameBlock(char *block, std::size_t size, const Frame &frame)
{
    const std::size_t tags = tagsSize(frame.direction);
    const auto packetSize = static_cast<std::uint32_t>(tags + frame.bytes.size());
    const std::uint64_t time = frame.time < 0 ? 0 : static_cast<std::uint64_t>(frame.time);
    BlockWriter writer(block);
    writer.le32(EnhancedPacket);
    writer.le32(static_cast<std::uint32_t>(size));
    writer.le32(frame.interface);
    writer.le32(static_cast<std::uint32_t>(time >> 32));
    writer.le32(static_cast<std::uint32_t>(time));
    writer.le32(packetSize); // captured
    writer.le32(packetSize); // of the original
    putTags(writer, frame.direction);
    writer.filled(frame.bytes); // the tags are no fraction of four bytes
    putOption(writer, Comment, commentOf(frame));
    writer.le32(4 << 16 | PacketFlags);
    writer.le32(flagsOf(frame.direction));
    writer.le32(EndOfOptions);
    writer.le32(static_cast<std::uint32_t>(size));
}

} // namespace formats
