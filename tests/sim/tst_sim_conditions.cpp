#include "sim/controller.h"
#include "sim_frames.h"

#include <gtest/gtest.h>

using namespace fgssim;

namespace
{

const Area &area(int number)
{
    return areas()[std::size_t(number)];
}

Place place(int number, unsigned first, unsigned count = 1, std::optional<unsigned> station = {})
{
    return {&area(number), first, count, station};
}

std::vector<std::string> notations(const AddressSet &set)
{
    std::vector<std::string> all;
    for (const Place &row : set.places())
        all.push_back(notation(row));
    return all;
}

class ConditionsTest : public testing::Test
{
protected:
    Response ask(const std::string &request) { return controller.handle(sealed(request)); }
    /// The first two words of area 5 from 100.
    std::string words(unsigned station)
    {
        const Bytes reply = controller.handle(sealed(Bytes{Byte(station), 0xFE, 1, 8, 2, 100, 0})).reply;
        return hex(Slice(reply).from(5).first(4));
    }

    Controller controller{{1, 2}, Memory(Motion({1, 2}, {}, Values::Still, 1))};
    Conditions &conditions = controller.conditions;
};

} // namespace

TEST(Places, AreWrittenAsPeopleWriteThem)
{
    EXPECT_EQ(notation(place(5, 100)), "5:100");
    EXPECT_EQ(notation(place(1, 15, 8)), "1:17x8");
    EXPECT_EQ(notation(place(10, 0, 65536, 255)), "10:0x65536@255");
}

TEST(Places, CoverOthers)
{
    EXPECT_TRUE(place(5, 100, 10).covers(place(5, 100, 10)));
    EXPECT_TRUE(place(5, 100, 10).covers(place(5, 109)));
    EXPECT_FALSE(place(5, 100, 10).covers(place(5, 109, 2)));
    EXPECT_FALSE(place(5, 100, 10).covers(place(5, 99)));
    EXPECT_FALSE(place(5, 100, 10).covers(place(6, 100)));
}

TEST(AddressSet, HoldsRowsOfAddresses)
{
    AddressSet set;
    set.insert(1, place(5, 100, 10));
    set.insert(1, place(5, 110, 5)); // joins the one before
    set.insert(2, place(0, 0, 65536));
    set.erase(1, place(5, 103, 2));
    EXPECT_EQ(notations(set), (std::vector<std::string>{"5:100x3@1", "5:105x10@1", "0:0x65536@2"}));
    set.erase(2, place(0, 0, 65536));
    set.erase(2, place(7, 0));
    EXPECT_EQ(set.places().size(), 2u);
}

TEST(AddressSet, IsTouchedByWhatReachesInto)
{
    AddressSet set;
    set.insert(1, place(5, 100, 2));
    EXPECT_FALSE(set.touches(1, area(5), 96, 4));
    EXPECT_TRUE(set.touches(1, area(5), 96, 5));
    EXPECT_TRUE(set.touches(1, area(5), 101, 9));
    EXPECT_FALSE(set.touches(1, area(5), 102, 9));
    EXPECT_FALSE(set.touches(1, area(5), 100, 0));
    EXPECT_FALSE(set.touches(2, area(5), 100, 1));
    EXPECT_FALSE(set.touches(1, area(6), 100, 1));
}

TEST_F(ConditionsTest, AStationThatIsOffIsSilentAndKeepsItsMemory)
{
    ask("01 FF 01 08 01 64 00 00 2A");
    conditions.off.set(1);
    const Response response = ask("01 FF 01 08 01 64 00 00 07");
    EXPECT_EQ(response.status, Response::Status::Silenced);
    EXPECT_EQ(response.cause, "station 1 is switched off");
    EXPECT_EQ(response.reply, Bytes());
    EXPECT_EQ(words(2), "00 00 00 00");
    conditions.off.reset(1);
    EXPECT_EQ(words(1), "00 2A 00 00");
}

TEST_F(ConditionsTest, AnyRequestThatTouchesAMissingAddressIsSilent)
{
    conditions.missing.insert(1, place(5, 101));
    EXPECT_EQ(ask("01 FE 02 12 01 00 00 08 02 64 00").cause, "an address is missing in 5:100x2@1");
    EXPECT_EQ(ask("01 FF 01 08 02 64 00 00 01 00 02").status, Response::Status::Silenced);
    EXPECT_EQ(ask("01 FE 01 08 01 64 00").status, Response::Status::Answered);
    EXPECT_EQ(words(2), "00 00 00 00");
    conditions.missing.erase(1, place(5, 101));
    EXPECT_EQ(words(1), "00 00 00 00"); // the write was not carried out
}

TEST_F(ConditionsTest, AWriteThatTouchesARefusingAddressIsRefused)
{
    conditions.refusing.insert(1, place(5, 101));
    const Response response = ask("01 FF 01 08 02 64 00 00 01 00 02");
    EXPECT_EQ(response.status, Response::Status::Answered);
    EXPECT_EQ(response.reply, bytes("01 FF 21"));
    EXPECT_EQ(words(1), "00 00 00 00");
    EXPECT_EQ(ask("01 FF 01 08 01 64 00 00 01").reply, bytes("01 FF 20"));
    EXPECT_EQ(words(1), "00 01 00 00");
}

// The count byte of a written bit says nothing.
TEST_F(ConditionsTest, AWrittenBitTouchesOneAddress)
{
    conditions.refusing.insert(1, place(2, 6));
    EXPECT_EQ(ask("01 FF 01 02 08 05 00 01").reply, bytes("01 FF 20"));
    EXPECT_EQ(ask("01 FF 01 02 00 06 00 01").reply, bytes("01 FF 21"));
}

TEST_F(ConditionsTest, BroadcastsReachNoStationThatIsOffMissesOrRefuses)
{
    conditions.off.set(1);
    EXPECT_EQ(ask("00 FF 01 08 01 64 00 00 07").status, Response::Status::Broadcast);
    conditions.off.reset(1);
    conditions.refusing.insert(2, place(5, 101));
    ask("00 FF 01 08 01 65 00 00 08");
    conditions.missing.insert(1, place(5, 100));
    ask("00 FF 01 08 01 64 00 00 09");
    conditions.missing.erase(1, place(5, 100));
    EXPECT_EQ(words(1), "00 00 00 08");
    EXPECT_EQ(words(2), "00 09 00 00");
}

TEST_F(ConditionsTest, ASetRangeMovesEvenWhereItWasWritten)
{
    ask("01 FF 01 08 02 64 00 00 2A 00 2B");
    controller.memory.set(1, {place(5, 100), {Course::Shape::Ramp, 7, 9, 1}});
    EXPECT_EQ(words(1), "00 07 00 2B");
    controller.tick();
    EXPECT_EQ(words(1), "00 08 00 2B");
    ask("01 FF 01 08 01 64 00 00 2A");
    controller.tick();
    EXPECT_EQ(words(1), "00 2A 00 2B");
}

TEST_F(ConditionsTest, AnExchangeHasWhatElseMayBeOnTheLine)
{
    ask("01 FF 01 08 01 64 00 00 2A");
    const Bytes read = sealed("01 FE 01 08 01 64 00");
    const Exchange x = controller.exchangeOf(read, controller.handle(read));
    EXPECT_EQ(x.reply, sealed("01 FE 01 08 01 00 2A"));
    EXPECT_EQ(x.stranger, sealed("02 FE 01 08 01 00 00"));
    EXPECT_EQ(x.sameShape, sealed("01 FE 01 08 01 00 00"));
    EXPECT_EQ(x.otherShape.size(), 7u + 10);
    EXPECT_EQ(x.data, (std::vector<int>{5, 6}));
    EXPECT_TRUE(x.hasCheck);
    const Bytes last = sealed("01 FE 01 08 01 FF FF"); // other addresses are below
    EXPECT_EQ(controller.exchangeOf(last, controller.handle(last)).sameShape.size(), 9u);
}

TEST_F(ConditionsTest, AnExchangeOfAWriteHasNoCheck)
{
    const Bytes write = sealed("01 FF 01 08 01 64 00 00 2A");
    const Exchange x = controller.exchangeOf(write, controller.handle(write));
    EXPECT_EQ(x.stranger, bytes("02 FF 20"));
    EXPECT_EQ(x.sameShape, Bytes());
    EXPECT_FALSE(x.hasCheck);
}
