#include "sim/strikes.h"
#include "sim_frames.h"

#include <gtest/gtest.h>

#include <set>

using namespace fgssim;

namespace
{

Exchange exchangeOf(unsigned station)
{
    Exchange x;
    x.asked = station;
    x.request = sealed(Bytes{Byte(station), 0xFE, 1, 8, 2, 100, 0});
    x.reply = sealed(Bytes{Byte(station), 0xFE, 1, 8, 2, 1, 2, 3, 4});
    x.station = {0};
    x.command = {1};
    x.number = {2};
    markEntries(x, parseRequest(x.request));
    return x;
}

std::string nameOf(const std::optional<Strike> &strike)
{
    return strike ? strike->fault->name : "none";
}

} // namespace

TEST(Strikes, ComeInTheirOrderAndAsOftenAsOrdered)
{
    Strikes strikes(1);
    EXPECT_EQ(nameOf(strikes.take(exchangeOf(1))), "none");
    strikes.order({lineFault("doubled"), 2, {}});
    strikes.order({lineFault("silence"), 1, {}});
    std::vector<std::string> names;
    for (int i = 0; i < 4; ++i)
        names.push_back(nameOf(strikes.take(exchangeOf(1))));
    EXPECT_EQ(names, (std::vector<std::string>{"doubled", "doubled", "silence", "none"}));
}

TEST(Strikes, StrikeTheirStationOnly)
{
    Strikes strikes(1);
    strikes.order({lineFault("doubled"), 1, 2u});
    strikes.order({lineFault("silence"), 1, {}});
    EXPECT_EQ(nameOf(strikes.take(exchangeOf(1))), "silence");
    EXPECT_EQ(nameOf(strikes.take(exchangeOf(1))), "none");
    EXPECT_EQ(nameOf(strikes.take(exchangeOf(2))), "doubled");
}

TEST(Strikes, WaitForAnExchangeTheyCanHappenTo)
{
    Strikes strikes(1);
    strikes.order({lineFault("acknowledged with FF 00"), 1, {}});
    EXPECT_EQ(nameOf(strikes.take(exchangeOf(1))), "none");
    Exchange write = exchangeOf(1);
    write.hasCheck = false;
    EXPECT_EQ(nameOf(strikes.take(write)), "acknowledged with FF 00");
}

TEST(Strikes, OfOneKindAreAdded)
{
    Strikes strikes(1);
    for (std::int64_t count : {2, 3})
        strikes.order({lineFault("doubled"), count, 1u});
    strikes.order({lineFault("doubled"), 1, {}});
    ASSERT_EQ(strikes.orders().size(), 2u);
    EXPECT_EQ(strikes.orders()[0].count, 5);
    strikes.order({lineFault("doubled"), MostStrikes, 1u});
    EXPECT_EQ(strikes.orders()[0].count, MostStrikes);
}

TEST(Strikes, AreCancelledForAStationOrAll)
{
    Strikes strikes(1);
    strikes.order({lineFault("doubled"), 1, 1u});
    strikes.order({lineFault("doubled"), 1, 2u});
    strikes.order({lineFault("doubled"), 1, {}});
    strikes.cancel(2u);
    EXPECT_EQ(strikes.orders().size(), 2u);
    strikes.cancel({});
    EXPECT_TRUE(strikes.orders().empty());
}

TEST(Strikes, TheSeedChoosesThePlaces)
{
    const auto places = [](std::uint64_t seed) {
        Strikes strikes(seed);
        strikes.order({lineFault("data bit"), 100, {}});
        std::vector<int> all;
        while (const std::optional<Strike> strike = strikes.take(exchangeOf(1)))
            all.push_back(strike->place);
        return all;
    };
    EXPECT_EQ(places(1), places(1));
    EXPECT_NE(places(1), places(2));
    const std::vector<int> all = places(1);
    EXPECT_EQ(all.size(), 100u);
    EXPECT_GE(*std::min_element(all.begin(), all.end()), 0);
    EXPECT_LT(*std::max_element(all.begin(), all.end()), 4 * 8);
    EXPECT_GT(std::set<int>(all.begin(), all.end()).size(), 10u);
}
