#include "sim/reassembler.h"
#include "sim_frames.h"

#include <gtest/gtest.h>

#include <random>

using namespace fgssim;

namespace
{

const Bytes Read = bytes("03 FE 01 08 0A 02 01 E2 DC");
const Bytes Write = bytes("01 FF 01 08 02 64 00 12 34 56 78 6B 0D");
const Time Silence{1000};

class ReassemblerTest : public testing::Test
{
protected:
    void receive(const Bytes &data) { take(reassembler.receive(data, now)); }
    void wait(Time time)
    {
        now += time;
        take(reassembler.advance(now));
    }
    void take(const std::vector<Piece> &pieces)
    {
        for (const Piece &piece : pieces) {
            order += piece.content == Piece::Content::Frame ? 'f' : 'g';
            if (piece.content == Piece::Content::Frame)
                frames.push_back(hex(piece.bytes));
            else
                garbage.push_back(piece.cause + ": " + hex(piece.bytes));
        }
    }

    Reassembler reassembler{Silence};
    Time now{0};
    std::vector<std::string> frames, garbage;
    std::string order; ///< f: a frame; g: garbage
};

using Texts = std::vector<std::string>;

} // namespace

TEST_F(ReassemblerTest, OneFrame)
{
    receive(Read);
    EXPECT_EQ(frames, Texts{hex(Read)});
    EXPECT_EQ(reassembler.deadline(), std::nullopt);
}

TEST_F(ReassemblerTest, ByteByByteIsReadyWithTheLastByte)
{
    for (Byte byte : Write) {
        SCOPED_TRACE(int(byte));
        EXPECT_EQ(frames, Texts());
        receive({byte});
        now += Silence - Time(1);
    }
    EXPECT_EQ(frames, Texts{hex(Write)});
    EXPECT_EQ(garbage, Texts());
}

TEST_F(ReassemblerTest, TwoFramesInOneChunkAndAThirdInHalves)
{
    receive(Read + Write + Slice(Read).first(4).copy());
    EXPECT_EQ(frames, (Texts{hex(Read), hex(Write)}));
    receive(Slice(Read).from(4).copy());
    EXPECT_EQ(frames.size(), 3u);
    EXPECT_EQ(garbage, Texts());
}

TEST_F(ReassemblerTest, GarbageAheadIsSkipped)
{
    receive(bytes("55 AA 00") + Read);
    EXPECT_EQ(frames, Texts{hex(Read)});
    EXPECT_EQ(garbage, Texts{"unknown command 0xAA: 55 AA 00"});
    EXPECT_EQ(order, "gf") << "as they came";
}

TEST_F(ReassemblerTest, GarbageBehindIsSkippedAfterASilence)
{
    receive(Read + bytes("07 FE"));
    EXPECT_EQ(frames.size(), 1u);
    wait(Silence - Time(1));
    EXPECT_EQ(garbage, Texts());
    wait(Time(1));
    EXPECT_EQ(garbage, Texts{"incomplete, 2 bytes, then silence: 07 FE"});
    EXPECT_EQ(reassembler.deadline(), std::nullopt);
}

TEST_F(ReassemblerTest, ABadCrcIsNamedAndTheNextFrameIsTaken)
{
    Bytes bad = Read;
    bad.back() ^= 1;
    receive(bad);
    receive(Read);
    EXPECT_EQ(frames, Texts{hex(Read)});
    EXPECT_EQ(garbage, Texts{"bad CRC E2 DD, computed E2 DC: 03 FE 01 08 0A 02 01 E2 DD"});
}

TEST_F(ReassemblerTest, ACutFrameIsDroppedAfterASilence)
{
    receive(Slice(Write).first(9).copy());
    ASSERT_EQ(reassembler.deadline(), Silence);
    wait(Silence);
    EXPECT_EQ(garbage, Texts{"incomplete, 9 of 13 bytes, then silence: 01 FF 01 08 02 64 00 12 34"});
    receive(Read);
    EXPECT_EQ(frames, Texts{hex(Read)});
}

TEST_F(ReassemblerTest, ALateCallDropsTheCutFrameBeforeTheNextBytes)
{
    receive(Slice(Write).first(9).copy());
    now += 5 * Silence;
    receive(Read);
    EXPECT_EQ(frames, Texts{hex(Read)});
    EXPECT_EQ(garbage.size(), 1u);
}

TEST_F(ReassemblerTest, AFrameBehindTheStartOfALongOneIsFoundAfterASilence)
{
    receive(bytes("01 FF 01 13 FF") + Read + Write);
    EXPECT_EQ(frames, Texts());
    wait(Silence);
    EXPECT_EQ(frames, (Texts{hex(Read), hex(Write)}));
    EXPECT_EQ(garbage, Texts{"incomplete, 27 of 1029 bytes, then silence: 01 FF 01 13 FF"});
}

TEST_F(ReassemblerTest, AFrameInsideTheDataOfAWriteIsData)
{
    Bytes head = bytes("01 FF 01 08 05 00 00");
    const Bytes outer = sealed(head + Read + bytes("00"));
    for (Byte byte : outer)
        receive({byte});
    EXPECT_EQ(frames, Texts{hex(outer)});
}

TEST_F(ReassemblerTest, TheLongestWrite)
{
    const Bytes longest = sealed(bytes("01 FF 01 13 FF 00 00") + Bytes(255 * 4, 0xFE));
    receive(longest);
    EXPECT_EQ(frames, Texts{hex(longest)});
}

TEST_F(ReassemblerTest, WritesOfUnknownLengthAreSkipped)
{
    receive(sealed("01 FF 01 0A 01 00 00 00 01") + Read);
    wait(Silence);
    EXPECT_EQ(frames, Texts{hex(Read)});
    ASSERT_FALSE(garbage.empty());
    EXPECT_EQ(garbage[0].rfind("write to unknown area code 0x0A: 01 FF 01 0A", 0), 0u);
}

TEST_F(ReassemblerTest, EndlessGarbageIsHandedOverInPieces)
{
    receive(Bytes(100000, 0x33));
    receive(Read);
    EXPECT_EQ(frames, Texts{hex(Read)});
    EXPECT_EQ(garbage.size(), (100000 + 255) / 256u);
}

TEST_F(ReassemblerTest, EveryDamagedFrameLeavesTheNextOneWhole)
{
    for (std::size_t at = 0; at < Write.size(); ++at) {
        for (unsigned bit = 0; bit < 8; ++bit) {
            frames.clear();
            Bytes damaged = Write;
            damaged[at] = Byte(damaged[at] ^ 1u << bit);
            receive(damaged);
            receive(Read);
            wait(Silence);
            ASSERT_EQ(frames, Texts{hex(Read)}) << at << " " << bit;
        }
    }
}

TEST_F(ReassemblerTest, ChunksMakeNoDifference)
{
    const Bytes stream = bytes("FE FE 01") + Read + bytes("FF") + Write + Write + bytes("01 FE 07") + Read;
    std::mt19937 random(1);
    for (int round = 0; round < 200; ++round) {
        SCOPED_TRACE(round);
        frames.clear();
        Slice rest = stream;
        while (!rest.empty()) {
            const std::size_t size = 1 + random() % 12;
            receive(rest.first(size).copy());
            rest = rest.from(size);
        }
        wait(Silence);
        ASSERT_EQ(frames, (Texts{hex(Read), hex(Write), hex(Write), hex(Read)}));
    }
}

TEST_F(ReassemblerTest, RandomBytesNeverGiveAFrame)
{
    std::mt19937 random(2);
    const Byte likely[] = {0x01, 0xFE, 0xFF, 0x08, 0x13, 0x00};
    for (int round = 0; round < 3000; ++round) {
        SCOPED_TRACE(round);
        Bytes noise;
        for (unsigned i = 0; i < 40; ++i)
            noise.push_back(random() % 2 ? likely[random() % 6] : Byte(random()));
        receive(noise);
        wait(Silence);
        EXPECT_EQ(reassembler.deadline(), std::nullopt);
    }
    EXPECT_LE(frames.size(), 3u); // a good CRC by chance: about one start in 65,536
}
