// Every row of tests/golden/frames.txt: requests as built, good replies as judged and stored, and damaged replies.
#include "support/frames.h"
#include "support/frames_golden.h"
#include "support/frames_request.h"
#include "support/image_check.h"

#include <functional>

using frames::Golden;

namespace
{

std::string rowName(const ::testing::TestParamInfo<Golden> &info)
{
    std::string name = info.param.name;
    std::replace(name.begin(), name.end(), '-', '_');
    return name;
}

class GoldenRequest : public frames::RequestTest, public ::testing::WithParamInterface<Golden>
{
protected:
    static const Golden &row() { return GetParam(); }
    static const RW_VAR &first() { return row().vars.at(0); }
    static bool answers() { return first().station != 0; }
    static bool isGroup() { return row().kind == "group"; }
    static bool isSingle(frames::Kind kind)
    {
        return row().kind == "single" && frames::area(first().areaType).kind == kind;
    }

    /// Where the request itself says that its data lie, with the bytes around them; -1 where it does not say.
    static int dataStart()
    {
        const bool says = isSingle(frames::Kind::Words) || isSingle(frames::Kind::DoubleWords);
        return !answers() ? -1 : says ? 5 : row().kind == "remote-read" ? 3 : -1;
    }

    /// The position tables after a group or a read of bits, as positions() writes them.
    static std::string expectedPositions()
    {
        std::vector<std::string> entries(6, "-");
        int start = 5;
        for (size_t i = 0; answers() && i < row().vars.size(); ++i) {
            const RW_VAR &var = row().vars[i];
            const int length = frames::dataBytes({var.areaType, var.address, var.length});
            entries[i] = std::to_string(start) + "+" + std::to_string(length);
            start += length + 2;
        }
        if (!answers() && !isGroup())
            entries[0] = "0+0";
        std::string text = entries[0];
        for (int i = 1; i < 6; ++i)
            text += " " + entries[size_t(i)];
        return text;
    }
};

TEST_P(GoldenRequest, IsBuiltByteForByte)
{
    markSettings();
    frames::build(row());
    ASSERT_EQ(built(), 1);
    EXPECT_EQ(hex(head().frame), hex(row().frame));
    EXPECT_EQ(head().frameLen, int(row().frame.size()));
    EXPECT_EQ(head().replyLen, row().replyLength);
    EXPECT_EQ(head().dataStart, dataStart() < 0 ? 0 : dataStart());
    EXPECT_EQ(head().dataLen, dataStart() < 0 ? 0 : row().replyLength - dataStart() - 2);
    EXPECT_TRUE(spareIsZero(head()));
    EXPECT_TRUE(onlyFrameCountsWereSet());
}

TEST_P(GoldenRequest, LeavesVariablesAndPositionsForItsReply)
{
    frames::build(row());
    if (!isGroup() && !isSingle(frames::Kind::Bits)) {
        EXPECT_TRUE(positionsAreUntouched());
        return;
    }
    EXPECT_EQ(positions(), expectedPositions());
    ASSERT_EQ(CurrentRWVar.size(), int(row().vars.size()));
    for (int i = 0; i < int(row().vars.size()); ++i)
        EXPECT_TRUE(sameVariable(CurrentRWVar.at(i), row().vars[size_t(i)])) << i;
}

/// The request in flight, a good reply to it and what the reply leaves in the image.
class GoldenReply : public DriverTest, public ::testing::WithParamInterface<Golden>
{
protected:
    GoldenReply() : remote(request().kind.rfind("remote", 0) == 0), acknowledgement(good().size() == 3)
    {
        if (GetParam().options.count("after")) {
            frames::build(frames::goldenNamed(GetParam().options.at("after")));
            PLC_driver.ProtocolList.clear();
        }
        frames::build(request());
        settings.groupExtra = int(request().vars.size()) - 1;
        image = wholeImage();
    }

    static const Golden &request() { return frames::goldenNamed(GetParam().options.at("to")); }
    static QByteArray good() { return GetParam().frame; }

    int judged(QByteArray reply) const
    {
        return remote ? DealDataOfRemoteArea(&reply, int(reply.size()))
                      : DealDataOfLocalArea(&reply, int(reply.size()));
    }

    /// The code of a failure: its base, and the increment by hostType.
    int failure(int localBase) const
    {
        const int hostType = request().vars.at(0).hostType;
        return localBase + (remote ? 100 : 0) + (hostType >= 1 && hostType <= 11 ? hostType + 1 : 1);
    }
    int checkFailed() const { return failure(10); }
    int noReply() const { return failure(40); }
    int wrongLength() const { return failure(70); }

    bool remote, acknowledgement;
    QByteArray image; ///< before the reply
};

TEST_P(GoldenReply, IsAcceptedAndLeavesExactlyItsValues)
{
    for (const frames::Store &store : GetParam().stores) {
        const AreaBuffer &buffer = area(store.areaType);
        const int first = buffer.isBits() ? store.address / 8 : store.address;
        for (size_t i = 0; i < store.items.size(); ++i)
            buffer.put(first + int(i), store.items[i]);
    }
    const QByteArray expected = wholeImage();
    ASSERT_EQ(expected == image, GetParam().stores.empty());
    restoreImage(image);

    const bool marked = head().var.remoteStoreMark == -1;
    EXPECT_EQ(judged(good()), remote && !marked ? 100 : 1);
    EXPECT_TRUE(sameImage(expected));
    EXPECT_TRUE(locksAreFree());
}

TEST_P(GoldenReply, IsGoodForTheCheckAndAnAcknowledgementStoresNothing)
{
    QByteArray reply = good();
    EXPECT_EQ(CheckGetData(&reply, int(reply.size())), acknowledgement ? 2 : 1);
}

TEST_P(GoldenReply, FailsOneByteShort)
{
    QByteArray reply = good();
    reply.chop(1);
    EXPECT_EQ(judged(reply), wrongLength());
    EXPECT_EQ(CheckGetData(&reply, int(reply.size())), 0);
    EXPECT_TRUE(sameImage(image));
}

// A 0 behind a frame leaves its CRC valid: only the length tells.
TEST_P(GoldenReply, FailsOneByteLong)
{
    for (int extra : {0x00, 0x20, 0xFF}) {
        QByteArray reply = good();
        frames::put8(reply, extra);
        EXPECT_EQ(judged(reply), wrongLength()) << extra;
        EXPECT_EQ(CheckGetData(&reply, int(reply.size())), extra == 0 && !acknowledgement ? 1 : 0) << extra;
    }
    EXPECT_TRUE(sameImage(image));
}

TEST_P(GoldenReply, FailsDoubled)
{
    EXPECT_EQ(judged(good() + good()), wrongLength());
    EXPECT_TRUE(sameImage(image));
}

TEST_P(GoldenReply, FailsWhenItDoesNotCome)
{
    EXPECT_EQ(judged(QByteArray()), noReply());
    EXPECT_TRUE(sameImage(image));
}

TEST_P(GoldenReply, FailsWithAnyBitFlipped)
{
    // The station of an acknowledgement is not looked at.
    const int firstBit = acknowledgement ? 8 : 0;
    for (int bit = 0; bit < int(good().size()) * 8; ++bit) {
        QByteArray reply = good();
        reply.data()[bit / 8] = static_cast<char>(reply.at(bit / 8) ^ (1 << (bit % 8)));
        ASSERT_EQ(judged(reply), bit < firstBit ? 1 : checkFailed()) << "bit " << bit;
        ASSERT_EQ(CheckGetData(&reply, int(reply.size())), bit < firstBit ? 2 : 0) << "bit " << bit;
    }
    EXPECT_TRUE(sameImage(image));
}

TEST_P(GoldenReply, FailsWithItsLastTwoBytesSwapped)
{
    QByteArray reply = good();
    const int size = int(reply.size());
    ASSERT_NE(reply.at(size - 1), reply.at(size - 2)) << "choose other bytes for this row";
    std::swap(reply.data()[size - 1], reply.data()[size - 2]);
    EXPECT_EQ(judged(reply), checkFailed());
    EXPECT_TRUE(sameImage(image));
}

TEST_P(GoldenReply, FailsWithAllBytesEqual)
{
    for (char value : {'\x00', '\xFF'}) {
        const QByteArray reply(good().size(), value);
        EXPECT_EQ(judged(reply), checkFailed());
    }
    EXPECT_TRUE(sameImage(image));
}

INSTANTIATE_TEST_SUITE_P(Frames, GoldenRequest, ::testing::ValuesIn(frames::goldenRows(false)), rowName);
INSTANTIATE_TEST_SUITE_P(Frames, GoldenReply, ::testing::ValuesIn(frames::goldenRows(true)), rowName);

TEST(GoldenFile, HasRowsOfEveryKindAndBothOrigins)
{
    for (const char *kind : {"group", "single", "write", "remote-read", "remote-write", "reply"})
        EXPECT_TRUE(std::any_of(frames::golden().begin(), frames::golden().end(), [kind](const Golden &row) {
            return row.kind == kind;
        })) << kind;
    for (const Golden &row : frames::golden())
        EXPECT_TRUE(row.origin == "worked example" || row.origin == "independent encoder") << row.name;
}

TEST(GoldenFile, NamesEachRowOnce)
{
    std::map<std::string, int> count;
    for (const Golden &row : frames::golden())
        EXPECT_EQ(++count[row.name], 1) << row.name;
}

TEST(GoldenFile, AnswersRequestsThatExpectTheReplysLength)
{
    for (const Golden &row : frames::goldenRows(true)) {
        EXPECT_EQ(frames::goldenNamed(row.options.at("to")).replyLength, row.replyLength) << row.name;
        EXPECT_EQ(int(row.frame.size()), row.replyLength) << row.name;
    }
}

// Two encoders, neither of them the driver's, agree on every request.
TEST(GoldenFile, AgreesWithTheSecondEncoder)
{
    for (const Golden &row : frames::goldenRows(false)) {
        const RW_VAR &first = row.vars.at(0);
        if (row.kind == "write" && first.length < 0)
            continue; // the second one rounds such lengths otherwise
        std::vector<frames::Block> blocks;
        for (const RW_VAR &var : row.vars)
            blocks.push_back({var.areaType, var.address, var.length});
        if (row.kind == "single" && first.areaType == 10)
            blocks[0].length /= 2;
        const QByteArray expected = row.kind == "write" ? frames::writeRequest(first.station, blocks[0], first.data)
                                    : row.kind == "remote-read"  ? frames::remoteRequest(first)
                                    : row.kind == "remote-write" ? frames::remoteRequest(first, first.data)
                                                                 : frames::readRequest(first.station, blocks);
        EXPECT_EQ(hex(row.frame), hex(expected)) << row.name;
    }
}

} // namespace
