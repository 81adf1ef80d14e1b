// The bytes of a trace, against bytes written down from the standard.
#include "formats/pcapng_writer.h"
#include "pcapng_bytes.h"

#include <gtest/gtest.h>

using namespace formats;

namespace
{

std::string blockOf(const Frame &frame)
{
    std::string block;
    appendFrameBlock(block, frame);
    EXPECT_EQ(block.size(), frameBlockSize(frame));
    return block;
}

} // namespace

TEST(PcapngWriter, BeginsWithASection)
{
    EXPECT_EQ(sectionBlock("fgs 1.0"), sectionBytes());
}

TEST(PcapngWriter, DescribesAnInterface)
{
    EXPECT_EQ(interfaceBlock({"/dev/ttyUSB0", "19200,8E1"}), interfaceBytes());
}

TEST(PcapngWriter, LeavesOutADescriptionThatIsNone)
{
    EXPECT_EQ(interfaceBlock({"tcp1", ""}), fromHex("01000000 28000000 FC00 0000 00000000"
                                                    "0200 0400 74637031"
                                                    "0900 0100 09 000000"
                                                    "0000 0000 28000000"));
}

TEST(PcapngWriter, WritesARequest)
{
    const std::string frame = fromHex("01FE0108026400AABE");
    EXPECT_EQ(blockOf({0, 1700000000000000123, Direction::Outbound, frame, ""}), requestBytes());
}

TEST(PcapngWriter, WritesThatNothingCame)
{
    EXPECT_EQ(blockOf({0, 1700000001000000123, Direction::Inbound, "", "no reply"}), silenceBytes());
}

TEST(PcapngWriter, WritesAFrameWhoseDirectionIsNotKnown)
{
    EXPECT_EQ(blockOf({3, 0, Direction::Unknown, "abcd", ""}),
              fromHex("06000000 3C000000 03000000 00000000 00000000 10000000 10000000"
                      "000C 0004 66677300  0000 0000"
                      "61626364"
                      "0200 0400 00000000"
                      "0000 0000 3C000000"));
}

TEST(PcapngWriter, WritesATimeBefore1970As0)
{
    EXPECT_EQ(blockOf({0, -1, Direction::Inbound, "a", ""}), blockOf({0, 0, Direction::Inbound, "a", ""}));
}

TEST(PcapngWriter, AppendsToWhatIsThere)
{
    std::string blocks = "before";
    appendFrameBlock(blocks, {0, 0, Direction::Inbound, "a", ""});
    EXPECT_EQ(blocks.substr(0, 6), "before");
    EXPECT_EQ(blocks.size(), 6 + frameBlockSize({0, 0, Direction::Inbound, "a", ""}));
}

TEST(PcapngWriter, CutsACommentThatNoLengthCanTell)
{
    const std::string comment(70000, 'c');
    const std::string block = blockOf({0, 0, Direction::Inbound, "", comment});
    EXPECT_EQ(std::count(block.begin(), block.end(), 'c'), 0xFFFF);
}
