#include "sim/controller.h"
#include "sim_frames.h"

#include <gtest/gtest.h>

using namespace fgssim;

namespace
{

Controller makeController(const std::vector<unsigned> &stations, Values values)
{
    return Controller(stations, Memory(Motion(stations, {}, values, 1)));
}

class ControllerTest : public testing::Test
{
protected:
    Response ask(const std::string &request) { return controller.handle(sealed(request)); }
    /// The reply to the request, without its CRC.
    std::string reply(const std::string &request)
    {
        const Response response = ask(request);
        EXPECT_EQ(response.status, Response::Status::Answered) << response.cause;
        return hex(Slice(response.reply).first(response.reply.size() - 2));
    }

    Controller controller = makeController({1, 2, 255}, Values::Still);
};

} // namespace

TEST_F(ControllerTest, AnswersForItsStationsOnly)
{
    EXPECT_EQ(reply("01 FE 01 08 01 00 00"), "01 FE 01 08 01 00 00");
    EXPECT_EQ(reply("FF FE 01 08 01 00 00"), "FF FE 01 08 01 00 00");
    EXPECT_EQ(ask("03 FE 01 08 01 00 00").status, Response::Status::Elsewhere);
    EXPECT_EQ(ask("03 FE 01 0A 01 00 00").status, Response::Status::Elsewhere);
}

TEST_F(ControllerTest, WrittenWordsAreReadBack)
{
    EXPECT_EQ(hex(ask("01 FF 01 08 02 64 00 12 34 56 78").reply), "01 FF 20");
    EXPECT_EQ(reply("01 FE 01 08 04 63 00"), "01 FE 01 08 04 00 00 12 34 56 78 00 00");
    EXPECT_EQ(reply("02 FE 01 08 01 64 00"), "02 FE 01 08 01 00 00");
    EXPECT_EQ(reply("01 FE 01 12 01 64 00"), "01 FE 01 12 01 00 00");
}

TEST_F(ControllerTest, WrittenDoubleWordsAreReadBack)
{
    ask("01 FF 01 13 02 FE FF 56 78 12 34 00 01 80 00");
    EXPECT_EQ(reply("01 FE 01 13 02 FE FF"), "01 FE 01 13 02 56 78 12 34 00 01 80 00");
}

TEST_F(ControllerTest, AWrittenBitChangesNoOther)
{
    ask("01 FF 01 02 01 0D 00 01");
    EXPECT_EQ(reply("01 FE 01 02 10 08 00"), "01 FE 01 02 10 20 00");
    EXPECT_EQ(reply("01 FE 01 02 08 0D 00"), "01 FE 01 02 08 01");
    ask("01 FF 01 02 01 0F 00 01");
    ask("01 FF 01 02 01 0D 00 00");
    EXPECT_EQ(reply("01 FE 01 02 08 08 00"), "01 FE 01 02 08 80");
}

TEST_F(ControllerTest, EveryWritableAreaKeepsItsOwnValues)
{
    for (const Area &area : areas()) {
        if (!area.writable)
            continue;
        Bytes write = {1, WriteCommand, 1, area.code, 1, 0x20, 0};
        write = write + (area.kind == AreaKind::Bit ? bytes("01") : Bytes{0, Byte(area.number)});
        if (area.kind == AreaKind::DoubleWord)
            write = write + bytes("00 00");
        EXPECT_EQ(controller.handle(sealed(write)).status, Response::Status::Answered) << area.number;
    }
    for (const Area &area : areas()) {
        const Byte count = area.kind == AreaKind::Bit ? 8 : 1;
        const Bytes reply = controller.handle(sealed(Bytes{1, ReadCommand, 1, area.code, count, 0x20, 0})).reply;
        const Byte value = !area.writable ? 0 : area.kind == AreaKind::Bit ? 1 : Byte(area.number);
        EXPECT_EQ(Slice(reply).u8(area.kind == AreaKind::Bit ? 5 : 6), value) << area.number;
    }
}

TEST_F(ControllerTest, FarAddressesOfDifferentAreasAreDifferentRegisters)
{
    const auto forAll = [](auto visit) {
        for (const Area &area : areas()) {
            for (unsigned high = 0; area.writable && area.kind == AreaKind::Word && high < 256; high += 4)
                visit(area, Byte(high));
        }
    };
    forAll([this](const Area &area, Byte high) {
        controller.handle(sealed(Bytes{1, WriteCommand, 1, area.code, 1, 0, high, Byte(area.number), high}));
    });
    forAll([this](const Area &area, Byte high) {
        const Bytes reply = controller.handle(sealed(Bytes{1, ReadCommand, 1, area.code, 1, 0, high})).reply;
        EXPECT_EQ(hex(Slice(reply).from(5).first(2)), hex(Bytes{Byte(area.number), high})) << area.number;
    });
}

TEST_F(ControllerTest, BroadcastWritesReachEveryStationUnanswered)
{
    const Response response = ask("00 FF 01 08 01 05 00 00 2A");
    EXPECT_EQ(response.status, Response::Status::Broadcast);
    EXPECT_EQ(response.reply, Bytes());
    for (const char *station : {"01", "02", "FF"})
        EXPECT_EQ(reply(std::string(station) + " FE 01 08 01 05 00"), std::string(station) + " FE 01 08 01 00 2A")
            << station;
}

TEST_F(ControllerTest, BroadcastReadsAreIgnored)
{
    const Response response = ask("00 FE 01 08 01 05 00");
    EXPECT_EQ(response.status, Response::Status::Broadcast);
    EXPECT_EQ(response.reply, Bytes());
}

TEST_F(ControllerTest, RefusedWritesChangeNothing)
{
    EXPECT_EQ(ask("01 FF 01 06 01 05 00 00 2A").status, Response::Status::Rejected);
    EXPECT_EQ(ask("00 FF 01 06 01 05 00 00 2A").cause, "write to area 8, which is read-only");
    EXPECT_EQ(reply("01 FE 01 06 01 05 00"), "01 FE 01 06 01 00 00");
    EXPECT_EQ(ask("01 FF 01 08 02 FF FF 00 01 00 02").status, Response::Status::Rejected);
    EXPECT_EQ(reply("01 FE 01 08 01 FF FF"), "01 FE 01 08 01 00 00");
}

TEST_F(ControllerTest, SixEntriesComeInTheirOrder)
{
    ask("01 FF 01 12 01 01 00 00 06");
    ask("01 FF 01 11 01 01 00 00 07");
    EXPECT_EQ(reply("01 FE 06 12 01 01 00 11 01 01 00 12 01 01 00 01 08 00 00 13 01 00 00 13 00 00 00"),
              "01 FE 06 12 01 00 06 11 01 00 07 12 01 00 06 01 08 00 13 01 00 00 00 00 13 00");
}

TEST(ControllerValues, AWrittenAddressMovesNoMore)
{
    Controller controller = makeController({1}, Values::Moving);
    const Bytes before = controller.handle(sealed("01 FE 01 08 02 64 00")).reply;
    controller.handle(sealed("01 FF 01 08 01 64 00 12 34"));
    for (int i = 0; i < 3; ++i)
        controller.tick();
    const Bytes after = controller.handle(sealed("01 FE 01 08 03 64 00")).reply;
    EXPECT_EQ(Slice(after).be16(5), 0x1234u);
    EXPECT_EQ(Slice(after).be16(9), 102u + 100 + 3);
    EXPECT_EQ(Slice(before).be16(5), 100u + 100);
}

// The function is written a second time here, as another process would.
TEST(ControllerValues, PatternIsThePublishedFunction)
{
    Controller controller = makeController({1, 255}, Values::Pattern);
    const Bytes words = controller.handle(sealed("FF FE 01 10 01 FF FF")).reply;
    EXPECT_EQ(Slice(words).be16(5), 0x5876u);
    const Bytes doubles = controller.handle(sealed("01 FE 01 13 01 07 00")).reply;
    EXPECT_EQ(hex(Slice(doubles).from(5).first(4)), "53 D7 C5 6E");
    const Bytes bits = controller.handle(sealed("01 FE 01 01 08 00 00")).reply;
    EXPECT_EQ(Slice(bits).u8(5), 0x52u);
}
