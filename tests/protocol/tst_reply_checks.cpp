// When a reply is good: its length first, then its CRC; the write acknowledgement has neither a CRC nor data.
#include "support/fixture.h"
#include "support/frames.h"
#include "support/image_check.h"

#include <climits>

namespace
{

class ReplyChecks : public DriverTest
{
protected:
    /// Puts a request in flight that waits for replyLen bytes of this station.
    static void inFlight(int replyLen, int station = 1, int linkNo = 0)
    {
        Protocol request;
        request.replyLen = replyLen;
        request.var.station = station;
        request.var.linkNo = linkNo;
        PLC_driver.ProtocolList.clear();
        PLC_driver.ProtocolList.append(request);
    }

    static int check(QByteArray reply) { return CheckGetData(&reply, int(reply.size())); }
    static int judged(QByteArray reply) { return DealDataOfLocalArea(&reply, int(reply.size())); }
};

// --- the check alone

TEST_F(ReplyChecks, AReplyWithItsCrcLowByteFirstIsGood)
{
    inFlight(9);
    EXPECT_EQ(check(frames::sealed(bytes("01 FE 01 08 01 12 34"))), 1);
    EXPECT_EQ(check(bytes("01 03 00 00 00 01 84 0A")), 1);
}

TEST_F(ReplyChecks, ACrcWithItsBytesSwappedIsBad)
{
    inFlight(9);
    EXPECT_EQ(check(bytes("01 03 00 00 00 01 0A 84")), 0);
}

TEST_F(ReplyChecks, OnlyTheCrcIsLookedAtAndNotTheHeader)
{
    inFlight(9, 1);
    EXPECT_EQ(check(frames::sealed(bytes("77 00 09 99 55 12 34"))), 1);
    EXPECT_EQ(check(frames::sealed(bytes("00 00"))), 1);
}

TEST_F(ReplyChecks, OfThreeBytesOnlyTheAcknowledgementIsGood)
{
    inFlight(3);
    for (int station : {0x00, 0x01, 0x05, 0xFF}) {
        QByteArray reply = bytes("00 FF 20");
        reply[0] = static_cast<char>(station);
        EXPECT_EQ(check(reply), 2) << "its station is not looked at";
    }
    for (int second = 0; second < 256; ++second) {
        for (int third = 0; third < 256; ++third) {
            QByteArray reply("\x05\x00\x00", 3);
            reply[1] = static_cast<char>(second);
            reply[2] = static_cast<char>(third);
            ASSERT_EQ(check(reply), second == 0xFF && third == 0x20 ? 2 : 0) << second << " " << third;
        }
    }
}

TEST_F(ReplyChecks, ThreeBytesAreNeverJudgedByTheirCrc)
{
    inFlight(3);
    EXPECT_EQ(check(frames::sealed(bytes("05"))), 0);
}

TEST_F(ReplyChecks, OfTwoBytesOnlyTheCrcOfNothingIsGood)
{
    inFlight(2);
    EXPECT_EQ(check(bytes("FF FF")), 1);
    EXPECT_EQ(check(bytes("FF 20")), 0);
    EXPECT_EQ(check(bytes("00 00")), 0);
}

TEST_F(ReplyChecks, OneByteIsBad)
{
    for (int station : {0, 1}) {
        inFlight(1, station);
        EXPECT_EQ(check(bytes("FF")), 0);
        EXPECT_EQ(check(bytes("00")), 0);
    }
}

TEST_F(ReplyChecks, NoReplyIsGoodFromStationZeroOnly)
{
    QByteArray some = bytes("01 02 03");
    inFlight(0, 0);
    EXPECT_EQ(check(QByteArray()), 2);
    EXPECT_EQ(CheckGetData(&some, 0), 2);
    for (int station : {1, 255, 256, -1, INT_MIN}) {
        inFlight(0, station);
        EXPECT_EQ(check(QByteArray()), 0) << station;
    }
}

TEST_F(ReplyChecks, TheHeadsStationDecidesWhetherNoReplyIsGood)
{
    inFlight(0, 0);
    Protocol later;
    later.var.station = 7;
    PLC_driver.ProtocolList.append(later);
    EXPECT_EQ(check(QByteArray()), 2);
    PLC_driver.ProtocolList.removeFirst();
    EXPECT_EQ(check(QByteArray()), 0);
}

TEST_F(ReplyChecks, TheLengthSaysWhereTheReplyEnds)
{
    inFlight(8);
    QByteArray longer = bytes("01 03 00 00 00 01 84 0A 55 66");
    EXPECT_EQ(CheckGetData(&longer, 8), 1);
    EXPECT_EQ(CheckGetData(&longer, 10), 0);
    QByteArray acknowledgement = bytes("05 FF 20 99");
    EXPECT_EQ(CheckGetData(&acknowledgement, 3), 2);
}

TEST_F(ReplyChecks, ALengthThatTheArrayDoesNotHaveIsBad)
{
    QByteArray reply = bytes("01 03 00 00 00 01 84 0A");
    QByteArray two = bytes("05 FF"), none;
    for (int station : {0, 1}) {
        inFlight(8, station);
        for (int length : {9, 10, 1000, 65546, INT_MAX, -1, -2, -3, -8, INT_MIN})
            EXPECT_EQ(CheckGetData(&reply, length), 0) << length;
        EXPECT_EQ(CheckGetData(&two, 3), 0);
        EXPECT_EQ(CheckGetData(&none, 1), 0);
        EXPECT_EQ(CheckGetData(nullptr, 3), 0);
        EXPECT_EQ(CheckGetData(nullptr, 8), 0);
        EXPECT_EQ(CheckGetData(nullptr, -1), 0);
    }
}

TEST_F(ReplyChecks, ANullArrayIsAnEmptyReply)
{
    inFlight(0, 0);
    EXPECT_EQ(CheckGetData(nullptr, 0), 2);
    inFlight(0, 1);
    EXPECT_EQ(CheckGetData(nullptr, 0), 0);
}

// The CRC's length is a 16-bit number: behind 65536 bytes it starts again.
TEST_F(ReplyChecks, TheCrcCoversTheLengthModulo65536)
{
    inFlight(-1);
    EXPECT_EQ(check(QByteArray(65536, '\x11') + bytes("FF FF")), 1) << "the CRC of nothing";
    EXPECT_EQ(check(frames::sealed(QByteArray(65536, '\x11'))), 0);
    EXPECT_EQ(check(frames::sealed(QByteArray(65535, '\x11'))), 1);
    const QByteArray crcOfFour = frames::sealed(QByteArray(4, '\x11')).right(2);
    EXPECT_EQ(check(QByteArray(65540, '\x11') + crcOfFour), 1);
}

TEST_F(ReplyChecks, TheCheckChangesNothing)
{
    inFlight(8);
    QByteArray reply = bytes("01 03 00 00 00 01 84 0A");
    CheckGetData(&reply, 8);
    EXPECT_EQ(hex(reply), "01 03 00 00 00 01 84 0A");
    EXPECT_EQ(built(), 1);
    EXPECT_EQ(PLC_driver.RetVar.result, 1);
}

TEST_F(ReplyChecks, WithoutARequestInFlightTheCheckIsHarmless)
{
    EXPECT_EQ(check(bytes("01 03 00 00 00 01 84 0A")), 1);
    EXPECT_EQ(check(bytes("05 FF 20")), 2);
    check(QByteArray());
    CheckGetData(nullptr, 0);
}

// --- length before check

TEST_F(ReplyChecks, AWrongLengthIsToldBeforeTheCrcIsLookedAt)
{
    inFlight(9);
    EXPECT_EQ(judged(frames::sealed(bytes("01 FE 01 08 01 12"))), 71) << "a good CRC does not help";
    EXPECT_EQ(judged(bytes("01 FE 01 08 01 12 00 00")), 71);
    EXPECT_EQ(judged(bytes("01 FE 01 08 01 12 34 00 00")), 11);
    EXPECT_EQ(judged(bytes("05 FF 20")), 71) << "an acknowledgement where data is due";
}

TEST_F(ReplyChecks, AMissingReplyIsToldApartFromABadOne)
{
    inFlight(9);
    EXPECT_EQ(judged(QByteArray()), 41);
    EXPECT_EQ(DealDataOfLocalArea(nullptr, 0), 41);
    inFlight(-1);
    EXPECT_EQ(judged(QByteArray()), 41);
}

TEST_F(ReplyChecks, AnEmptyReplyToABroadcastIsASuccess)
{
    RW_VAR var = variable(5, 0, 4, 0);
    ReadRegister1(&var);
    EXPECT_EQ(judged(QByteArray()), 1);
    PLC_driver.ProtocolList.clear();
    var.data = bytes("01 02 03 04 05 06 07 08");
    WriteAnalog(&var);
    EXPECT_EQ(judged(QByteArray()), 1);
}

TEST_F(ReplyChecks, AnyReplyToABroadcastHasTheWrongLength)
{
    inFlight(0, 0);
    EXPECT_EQ(judged(bytes("00 FF 20")), 71);
    EXPECT_EQ(judged(frames::sealed(bytes("00 FE 01 08 00"))), 71);
}

TEST_F(ReplyChecks, AnEmptyReplyWhereNoneIsExpectedFailsTheCheckOfAnotherStation)
{
    inFlight(0, 1);
    EXPECT_EQ(judged(QByteArray()), 11);
    // A bit read of length -7 expects 0 bytes.
    PLC_driver.ProtocolList.clear();
    RW_VAR var = variable(1, 0, -7);
    ReadBool(&var);
    ASSERT_EQ(head().replyLen, 0);
    EXPECT_EQ(judged(QByteArray()), 11);
}

TEST_F(ReplyChecks, MinusOneAcceptsAnyLength)
{
    inFlight(-1);
    EXPECT_EQ(judged(frames::sealed(bytes("01"))), 11) << "three bytes must acknowledge";
    EXPECT_EQ(judged(frames::sealed(bytes("01 02"))), 1);
    EXPECT_EQ(judged(frames::sealed(bytes("01 02 03 04 05 06 07 08 09"))), 1);
    EXPECT_EQ(judged(bytes("05 FF 20")), 1);
    EXPECT_EQ(judged(bytes("01 02 03 04")), 11);
}

TEST_F(ReplyChecks, LengthsThatNoReplyHasAreRefused)
{
    QByteArray reply = bytes("01 03 00 00 00 01 84 0A");
    inFlight(8);
    for (int length : {-1, -8, INT_MIN, INT_MAX, 9})
        EXPECT_EQ(DealDataOfLocalArea(&reply, length), 71) << length;
    inFlight(-1);
    for (int length : {-1, -8, INT_MIN, INT_MAX, 9})
        EXPECT_EQ(DealDataOfLocalArea(&reply, length), 11) << length;
    inFlight(9);
    EXPECT_EQ(DealDataOfLocalArea(&reply, 9), 11) << "as long as expected, but not there";
    EXPECT_EQ(DealDataOfLocalArea(nullptr, 9), 11);
}

TEST_F(ReplyChecks, AnAcknowledgementStoresNothing)
{
    fillImage(0x77);
    const QByteArray before = wholeImage();
    RW_VAR read = variable(5, 0, 1);
    ReadRegister1(&read);
    PLC_driver.ProtocolList.clear();
    iRet_ValidStar[0] = 0;
    iRet_ValidLen[0] = 2;
    inFlight(3);
    EXPECT_EQ(judged(bytes("05 FF 20")), 1);
    EXPECT_EQ(judged(bytes("05 FF 21")), 11);
    EXPECT_TRUE(sameImage(before));
    EXPECT_TRUE(locksAreFree());
}

// A double-word read of length 1 expects three bytes, so an acknowledgement answers it.
TEST_F(ReplyChecks, ADoubleWordReadOfLengthOneIsAnsweredByAnAcknowledgement)
{
    RW_VAR var = variable(10, 0, 1);
    ReadAnalog_32CV(&var);
    EXPECT_EQ(judged(bytes("01 FF 20")), 1);
    EXPECT_EQ(judged(bytes("01 FE 01")), 11);
    EXPECT_EQ(judged(frames::sealed(bytes("01 FE 01 13 FF"))), 71);
}

TEST_F(ReplyChecks, AGoodReplyIsStoredAndTheRequestStays)
{
    RW_VAR var = variable(5, 10, 1);
    ReadRegister1(&var);
    EXPECT_EQ(judged(frames::readReply(1, {{5, 10, 1}}, {bytes("12 34")})), 1);
    EXPECT_EQ(PLC_driver.usArea5[10], 0x1234);
    EXPECT_EQ(built(), 1);
    EXPECT_TRUE(locksAreFree());
}

} // namespace
