// Every row of tests/golden/frames.txt: requests as built, good replies as judged and stored, and damaged replies.
#include "support/frames.h"
#include "support/frames_golden.h"

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

class GoldenRequest : public DriverTest, public ::testing::WithParamInterface<Golden>
{
};

TEST_P(GoldenRequest, IsBuiltByteForByte)
{
    const Golden &row = GetParam();
    frames::build(row);
    ASSERT_EQ(built(), 1);
    EXPECT_EQ(hex(head().frame), hex(row.frame));
    EXPECT_EQ(head().frameLen, int(row.frame.size()));
    EXPECT_EQ(head().replyLen, row.replyLength);
}

TEST_P(GoldenRequest, EndsInItsCheckCode)
{
    const QByteArray &frame = GetParam().frame;
    const QByteArray body = frame.left(frame.size() - (GetParam().kind.rfind("remote", 0) == 0 ? 1 : 2));
    EXPECT_EQ(hex(frame), hex(body.size() + 1 == frame.size() ? frames::summed(body) : frames::sealed(body)));
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
    EXPECT_TRUE(wholeImage() == expected);
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
    EXPECT_TRUE(wholeImage() == image);
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
    EXPECT_TRUE(wholeImage() == image);
}

TEST_P(GoldenReply, FailsDoubled)
{
    EXPECT_EQ(judged(good() + good()), wrongLength());
    EXPECT_TRUE(wholeImage() == image);
}

TEST_P(GoldenReply, FailsWhenItDoesNotCome)
{
    EXPECT_EQ(judged(QByteArray()), noReply());
    EXPECT_TRUE(wholeImage() == image);
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
    EXPECT_TRUE(wholeImage() == image);
}

TEST_P(GoldenReply, FailsWithItsLastTwoBytesSwapped)
{
    QByteArray reply = good();
    const int size = int(reply.size());
    ASSERT_NE(reply.at(size - 1), reply.at(size - 2)) << "choose other bytes for this row";
    std::swap(reply.data()[size - 1], reply.data()[size - 2]);
    EXPECT_EQ(judged(reply), checkFailed());
    EXPECT_TRUE(wholeImage() == image);
}

TEST_P(GoldenReply, FailsWithAllBytesEqual)
{
    for (char value : {'\x00', '\xFF'}) {
        const QByteArray reply(good().size(), value);
        EXPECT_EQ(judged(reply), checkFailed());
    }
    EXPECT_TRUE(wholeImage() == image);
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
