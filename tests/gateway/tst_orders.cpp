// What becomes of orders on their way to the line: the newest wins, and each ends once.
#include "gateway/orders.h"
#include "support/write_results.h"

#include <gtest/gtest.h>

#include <map>
#include <poll.h>
#include <random>
#include <set>
#include <thread>

using namespace fgs;

namespace
{

using Tags = std::vector<std::size_t>;

/// The word at the address of the tag's number.
Assignment assignmentOf(std::size_t tag, quint32 value)
{
    Assignment assignment;
    assignment.tag.variable = {5, int(tag), 1, 1};
    assignment.values = {value};
    return assignment;
}

/// Writes its number into each of the tags.
Order orderOf(quint64 number, const Tags &tags)
{
    Order order;
    order.number = number;
    order.tags = tags;
    for (std::size_t tag : tags)
        order.assignments.push_back(assignmentOf(tag, quint32(number)));
    return order;
}

/// As a line does it that writes everything well.
OrderEnd written(const Order &order)
{
    OrderEnd end;
    end.number = order.number;
    for (const Assignment &assignment : order.assignments) {
        end.reports.push_back(notSent(assignment));
        end.reports.back().result = WriteResult::Verified;
        end.heldTimes.push_back(assignment.tag.variable.address);
    }
    return end;
}

Results resultsOf(const OrderEnd &end)
{
    return resultsOf(end.reports);
}

Tags tagsOf(const OrderEnd &end)
{
    Tags tags;
    for (const WriteReport &report : end.reports)
        tags.push_back(std::size_t(report.assignment.tag.variable.address));
    return tags;
}

/// The tags whose places newer orders have taken.
Tags supersededIn(const OrderEnd &end)
{
    const Tags tags = tagsOf(end);
    Tags superseded;
    for (std::size_t i = 0; i < tags.size(); ++i)
        if (end.superseded.at(i))
            superseded.push_back(tags[i]);
    return superseded;
}

bool isReadable(int descriptor, int wait = 0)
{
    pollfd entry = {descriptor, POLLIN, 0};
    return ::poll(&entry, 1, wait) == 1;
}

TEST(OrderDesk, GivesOrdersInTheirOrderAndTheirEndsBack)
{
    OrderDesk desk;
    EXPECT_FALSE(desk.hasOrders());
    EXPECT_FALSE(desk.take());
    desk.put(orderOf(1, {10, 11}));
    desk.put(orderOf(2, {12}));
    EXPECT_TRUE(desk.hasOrders());
    EXPECT_EQ(desk.waiting(), 2u);
    const auto first = desk.take();
    ASSERT_TRUE(first);
    EXPECT_EQ(first->number, 1u);
    EXPECT_EQ(first->tags, (Tags{10, 11}));
    EXPECT_EQ(desk.waiting(), 1u);
    EXPECT_FALSE(isReadable(desk.endsDescriptor()));
    desk.finish(written(*first));
    EXPECT_TRUE(isReadable(desk.endsDescriptor()));
    const auto ends = desk.takeEnds();
    EXPECT_FALSE(isReadable(desk.endsDescriptor()));
    ASSERT_EQ(ends.size(), 1u);
    EXPECT_EQ(ends[0].number, 1u);
    EXPECT_TRUE(supersededIn(ends[0]).empty());
    EXPECT_EQ(resultsOf(ends[0]), (Results{WriteResult::Verified, WriteResult::Verified}));
    EXPECT_EQ(tagsOf(ends[0]), (Tags{10, 11}));
    EXPECT_TRUE(desk.takeEnds().empty());
}

TEST(OrderDesk, AnOrderWithNothingLeftEndsAtOnce)
{
    OrderDesk desk;
    desk.put(orderOf(1, {10, 11}));
    desk.put(orderOf(2, {11, 10, 12}));
    EXPECT_TRUE(isReadable(desk.endsDescriptor()));
    const auto ends = desk.takeEnds();
    ASSERT_EQ(ends.size(), 1u);
    EXPECT_EQ(ends[0].number, 1u);
    EXPECT_EQ(resultsOf(ends[0]), (Results{WriteResult::NotSent, WriteResult::NotSent}));
    EXPECT_EQ(tagsOf(ends[0]), (Tags{10, 11}));
    EXPECT_EQ(supersededIn(ends[0]), (Tags{10, 11}));
    EXPECT_EQ(desk.waiting(), 1u);
    EXPECT_EQ(desk.take()->number, 2u);
}

TEST(OrderDesk, WhatIsLeftOfAnOrderIsWrittenAndAllOfItReported)
{
    OrderDesk desk;
    desk.put(orderOf(1, {10, 11, 12}));
    desk.put(orderOf(2, {11}));
    EXPECT_TRUE(desk.takeEnds().empty());
    const auto first = desk.take();
    EXPECT_EQ(first->tags, (Tags{10, 12}));
    ASSERT_EQ(first->assignments.size(), 2u);
    EXPECT_EQ(first->assignments[1].tag.variable.address, 12);
    desk.finish(written(*first));
    const auto ends = desk.takeEnds();
    ASSERT_EQ(ends.size(), 1u);
    EXPECT_EQ(resultsOf(ends[0]), (Results{WriteResult::Verified, WriteResult::NotSent, WriteResult::Verified}));
    EXPECT_EQ(ends[0].heldTimes, (std::vector<Epoch>{10, 0, 12}));
    EXPECT_EQ(tagsOf(ends[0]), (Tags{10, 11, 12}));
    EXPECT_EQ(ends[0].reports[1].assignment.values, std::vector<quint32>{1});
    EXPECT_EQ(supersededIn(ends[0]), (Tags{11}));
}

/// Of the tag 10, so many words from the address on.
Order orderOfPart(quint64 number, int address, int count)
{
    Order order = orderOf(number, {10});
    order.assignments[0].tag.variable.address = address;
    order.assignments[0].tag.variable.count = count;
    return order;
}

TEST(OrderDesk, APartTakesThePlaceOfNothingButItself)
{
    OrderDesk desk;
    desk.put(orderOfPart(1, 100, 3)); // all of it
    desk.put(orderOfPart(2, 100, 1));
    desk.put(orderOfPart(3, 101, 1));
    EXPECT_EQ(desk.waiting(), 3u);
    desk.put(orderOfPart(4, 100, 1));
    EXPECT_EQ(desk.takeEnds().at(0).number, 2u);
    desk.put(orderOfPart(5, 100, 3));
    EXPECT_EQ(desk.takeEnds().size(), 3u);
    EXPECT_EQ(desk.take()->number, 5u);
    EXPECT_FALSE(desk.hasOrders());
}

TEST(OrderDesk, OneThatIsBeingWrittenGoesOn)
{
    OrderDesk desk;
    desk.put(orderOf(1, {10}));
    const auto first = desk.take();
    desk.put(orderOf(2, {10}));
    EXPECT_TRUE(desk.takeEnds().empty());
    desk.finish(written(*first));
    const auto ends = desk.takeEnds();
    ASSERT_EQ(ends.size(), 1u);
    EXPECT_EQ(resultsOf(ends[0]), Results{WriteResult::Verified});
    EXPECT_TRUE(supersededIn(ends[0]).empty());
    EXPECT_EQ(desk.take()->number, 2u);
}

TEST(OrderDesk, OneThatWaitsIsTakenBack)
{
    OrderDesk desk;
    desk.put(orderOf(1, {10, 11}));
    desk.put(orderOf(2, {11, 12}));
    EXPECT_TRUE(desk.withdraw(1));
    EXPECT_TRUE(isReadable(desk.endsDescriptor()));
    const auto ends = desk.takeEnds();
    ASSERT_EQ(ends.size(), 1u);
    EXPECT_EQ(ends[0].number, 1u);
    EXPECT_EQ(resultsOf(ends[0]), (Results{WriteResult::NotSent, WriteResult::NotSent}));
    EXPECT_EQ(supersededIn(ends[0]), Tags{11});
    EXPECT_FALSE(desk.withdraw(1)); // has ended
    EXPECT_FALSE(desk.withdraw(3)); // never was
    const auto order = desk.take();
    ASSERT_TRUE(order);
    EXPECT_EQ(order->number, 2u);
    EXPECT_FALSE(desk.withdraw(2)); // is under way
    EXPECT_TRUE(desk.takeEnds().empty());
    desk.finish(written(*order));
    EXPECT_EQ(desk.takeEnds().size(), 1u);
}

TEST(OrderDesk, AnEndWithTooFewReportsIsFilledUp)
{
    OrderDesk desk;
    desk.put(orderOf(1, {10, 11}));
    desk.take();
    OrderEnd end;
    end.number = 1;
    desk.finish(end);
    EXPECT_EQ(resultsOf(desk.takeEnds().at(0)), (Results{WriteResult::NotSent, WriteResult::NotSent}));
}

/// What the orders leave in the places, and what each end says, against a plain account of what was asked.
class Account
{
public:
    void put(const Order &order)
    {
        asked[order.number] = order.tags;
        for (std::size_t tag : order.tags)
            wanted[tag] = order.number;
    }
    void write(const Order &order)
    {
        for (std::size_t i = 0; i < order.tags.size(); ++i) {
            EXPECT_EQ(order.assignments[i].values[0], order.number);
            held[order.tags[i]] = order.number;
        }
    }
    void end(const OrderEnd &end)
    {
        EXPECT_TRUE(ended.insert(end.number).second) << "ended before";
        EXPECT_EQ(tagsOf(end), asked[end.number]);
        for (std::size_t i = 0; i < end.reports.size(); ++i)
            EXPECT_EQ(end.reports[i].result, end.superseded[i] ? WriteResult::NotSent : WriteResult::Verified);
    }

    std::map<quint64, Tags> asked;
    std::map<std::size_t, quint64> wanted, held;
    std::set<quint64> ended;
};

Tags randomTags(std::mt19937 &random)
{
    std::set<std::size_t> tags;
    for (unsigned i = random() % 4 + 1; i > 0; --i)
        tags.insert(random() % 8);
    return Tags(tags.begin(), tags.end());
}

TEST(OrderDesk, EachOrderEndsOnceAndEachPlaceHoldsTheNewestWhateverHappens)
{
    for (unsigned seed = 0; seed < 200; ++seed) {
        SCOPED_TRACE(seed);
        std::mt19937 random(seed);
        OrderDesk desk;
        Account account;
        quint64 number = 0;
        const auto writeOne = [&](bool isDisturbed) {
            const auto order = desk.take();
            if (isDisturbed) {
                const Order other = orderOf(++number, randomTags(random));
                account.put(other);
                desk.put(other);
            }
            account.write(*order);
            desk.finish(written(*order));
        };
        for (int i = 0; i < 100; ++i) {
            const Order order = orderOf(++number, randomTags(random));
            account.put(order);
            desk.put(order);
            if (random() % 2 && desk.hasOrders())
                writeOne(random() % 4 == 0);
            for (const OrderEnd &end : desk.takeEnds())
                account.end(end);
        }
        while (desk.hasOrders())
            writeOne(false);
        for (const OrderEnd &end : desk.takeEnds())
            account.end(end);
        EXPECT_EQ(account.ended.size(), number);
        EXPECT_EQ(account.held, account.wanted);
    }
}

TEST(OrderDeskBetweenThreads, EachOrderEndsOnce)
{
    const quint64 last = 5000;
    OrderDesk desk;
    std::thread line([&desk] {
        for (quint64 newest = 0; newest < last;)
            if (const auto order = desk.take()) {
                newest = order->number;
                desk.finish(written(*order));
            } else {
                std::this_thread::yield();
            }
    });
    Account account;
    std::mt19937 random(1);
    for (quint64 number = 1; number <= last; ++number) {
        const Order order = orderOf(number, randomTags(random));
        account.put(order);
        desk.put(order);
        for (const OrderEnd &end : desk.takeEnds())
            account.end(end);
    }
    while (account.ended.size() < last) {
        ASSERT_TRUE(isReadable(desk.endsDescriptor(), -1));
        for (const OrderEnd &end : desk.takeEnds())
            account.end(end);
    }
    line.join();
    EXPECT_EQ(desk.waiting(), 0u);
}

} // namespace
