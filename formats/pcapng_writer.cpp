#include "pcapng_writer.h"

#include <cstring>

namespace formats
{

using namespace pcapng;

namespace
{

/// Fills a block whose size is known, front to back; what it skips is 0 already.
class BlockWriter
{
public:
    explicit BlockWriter(char *start) : at(start) {}

    void u8(unsigned value) { *at++ = static_cast<char>(value); }
    void le16(std::uint32_t value)
    {
        u8(value & 0xFF);
        u8(value >> 8 & 0xFF);
    }
    void le32(std::uint32_t value)
    {
        le16(value & 0xFFFF);
        le16(value >> 16);
    }
    void be16(std::uint32_t value)
    {
        u8(value >> 8 & 0xFF);
        u8(value & 0xFF);
    }
    void be32(std::uint32_t value)
    {
        be16(value >> 16);
        be16(value & 0xFFFF);
    }
    void bytes(std::string_view text)
    {
        std::memcpy(at, text.data(), text.size());
        at += text.size();
    }
    /// Bytes and what fills them up.
    void filled(std::string_view text, std::size_t before = 0)
    {
        bytes(text);
        at += padded(before + text.size()) - before - text.size();
    }

private:
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
    block.le16(option);
    block.le16(static_cast<std::uint32_t>(value.size()));
    block.filled(value);
}

void putTags(BlockWriter &block, Direction direction)
{
    const std::string_view name(OurDissector, sizeof OurDissector); // its end fills it up
    block.be16(DissectorName);
    block.be16(static_cast<std::uint32_t>(padded(name.size())));
    block.filled(name);
    if (direction != Direction::Unknown) {
        block.be16(SentOrReceived);
        block.be16(4);
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

void appendFrameBlock(std::string &blocks, const Frame &frame)
{
    const std::size_t start = blocks.size(), size = frameBlockSize(frame), tags = tagsSize(frame.direction);
    const auto packetSize = static_cast<std::uint32_t>(tags + frame.bytes.size());
    const std::uint64_t time = frame.time < 0 ? 0 : static_cast<std::uint64_t>(frame.time);
    blocks.resize(start + size);
    BlockWriter writer(blocks.data() + start);
    writer.le32(EnhancedPacket);
    writer.le32(static_cast<std::uint32_t>(size));
    writer.le32(frame.interface);
    writer.le32(static_cast<std::uint32_t>(time >> 32));
    writer.le32(static_cast<std::uint32_t>(time));
    writer.le32(packetSize); // captured
    writer.le32(packetSize); // of the original
    putTags(writer, frame.direction);
    writer.filled(frame.bytes, tags);
    putOption(writer, Comment, commentOf(frame));
    writer.le16(PacketFlags);
    writer.le16(4);
    writer.le32(flagsOf(frame.direction));
    writer.le32(EndOfOptions);
    writer.le32(static_cast<std::uint32_t>(size));
}

} // namespace formats
