// The smallest, the largest, the mean and the newest of what has arrived, in virtual time.
#include "watch/poll_loop.h"
#include "watch/value_statistics.h"
#include "watch/watch_test.h"

#include <cmath>

using namespace fgs;

namespace
{

/// Gathers as a display does, from what the loop tells.
class Gatherer : public PollObserver
{
public:
    Gatherer(const std::vector<Tag> &theTags, const Link &theLink)
        : statistics(theTags.size()), tags(theTags), link(theLink)
    {
    }

    void updated(const std::vector<Reading> &readings, const std::vector<std::size_t> &which) override
    {
        for (std::size_t i : which)
            statistics[i].add(tags[i], Format::Unsigned, readings[i], link.now());
    }
    void happened(const LineEvent &) override {}

    std::vector<ValueStatistics> statistics;

private:
    const std::vector<Tag> tags;
    const Link &link;
};

class Polled : public WatchTest
{
protected:
    /// Before each request the controller is given `next(n)`, n from 0; no answer where it returns false.
    void poll(const char *text, int rounds, const std::function<bool(int)> &next)
    {
        const Tag tag = parseTag(QString::fromLatin1(text));
        variables = {tag.variable};
        host = std::make_unique<Host>(linkedDriver(), link, variables);
        link.onSend = [this, next](const QByteArray &request) {
            if (next(int(link.sent.size()) - 1))
                link.answer(request);
        };
        Gatherer gatherer({tag}, link);
        PollLoop(*host, link, variables, {Time(0), rounds}, gatherer).run();
        statistics = gatherer.statistics[0];
    }
    quint32 &word(int address) { return link.controller.at(1, areaOf(5)->code, address); }

    ValueStatistics statistics;
};

TEST_F(Polled, EveryAnswerCounts)
{
    const std::vector<quint32> held = {7, 65535, 3, 10};
    poll("5:100", 4, [&](int n) { return word(100) = held[std::size_t(n)], true; });
    const ValueStatistics::Value value = statistics.of(0);
    EXPECT_EQ(value.count, 4u);
    EXPECT_EQ(value.smallest, 3);
    EXPECT_EQ(value.largest, 65535);
    EXPECT_EQ(value.mean, (7 + 65535 + 3 + 10) / 4.0);
    EXPECT_EQ(statistics.newestOf(0), (std::vector<float>{7, 65535, 3, 10}));
}

/// The controller gets 1,000 where it stays silent, so that what is old cannot look like what is new.
TEST_F(Polled, OldValuesDoNotCountAgain)
{
    poll("5:100", 3, [&](int n) {
        const bool answers = n == 0 || n > 3; // the second round fails after three tries
        word(100) = n == 0 ? 4 : n > 3 ? 8 : 1000;
        return answers;
    });
    EXPECT_EQ(statistics.of(0).count, 2u);
    EXPECT_EQ(statistics.of(0).mean, 6);
}

/// 500 words take three requests a round: each value counts once a round.
TEST_F(Polled, AVariableOfSeveralRequestsCountsWhenAllOfItHasCome)
{
    poll("5:0x500", 3, [&](int n) { return word(0) = quint32(n), true; });
    const int requests = int(link.sent.size()) / 3;
    ASSERT_GT(requests, 1);
    EXPECT_EQ(statistics.of(0).count, 3u);
    EXPECT_EQ(statistics.of(499).count, 3u);
}

Reading reading(const std::vector<quint32> &elements, Time time)
{
    Reading made;
    made.quality = Quality::Good;
    made.time = time;
    made.values = elements;
    return made;
}

ValueStatistics of(const char *text, const std::vector<std::vector<quint32>> &readings)
{
    const Tag tag = parseTag(QString::fromLatin1(text));
    ValueStatistics statistics;
    Time now = 1s;
    for (const std::vector<quint32> &elements : readings) {
        statistics.add(tag, Format::Unsigned, reading(elements, now), now);
        now += 1s;
    }
    return statistics;
}

TEST(ValueStatistics, HaveTheTypeOfTheTag)
{
    EXPECT_EQ(of("5:0:s16", {{65535}, {3}}).of(0).smallest, -1);
    EXPECT_EQ(of("5:0:u32h", {{1, 0}, {0, 5}}).of(0).largest, 65536);
    EXPECT_EQ(of("5:0x2:f32", {{0, 0x4148, 0, 0xBF80}}).of(1).mean, -1);
    EXPECT_EQ(of("2:0x2", {{0, 1}, {1, 1}}).of(0).mean, 0.5);
}

TEST(ValueStatistics, LeaveOutWhatIsNoFiniteNumber)
{
    const quint32 nan = 0x7FC00000, infinite = 0x7F800000, two = 0x40000000;
    const ValueStatistics::Value value = of("10:0:f32", {{nan}, {two}, {infinite}}).of(0);
    EXPECT_EQ(value.count, 1u);
    EXPECT_EQ(value.mean, 2);
}

TEST(ValueStatistics, ATextHasNone)
{
    EXPECT_EQ(of("5:0x2:text", {{0x4142, 0x4344}}).of(0).count, 0u);
}

TEST(ValueStatistics, KeepTheNewest)
{
    std::vector<std::vector<quint32>> readings;
    std::vector<float> expected;
    for (quint32 i = 0; i < 40; ++i) {
        readings.push_back({i});
        if (i >= 40 - ValueStatistics::NewestKept)
            expected.push_back(float(i));
    }
    EXPECT_EQ(of("5:0", readings).newestOf(0), expected);
}

TEST(ValueStatistics, OneReadingCountsOnceHoweverOftenItIsSeen)
{
    const Tag tag = parseTag(QStringLiteral("5:0"));
    ValueStatistics statistics;
    for (Time now : {2s, 3s, 4s})
        statistics.add(tag, Format::Unsigned, reading({1}, 2s), now);
    EXPECT_EQ(statistics.of(0).count, 1u);
}

TEST(StatisticsTexts, AreWholeAndHaveAWidest)
{
    const auto type = [](const char *name) { return *typeNamed(QLatin1String(name)); };
    const auto fits = [](const ValueType &of, const QString &text) { return text.size() <= widestMean(of); };
    EXPECT_EQ(numberText(type("s16"), -32768).toStdString(), "-32768");
    EXPECT_EQ(numberText(type("u32"), 4294967295.0).toStdString(), "4294967295");
    EXPECT_EQ(numberText(type("x16"), 255).toStdString(), "0x00ff");
    EXPECT_EQ(numberText(type("f32"), 12.5).toStdString(), "12.5");
    EXPECT_EQ(meanText(type("u16"), 12.34).toStdString(), "12.3");
    EXPECT_EQ(meanText(type("bit"), 0.25).toStdString(), "0.250");
    EXPECT_EQ(meanText(type("s32"), -2147483648.0).size(), widestMean(type("s32")));
    EXPECT_EQ(meanText(type("u16"), 65535.0).size(), widestMean(type("u16")));
    for (const char *name : {"bit", "u16", "s16", "x16", "u32", "s32", "x32", "u32h"})
        EXPECT_TRUE(fits(type(name), numberText(type(name), type(name).size == AreaKind::Bit ? 1 : 30000))) << name;
    for (const double number : {-1.17549435e-38, 3.40282347e38, -123456.789, 1.0 / 3})
        EXPECT_TRUE(fits(type("f32"), meanText(type("f32"), number))) << number;
}

} // namespace
