#include "sim/controller.h"
#include "sim/crc.h"
#include "sim/line_faults.h"
#include "sim_frames.h"

#include <gtest/gtest.h>

#include <set>

using namespace fgssim;
using namespace std::chrono_literals;

namespace
{

const Bytes ReadRequest = sealed("01 FE 02 08 02 64 00 01 08 10 00");
const Bytes ReadReply = sealed("01 FE 02 08 02 12 34 56 78 01 08 80");
const Bytes WriteRequest = sealed("01 FF 01 08 01 64 00 12 34");
const Bytes Acknowledgement = bytes("01 FF 20");

Exchange exchangeOf(const Bytes &request, const Bytes &reply)
{
    Exchange x;
    x.asked = request[0];
    x.request = request;
    x.reply = reply;
    x.station = {0};
    x.command = {1};
    x.number = {2};
    x.limit = 100ms;
    return x;
}

Exchange read()
{
    Exchange x = exchangeOf(ReadRequest, ReadReply);
    markEntries(x, parseRequest(ReadRequest));
    x.stranger = sealed("4D FE 01 08 01 00 07");
    x.otherShape = sealed("01 FE 01 11 01 00 07");
    x.sameShape = sealed("01 FE 02 08 02 00 01 00 02 01 08 01");
    return x;
}

Exchange write()
{
    Exchange x = exchangeOf(WriteRequest, Acknowledgement);
    x.hasCheck = false;
    x.stranger = bytes("4D FF 20");
    x.otherShape = read().otherShape;
    return x;
}

/// All bytes that a fault delivers, in the order of their times.
Bytes delivered(const char *name, const Exchange &x, int place = 0)
{
    Bytes all;
    for (const Arrival &arrival : lineFault(name)->deliver(x, place))
        all = all + arrival.bytes;
    return all;
}

} // namespace

TEST(Exchange, MarksWhereTheEntriesOfAReadStand)
{
    const Exchange x = read();
    EXPECT_EQ(x.codes, (std::vector<int>{3, 9}));
    EXPECT_EQ(x.counts, (std::vector<int>{4, 10}));
    EXPECT_EQ(x.data, (std::vector<int>{5, 6, 7, 8, 11}));
    EXPECT_EQ(x.headEnd(), 11);
    EXPECT_EQ(write().headEnd(), 3);
}

TEST(LineFaults, AreFoundByTheirNames)
{
    std::set<std::string> names;
    for (const LineFault &fault : lineFaults()) {
        SCOPED_TRACE(fault.name);
        EXPECT_TRUE(names.insert(fault.name).second) << fault.name;
        EXPECT_EQ(lineFault(fault.name), &fault);
    }
    EXPECT_EQ(names.size(), 69u); // with the row that is none
    EXPECT_EQ(lineFaults()[0].name, "none");
    EXPECT_EQ(lineFault("no such fault"), nullptr);
}

TEST(LineFaults, ChangeWhatArrivesAtEveryPlace)
{
    for (const Exchange &x : {read(), write()}) {
        for (const LineFault &fault : lineFaults()) {
            for (int place = 0; place < fault.places(x); ++place) {
                const Delivery delivery = fault.deliver(x, place);
                const bool isGood = delivery.size() == 1 && delivery[0].bytes == x.reply &&
                                    delivery[0].after == ReplyDelay && !delivery[0].withNextRequest;
                EXPECT_EQ(isGood, fault.name == "none") << fault.name << ", place " << place;
            }
        }
    }
}

TEST(LineFaults, StrikeOnlyWhereTheyCan)
{
    const auto places = [](const char *name, const Exchange &x) { return lineFault(name)->places(x); };
    EXPECT_EQ(places("data bit", read()), 5 * 8);
    EXPECT_EQ(places("data bit", write()), 0);
    EXPECT_EQ(places("any one byte lost", read()), int(ReadReply.size()));
    EXPECT_EQ(places("bit of the check, low byte", write()), 0);
    EXPECT_EQ(places("acknowledged with FF 00", read()), 0);
    EXPECT_EQ(places("acknowledged with FF 00", write()), 1);
    EXPECT_EQ(places("an acknowledgement instead", write()), 0);
    EXPECT_EQ(places("the answer about other addresses", write()), 0);
}

TEST(LineFaults, AreWhatTheirNamesSay)
{
    EXPECT_EQ(hex(delivered("bit of the station byte", read(), 1)), "03 FE" + hex(ReadReply).substr(5));
    EXPECT_EQ(delivered("other station, check right", read(), 1), sealed("03 FE 02 08 02 12 34 56 78 01 08 80"));
    EXPECT_EQ(delivered("data bit, check right", read(), 4), sealed("01 FE 02 08 02 12 34 56 78 01 08 90"));
    EXPECT_EQ(delivered("without its check", read()), bytes("01 FE 02 08 02 12 34 56 78 01 08 80"));
    EXPECT_EQ(delivered("own echo ahead", read()), ReadRequest + ReadReply);
    EXPECT_EQ(delivered("acknowledged with the request's head", write()), bytes("01 FF 01"));
    EXPECT_EQ(delivered("acknowledged with a check", write()), sealed("01 FF 20"));
    EXPECT_EQ(delivered("in two pieces", read(), 3), ReadReply);
    EXPECT_EQ(delivered("byte by byte", read()), ReadReply);
    EXPECT_EQ(delivered("silence", read()), Bytes());
    EXPECT_TRUE(lineFault("link lost")->cutsLink);
}

TEST(LineFaults, TheBurstHasAGoodCheck)
{
    Exchange x = exchangeOf(sealed("01 FE 01 08 02 64 00"), sealed("01 FE 01 08 02 12 34 56 78"));
    markEntries(x, parseRequest(x.request));
    const Bytes struck = delivered("burst that the check misses", x);
    EXPECT_NE(struck, x.reply);
    EXPECT_TRUE(hasGoodCrc(struck));
}

TEST(LineFaults, LateOnesComeBehindTheLimit)
{
    EXPECT_GT(lineFault("late by one transaction")->deliver(read(), 0)[0].after, read().limit);
    EXPECT_GT(lineFault("its end after the limit")->deliver(read(), 0)[1].after, read().limit);
    EXPECT_TRUE(lineFault("late, with the next request")->deliver(read(), 0)[0].withNextRequest);
}

// ---- with remote frames

namespace
{

/// Of a request to station 3 that a simulated far end answers.
Exchange remote(const Bytes &request)
{
    Controller controller({3}, Memory(Motion({3}, {}, Values::Pattern, 1)), RemoteFraming);
    return controller.exchangeOf(request, controller.handle(request));
}

/// Reads four words, and writes two, of area 5.
const char *const RemoteRead = "16 00 00 01 03 00 05 00 00 00 64 00 04 FF FF FF FF 00 00 00 00 83";
const char *const RemoteWrite = "1A 00 00 01 03 00 05 00 00 00 64 00 02 00 00 00 00 00 00 00 00 12 34 56 78 9D";

std::set<std::string> thoseThatCannotStrike(const Exchange &x)
{
    std::set<std::string> names;
    for (const LineFault &fault : lineFaults())
        if (fault.places(x) == 0)
            names.insert(fault.name);
    return names;
}

/// They have no area codes, counts or blocks, and no acknowledgement without a check.
const std::set<std::string> NotRemote = {"bit of an area code",
                                         "bit of a count",
                                         "other area code, check right",
                                         "other count, check right",
                                         "a damaged echo ahead, one block",
                                         "acknowledged by station 0",
                                         "acknowledged with FF 00",
                                         "acknowledged with FE 20",
                                         "acknowledged with the request's head",
                                         "acknowledged with a check",
                                         "acknowledged without a station"};

} // namespace

TEST(RemoteLineFaults, StrikeReadsAndWrites)
{
    EXPECT_EQ(thoseThatCannotStrike(remote(bytes(RemoteRead))), NotRemote);
    std::set<std::string> notWrites = NotRemote;
    notWrites.insert("the answer about other addresses"); // replies to writes are all alike
    EXPECT_EQ(thoseThatCannotStrike(remote(bytes(RemoteWrite))), notWrites);
}

TEST(RemoteLineFaults, AreOrderedOnlyWhereTheyCanHappen)
{
    const Controller far({3}, Memory(Motion({3}, {}, Values::Pattern, 1)), RemoteFraming);
    const Controller near({3}, Memory(Motion({3}, {}, Values::Pattern, 1)));
    for (const LineFault &fault : lineFaults()) {
        EXPECT_EQ(far.canSuffer(fault), NotRemote.count(fault.name) == 0) << fault.name;
        EXPECT_TRUE(near.canSuffer(fault)) << fault.name;
    }
}

TEST(RemoteLineFaults, DamageAReplyToAWrite)
{
    const Exchange x = remote(bytes(RemoteWrite));
    const Bytes reply = sealed("03 57 01 00 00 00"), stranger = sealed("04 57 01 00 00 00");
    EXPECT_EQ(x.asked, 3u);
    EXPECT_EQ(x.reply, reply);
    EXPECT_EQ(delivered("another station's frame ahead", x), stranger + reply);
    EXPECT_EQ(hex(delivered("bit of the station byte", x, 1)), "01" + hex(reply).substr(2));
    EXPECT_EQ(delivered("data bit, check right", x, 1), sealed("03 57 01 00 02 00"));
    EXPECT_EQ(delivered("without its check", x), bytes("03 57 01 00 00 00"));
    EXPECT_EQ(delivered("an acknowledgement instead", x), bytes("03 FF 20"));
    EXPECT_EQ(delivered("own echo ahead", x), bytes(RemoteWrite) + reply);
}
