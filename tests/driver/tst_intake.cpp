// DataCom: a reply is judged.
#include "support/polling.h"

#include <climits>

namespace
{

class Intake : public PollingTest
{
protected:
    static int answerWithLength(QByteArray reply, int length) { return DataCom(&reply, length)->result; }
};

TEST_F(Intake, WithNothingInFlightOnlyTheResultChanges)
{
    RW_VAR expected = distinctVariable(5, 1, 2, 3);
    PLC_driver.RetVar = expected;
    const COMINFO before = settings;
    EXPECT_EQ(answer(bytes("01 FF 20")), 1);
    EXPECT_EQ(noAnswer(), 1);
    expected.result = 1;
    EXPECT_TRUE(sameVariable(PLC_driver.RetVar, expected));
    EXPECT_EQ(changedWords(before, settings), std::vector<int>());
}

TEST_F(Intake, AGoodReplyIsStored)
{
    readInFlight();
    EXPECT_EQ(answer(wordReply(0x1234)), 1);
    EXPECT_EQ(PLC_driver.usArea5[0], 0x1234);
    EXPECT_TRUE(PLC_driver.ProtocolList.isEmpty());
    EXPECT_EQ(PLC_driver.CommFailFlag, 0);
    EXPECT_EQ(settings.frameDone, 1);
}

TEST_F(Intake, AnAcknowledgementIsGoodAndStoresNothing)
{
    writes(1);
    next();
    const QByteArray image = wholeImage();
    EXPECT_EQ(answer(bytes("05 FF 20")), 1);
    EXPECT_TRUE(sameImage(image));
    EXPECT_TRUE(PLC_driver.WriteVarList.isEmpty());
}

TEST_F(Intake, AnyOtherThreeBytesAreBad)
{
    for (const char *reply : {"05 FF 21", "05 FE 20", "FF 20 05", "00 00 00", "FF FF FF"}) {
        reset();
        writes(1);
        next();
        EXPECT_EQ(answer(bytes(reply)), 11) << reply;
    }
}

TEST_F(Intake, AReplyWithItsCheckBytesSwappedIsBad)
{
    PLC_driver.ReadVarList.append(variable(5, 0, 1));
    PLC_driver.ReadVarList[0].hostType = 5;
    next();
    QByteArray reply = wordReply(0x1234);
    reply = reply.left(7) + reply.right(1) + reply.mid(7, 1);
    EXPECT_EQ(answer(reply), 16);
    EXPECT_EQ(PLC_driver.usArea5[0], 0);
}

TEST_F(Intake, NoReplyIsReportedAsSuch)
{
    readInFlight();
    EXPECT_EQ(noAnswer(), 41);
}

TEST_F(Intake, AReplyOfAnotherLengthIsReportedAsSuch)
{
    for (const QByteArray &reply :
         {wordReply(1).left(8), wordReply(1) + '\0', bytes("01 FF 20"), QByteArray(1, 0)}) {
        reset();
        readInFlight();
        EXPECT_EQ(answer(reply), 71) << hex(reply);
    }
}

TEST_F(Intake, AnyLengthIsTakenWhereMinusOneIsExpected)
{
    for (const QByteArray &reply : {wordReply(1), frames::sealed(QByteArray(40, 0)), bytes("01 FF 20")}) {
        reset();
        readInFlight();
        PLC_driver.ProtocolList[0].replyLen = -1;
        EXPECT_EQ(answer(reply), 1) << hex(reply);
    }
    readInFlight();
    PLC_driver.ProtocolList[0].replyLen = -1;
    EXPECT_EQ(noAnswer(), 41);
}

TEST_F(Intake, StationZeroSendsNoReplyAndThatIsSuccess)
{
    cyclic({0});
    next();
    const QByteArray image = wholeImage();
    EXPECT_EQ(noAnswer(), 1);
    EXPECT_TRUE(sameImage(image));
    EXPECT_EQ(PLC_driver.CommFailFlag, 0);
}

TEST_F(Intake, AReplyFromStationZeroIsOfTheWrongLength)
{
    cyclic({0});
    next();
    EXPECT_EQ(answer(wordReply(1)), 71);
}

TEST_F(Intake, NoReplyOfAnotherStationIsBadEvenWhereNoneIsExpected)
{
    readInFlight();
    PLC_driver.ProtocolList[0].replyLen = 0;
    EXPECT_EQ(noAnswer(), 11);
}

TEST_F(Intake, OneStationDoesNotSpeakForAnotherButNobodyChecks)
{
    readInFlight();
    QByteArray reply = bytes("09 FE 01 12 05 12 34"); // another station, area and count
    EXPECT_EQ(answer(frames::sealed(reply)), 1);
    EXPECT_EQ(PLC_driver.usArea5[0], 0x1234);
}

// Lengths that do not agree with the array.

TEST_F(Intake, ALengthBeyondTheArrayIsBad)
{
    readInFlight();
    EXPECT_EQ(answerWithLength(wordReply(0x1234).left(5), 9), 11);
    EXPECT_EQ(PLC_driver.usArea5[0], 0);
    EXPECT_EQ(next()->replyLen, 9);
    EXPECT_EQ(answerWithLength(QByteArray(), 9), 11);
}

TEST_F(Intake, ALengthBeyondTheArrayIsBadForAnAcknowledgementToo)
{
    writes(1);
    next();
    EXPECT_EQ(answerWithLength(bytes("05 FF"), 3), 11);
}

TEST_F(Intake, ALengthWithinTheArrayCountsAlone)
{
    readInFlight();
    EXPECT_EQ(answerWithLength(wordReply(0x1234) + bytes("77 77 77"), 9), 1);
    EXPECT_EQ(PLC_driver.usArea5[0], 0x1234);
}

TEST_F(Intake, ANegativeLengthIsWrong)
{
    for (int length : {-1, -2, INT_MIN}) {
        reset();
        readInFlight();
        EXPECT_EQ(answerWithLength(wordReply(1), length), 71) << length;
        reset();
        readInFlight();
        PLC_driver.ProtocolList[0].replyLen = -1;
        EXPECT_EQ(answerWithLength(wordReply(1), length), 11) << length;
    }
}

TEST_F(Intake, ANullReplyIsAnEmptyOne)
{
    readInFlight();
    EXPECT_EQ(DataCom(nullptr, 0)->result, 41);
    EXPECT_EQ(next()->replyLen, 9);
    EXPECT_EQ(DataCom(nullptr, 9)->result, 11);
    PLC_driver.ReadVarList.clear();
    cyclic({0});
    EXPECT_EQ(next()->replyLen, 0);
    EXPECT_EQ(DataCom(nullptr, 0)->result, 1);
    EXPECT_TRUE(locksAreFree());
}

TEST_F(Intake, AnyDamageFailsTheCheck)
{
    readInFlight();
    for (const char *damaged : {"01 03 00 00 00 01 85 0A", "01 03 00 00 00 01 84 0B", "01 03 00 00 00 03 84 0A",
                                "01 03 00 00 00 01 84", "FF FE"}) {
        QByteArray reply = bytes(damaged);
        EXPECT_EQ(CheckGetData(&reply, int(reply.size())), 0) << damaged;
    }
}

TEST_F(Intake, PassRetValueCopiesAllFieldsButTheData)
{
    RW_VAR source = distinctVariable(5, 1, 2, 3), destination = variable(9, 9, 9, 9, bytes("99"));
    passRetValue(&source, &destination);
    RW_VAR expected = distinctVariable(5, 1, 2, 3);
    EXPECT_TRUE(sameVariable(source, expected));
    expected.data.clear();
    EXPECT_TRUE(sameVariable(destination, expected));
    passRetValue(nullptr, &destination);
    passRetValue(&source, nullptr);
    EXPECT_TRUE(sameVariable(destination, expected));
}

TEST_F(Intake, WithoutSettingsEverySettingIsZero)
{
    PLC_driver.settings = nullptr;
    EXPECT_EQ(noAnswer(), 1);
    readInFlight();
    EXPECT_EQ(answer(wordReply(0x1234)), 1);
    EXPECT_EQ(PLC_driver.usArea5[0], 0x1234);
    next();
    EXPECT_EQ(noAnswer(), 41);
    EXPECT_TRUE(PLC_driver.ProtocolList.isEmpty());
    writes(1);
    EXPECT_NE(next(), nullptr);
    EXPECT_EQ(answerWell(), 1);
    EXPECT_TRUE(PLC_driver.WriteVarList.isEmpty());
}

} // namespace
