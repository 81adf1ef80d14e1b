// Judging the reply to a remote read, and storing it if its request is marked.
#include "support/frames.h"
#include "support/image_check.h"

#include <climits>

namespace
{

class RemoteReplies : public DriverTest
{
protected:
    /// Builds a remote read of two words at 10; the reply with this text as its data.
    static void read(int mark, int station = 1)
    {
        PLC_driver.ProtocolList.clear();
        RW_VAR var = variable(5, 10, 2, station);
        var.hostType = 4;
        var.linkNo = 3;
        var.remoteStoreMark = mark;
        Remote_ReadVar(&var);
    }
    static QByteArray reply() { return frames::sealed(bytes("01 FE 01 12 34 56 78")); }
    static int judged(QByteArray data) { return DealDataOfRemoteArea(&data, int(data.size())); }
};

TEST_F(RemoteReplies, TheHeadRequestIsServedAndNoOther)
{
    read(-1);
    Protocol later = head();
    later.var.address = 20;
    PLC_driver.ProtocolList.append(later);
    EXPECT_EQ(judged(reply()), 1);
    EXPECT_TRUE(imageIs(5, 10, {0x1234, 0x5678}));
    EXPECT_EQ(built(), 2) << "the request stays";
}

TEST_F(RemoteReplies, AGoodReplyWithTheMarkIsStored)
{
    read(-1);
    EXPECT_EQ(judged(reply()), 1);
    EXPECT_TRUE(imageIs(5, 10, {0x1234, 0x5678}));
    EXPECT_TRUE(locksAreFree());
}

TEST_F(RemoteReplies, AGoodReplyWithTheMarkGives100OnceAFrameIsDone)
{
    for (int done : {1, 0, 2, -1}) {
        read(-1);
        settings.frameDone = done;
        EXPECT_EQ(judged(reply()), done == 1 ? 100 : 1) << done;
    }
}

TEST_F(RemoteReplies, WithoutTheMarkNothingIsStored)
{
    for (int mark : {0, 1, -2, INT_MAX, INT_MIN}) {
        read(mark);
        EXPECT_EQ(judged(reply()), 100) << mark;
        EXPECT_TRUE(imageIsEmpty()) << mark;
    }
}

TEST_F(RemoteReplies, FailuresHaveTheRemoteCodes)
{
    read(-1);
    EXPECT_EQ(judged(QByteArray()), 145);
    EXPECT_EQ(judged(reply().left(8)), 175);
    EXPECT_EQ(judged(reply() + '\0'), 175);
    EXPECT_EQ(judged(QByteArray(9, '\0')), 115);
    EXPECT_EQ(DealDataOfRemoteArea(nullptr, 0), 145);
    EXPECT_EQ(DealDataOfRemoteArea(nullptr, 9), 115);
    EXPECT_TRUE(imageIsEmpty());
}

TEST_F(RemoteReplies, AreCheckedByCrcAndNotByTheSumOfTheirRequests)
{
    read(-1);
    EXPECT_EQ(judged(frames::summed(bytes("01 FE 01 12 34 56 78 00"))), 115);
}

TEST_F(RemoteReplies, NoReplyToABroadcastIsASuccess)
{
    read(0, 0);
    EXPECT_EQ(judged(QByteArray()), 100);
    read(-1, 0);
    EXPECT_EQ(judged(QByteArray()), 1);
    EXPECT_TRUE(imageIsEmpty());
}

TEST_F(RemoteReplies, AnAcknowledgementOfThreeBytesIsASuccessWhereThreeAreDue)
{
    read(0);
    PLC_driver.ProtocolList.first().replyLen = 3;
    EXPECT_EQ(judged(bytes("01 FF 20")), 100);
    PLC_driver.ProtocolList.first().var.remoteStoreMark = -1;
    EXPECT_EQ(judged(bytes("01 FF 20")), 1) << "and nothing of it is stored, there are no data bytes";
    EXPECT_TRUE(imageIsEmpty());
}

} // namespace
