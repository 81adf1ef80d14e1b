// Remote_ReadVar and Remote_WriteVar: frames, expected replies, and the image at build time.
#include "support/frames.h"
#include "support/frames_request.h"
#include "support/image_check.h"

#include <climits>

namespace
{

class RemoteRequests : public frames::RequestTest
{
protected:
    static const Protocol &read(RW_VAR var) { return build(Remote_ReadVar, var); }
    static const Protocol &write(RW_VAR var) { return build(Remote_WriteVar, var); }

    static const Protocol &build(void (*builder)(RW_VAR *), RW_VAR var)
    {
        PLC_driver.ProtocolList.clear();
        builder(&var);
        static Protocol request;
        request = head();
        return request;
    }

    /// "replyLen dataStart dataLen"
    static std::string expectation()
    {
        return std::to_string(head().replyLen) + " " + std::to_string(head().dataStart) + " " +
               std::to_string(head().dataLen);
    }

    /// Every field different, and wider than its place in the frame.
    static RW_VAR wideVariable()
    {
        RW_VAR var = distinctVariable(0x12345, 0x6789ABCD, 0x4FEDC, 0x3E7);
        var.hostType = 0x1F1;
        var.hostField3 = 0x2F2;
        var.linkNo = 0x3F3;
        var.remoteStoreMark = 0x01020304;
        var.hostField14 = -2;
        return var;
    }
};

TEST_F(RemoteRequests, EveryFieldHasItsPlaceHighByteFirstAndIsCutToIt)
{
    const std::string fields = "F1 F2 F3 E7 23 45 67 89 AB CD FE DC 01 02 03 04 FF FF FF FE";
    const QByteArray frame = read(wideVariable()).frame;
    EXPECT_EQ(hex(frame.mid(1, 20)), fields);
    EXPECT_EQ(hex(frame), hex(frames::remoteRequest(wideVariable())));
    EXPECT_EQ(hex(write(wideVariable()).frame.mid(1, 20)), fields);
}

TEST_F(RemoteRequests, AReadIgnoresTheDataOfTheVariable)
{
    RW_VAR var = variable(5, 1, 2, 1, bytes("01 02 03 04"));
    EXPECT_EQ(hex(read(var).frame), hex(frames::remoteRequest(variable(5, 1, 2))));
    EXPECT_EQ(head().frameLen, 22);
}

TEST_F(RemoteRequests, TheExpectedDataDependsOnAreaAndLength)
{
    struct Row {
        int areaType, length, data;
    };
    const Row rows[] = {
        {0, 10, 10},  {1, 10, 10},  {2, 10, 10},   {3, 10, 10},       {4, 10, 10}, // a byte a bit
        {11, 10, 20},                                                              // but area 11 counts like words
        {5, 10, 20},  {6, 10, 20},  {7, 10, 20},   {8, 10, 20},       {9, 10, 20},       {12, 10, 20},
        {13, 10, 20}, {14, 10, 20}, {-1, 10, 20},  {INT_MAX, 10, 20}, {INT_MIN, 10, 20}, {10, 1, 4},
        {10, 2, 4},   {10, 3, 8},   {10, 4, 8},    {10, 5, 12},       {10, 10, 20},      {0, 0, 0},
        {5, 0, 0},    {10, 0, 0},   {0, 300, 300}, {5, 300, 600},     {10, 300, 600},    {5, 70000, 140000},
        {0, -2, -2},  {5, -2, -4},  {10, -2, -4},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(std::to_string(row.areaType) + " x " + std::to_string(row.length));
        read(variable(row.areaType, 5, row.length));
        EXPECT_EQ(head().replyLen, row.data + 5);
        EXPECT_EQ(head().dataStart, 3);
        EXPECT_EQ(head().dataLen, row.data);
    }
}

TEST_F(RemoteRequests, AWriteCarriesItsDataAsTheyStand)
{
    const RW_VAR var = variable(5, 10, 2, 1, bytes("34 12 78 56"));
    const Protocol &request = write(var);
    EXPECT_EQ(hex(request.frame), hex(frames::remoteRequest(var, var.data)));
    EXPECT_EQ(hex(request.frame.mid(21, 4)), "34 12 78 56");
    EXPECT_EQ(request.frame.at(0), '\x1A');
    EXPECT_EQ(request.frameLen, 26);
    EXPECT_EQ(int(request.frame.size()), 26);
    EXPECT_EQ(expectation(), "8 0 0");
}

TEST_F(RemoteRequests, TheDataOfAWriteIsNeitherCutNorFilledToTheLength)
{
    for (int size : {0, 1, 3, 5, 100}) {
        const QByteArray data(size, '\x5A');
        const RW_VAR var = variable(5, 10, 2, 1, data);
        EXPECT_EQ(hex(write(var).frame), hex(frames::remoteRequest(var, data))) << size;
        EXPECT_EQ(head().frameLen, 22 + size);
        EXPECT_EQ(head().replyLen, 8);
    }
}

TEST_F(RemoteRequests, ALongWriteCarriesTheLowByteOfItsLength)
{
    struct Row {
        int data;
        char first;
    };
    for (const Row &row : {Row{233, '\xFF'}, Row{234, '\x00'}, Row{235, '\x01'}, Row{1000, '\xFE'}}) {
        const RW_VAR var = variable(5, 10, row.data / 2, 1, QByteArray(row.data, '\x5A'));
        const Protocol &request = write(var);
        EXPECT_EQ(request.frame.at(0), row.first) << row.data;
        EXPECT_EQ(request.frameLen, 22 + row.data);
        EXPECT_EQ(hex(request.frame), hex(frames::remoteRequest(var, var.data)));
    }
}

TEST_F(RemoteRequests, AVeryLongWriteIsFramedWhole)
{
    const RW_VAR var = variable(5, 10, 1, 1, QByteArray(70000, '\x5A'));
    const Protocol &request = write(var);
    EXPECT_EQ(request.frameLen, 70022);
    EXPECT_EQ(int(request.frame.size()), 70022);
    EXPECT_TRUE(sameBytes(request.frame.mid(21, 70000), var.data));
}

// Unlike the local writes, which leave the image while the link is down.
TEST_F(RemoteRequests, AWriteChangesTheImageWhileTheLinkIsDownToo)
{
    PLC_driver.CommFailFlag = 1;
    write(variable(5, 3, 1, 1, bytes("34 12")));
    EXPECT_EQ(PLC_driver.usArea5[3], 0x1234);
    EXPECT_EQ(PLC_driver.CommFailFlag, 1);
}

TEST_F(RemoteRequests, ReadOnlyAreasAreFramedLikeAnyOther)
{
    for (int areaType : {0, 8, 14, -1}) {
        const RW_VAR var = variable(areaType, 3, 1, 1, bytes("01 00"));
        EXPECT_EQ(hex(write(var).frame), hex(frames::remoteRequest(var, var.data))) << areaType;
    }
}

TEST_F(RemoteRequests, ExtremeFieldsAreHarmless)
{
    for (int value : {INT_MAX, INT_MIN, -1}) {
        for (int areaType : {0, 5, 10, 11, 14, INT_MAX, INT_MIN}) {
            const RW_VAR var = variable(areaType, value, value, value, bytes("01 02 03 04"));
            EXPECT_EQ(hex(read(var).frame), hex(frames::remoteRequest(var)));
            EXPECT_EQ(hex(write(var).frame), hex(frames::remoteRequest(var, var.data)));
        }
    }
}

} // namespace
