// DataCom: replies for variables of another link.
#include "support/polling.h"

#include <climits>

namespace
{

class RemoteIntake : public PollingTest
{
protected:
    RemoteIntake()
    {
        settings.localLinkNo = 1;
        settings.remoteMode = 1;
    }
    static void readInFlight(int mark, int hostType = 0)
    {
        RW_VAR var = variable(5, 7, 1);
        var.linkNo = 2;
        var.remoteStoreMark = mark;
        var.hostType = hostType;
        PLC_driver.ReadVarList.append(var);
        next();
    }
    static QByteArray wordReply() { return frames::sealed(bytes("01 02 03 12 34")); }
};

TEST_F(RemoteIntake, AMarkedReplyIsStoredWithResultOne)
{
    readInFlight(-1);
    ASSERT_EQ(head().replyLen, 7);
    EXPECT_EQ(answer(wordReply()), 1);
    EXPECT_EQ(PLC_driver.usArea5[7], 0x1234);
}

TEST_F(RemoteIntake, AMarkedReplyBehindAnotherFrameIsStoredWithResult100)
{
    readInFlight(-1);
    settings.frameTotal = 2;
    settings.frameDone = 1;
    EXPECT_EQ(answer(wordReply()), 100);
    EXPECT_EQ(PLC_driver.usArea5[7], 0x1234);
}

TEST_F(RemoteIntake, AReplyThatIsNotMarkedIsNotStoredWithResult100)
{
    for (int mark : {0, 1, -2, INT_MIN}) {
        SCOPED_TRACE(mark);
        reset();
        settings.localLinkNo = 1;
        settings.remoteMode = 1;
        readInFlight(mark);
        EXPECT_EQ(answer(wordReply()), 100) << mark;
        EXPECT_EQ(PLC_driver.usArea5[7], 0);
        EXPECT_TRUE(PLC_driver.ProtocolList.isEmpty());
        EXPECT_EQ(PLC_driver.CommFailFlag, 0);
    }
}

TEST_F(RemoteIntake, FailuresHaveTheirOwnCodes)
{
    readInFlight(-1, 0);
    EXPECT_EQ(noAnswer(), 141);
    readInFlight(-1, 0);
    EXPECT_EQ(answer(bytes("01 02")), 171);
    readInFlight(-1, 0);
    EXPECT_EQ(answer(QByteArray(7, 0)), 111);
    PLC_driver.ReadVarList.clear();
    readInFlight(-1, 11);
    EXPECT_EQ(noAnswer(), 152);
}

TEST_F(RemoteIntake, TheLinkAloneChoosesThePath)
{
    settings.remoteMode = 0; // an ordinary request for a variable of another link
    readInFlight(-1);
    EXPECT_EQ(head().frameLen, 9);
    EXPECT_EQ(noAnswer(), 141);
    settings.remoteMode = 1; // a remote request for a variable of this link
    PLC_driver.ReadVarList[0].linkNo = 1;
    next();
    EXPECT_EQ(head().frameLen, 22);
    EXPECT_EQ(noAnswer(), 41);
}

TEST_F(RemoteIntake, TheLinkIsThatOfTheTimeOfTheReply)
{
    readInFlight(-1);
    settings.localLinkNo = 2;
    EXPECT_EQ(noAnswer(), 41);
}

TEST_F(RemoteIntake, RemoteJobsDoNotCountTowardsAPass)
{
    readInFlight(-1);
    answer(wordReply());
    EXPECT_EQ(PLC_driver.CycleReadCount, 0);
    next();
    answer(wordReply());
    EXPECT_EQ(settings.cycleDone, 0);
}

TEST_F(RemoteIntake, RepeatsAndRotatesLikeTheLocalPath)
{
    settings.retryLimit = 1;
    readInFlight(-1);
    cyclic({1});
    EXPECT_EQ(noAnswer(), 0);
    EXPECT_EQ(noAnswer(), 141);
    EXPECT_EQ(column(PLC_driver.ReadVarList), "10 7");
}

TEST_F(RemoteIntake, TheImageLockIsFreeAfterwards)
{
    settings.stationMode = 1;
    readInFlight(-1);
    EXPECT_EQ(answer(wordReply()), 1); // answer() looks at the locks
    EXPECT_EQ(stored(), "1/5@7 = 34 12\n");
}

} // namespace
