// When values are due: dead band, least and longest time, in virtual time; beside a slow model.
#include "gateway/report.h"
#include "gateway_settings.h"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <random>

using namespace fgs;
using namespace std::chrono_literals;

namespace
{

GatewayTag ruled(GatewayTag tag, ReportRule rule)
{
    tag.report = rule;
    return tag;
}

GatewayTag word(ReportRule rule, Scaling scaling = Scaling())
{
    return ruled(gatewayTag("a", "5:1:s16", scaling), rule);
}

/// One tag.
class OneTag
{
public:
    explicit OneTag(const GatewayTag &tag) : tags{tag}, reporter(tags) {}

    /// Whether it is due after that value.
    bool isDueAfter(quint32 value, milliseconds steady) { return isDueAfter(goodSample(0, {value}), steady); }
    bool isDueAfter(const Sample &sample, milliseconds steady)
    {
        reporter.take({sample}, steady);
        return isDue(steady);
    }
    bool isDue(milliseconds steady) { return !reporter.takeDue(steady).empty(); }

private:
    const std::vector<GatewayTag> tags;

public:
    Reporter reporter;
};

TEST(Reporter, SendsTheFirstValueAndEachChange)
{
    OneTag tag(word({}));
    EXPECT_EQ(tag.reporter.nextDue(), milliseconds::max());
    EXPECT_FALSE(tag.isDue(0ms));
    EXPECT_TRUE(tag.isDueAfter(7, 1ms));
    EXPECT_FALSE(tag.isDueAfter(7, 2ms));
    EXPECT_TRUE(tag.isDueAfter(8, 3ms));
    EXPECT_TRUE(tag.isDueAfter(7, 3ms));
    EXPECT_FALSE(tag.isDue(1000h));
}

TEST(Reporter, GivesTheNewestSampleOnce)
{
    OneTag tag(word({}));
    tag.reporter.take({goodSample(0, {1}, 10)}, 1ms);
    tag.reporter.take({goodSample(0, {2}, 20)}, 2ms);
    const std::vector<const Sample *> due = tag.reporter.takeDue(3ms);
    ASSERT_EQ(due.size(), 1u);
    EXPECT_EQ(due[0]->values, std::vector<quint32>{2});
    EXPECT_EQ(due[0]->time, 20);
    EXPECT_EQ(tag.reporter.replaced(), 1u);
    EXPECT_TRUE(tag.reporter.takeDue(4ms).empty());
    EXPECT_EQ(tag.reporter.newest()[0].time, 20);
}

TEST(Reporter, KeepsTheNewTimeOfAValueThatIsTheSame)
{
    OneTag tag(word({}));
    tag.isDueAfter(goodSample(0, {1}, 10), 1ms);
    EXPECT_FALSE(tag.isDueAfter(goodSample(0, {1}, 20), 2ms));
    EXPECT_EQ(tag.reporter.newest()[0].time, 20);
    EXPECT_EQ(tag.reporter.replaced(), 0u);
}

TEST(Reporter, SendsChangesOfQualityAndItsReason)
{
    OneTag tag(word({1000, 0ms, 0ms}));
    EXPECT_TRUE(tag.isDueAfter(unknownSample(0), 1ms));
    EXPECT_FALSE(tag.isDueAfter(unknownSample(0), 2ms));
    EXPECT_TRUE(tag.isDueAfter(goodSample(0, {7}), 3ms));
    EXPECT_TRUE(tag.isDueAfter(staleSample(0, {7}), 4ms));
    Sample lost = staleSample(0, {7});
    lost.reason = failedReason(Outcome::LinkLost);
    EXPECT_TRUE(tag.isDueAfter(lost, 5ms));
    EXPECT_FALSE(tag.isDueAfter(lost, 6ms));
    EXPECT_TRUE(tag.isDueAfter(goodSample(0, {7}), 7ms));
}

TEST(Reporter, DoesNotTellThatNothingWasAskedYet)
{
    OneTag tag(word({}));
    Sample awaited;
    awaited.reason.kind = Reason::NotAskedYet;
    EXPECT_FALSE(tag.isDueAfter(awaited, 1ms));
    awaited.reason.kind = Reason::UnderWay;
    EXPECT_FALSE(tag.isDueAfter(awaited, 2ms));
    EXPECT_TRUE(tag.isDueAfter(1, 3ms));
}

// ---- dead band

TEST(Reporter, LooksForChangesBeyondTheDeadBandOfWhatWasSent)
{
    OneTag tag(word({2, 0ms, 0ms}));
    EXPECT_TRUE(tag.isDueAfter(10, 1ms));
    EXPECT_FALSE(tag.isDueAfter(12, 2ms)); // not larger than 2
    EXPECT_FALSE(tag.isDueAfter(8, 3ms));
    EXPECT_TRUE(tag.isDueAfter(13, 4ms)); // 3 from 10
    EXPECT_FALSE(tag.isDueAfter(15, 5ms));
    EXPECT_TRUE(tag.isDueAfter(10, 6ms));
}

TEST(Reporter, TakesTheDeadBandInEngineeringUnits)
{
    OneTag tag(word({0.3, 0ms, 0ms}, {0.1, 1e6}));
    EXPECT_TRUE(tag.isDueAfter(10, 1ms));
    for (const quint32 value : {7u, 13u, 8u, 12u}) // 0.3 in arithmetic is a little more or less
        EXPECT_FALSE(tag.isDueAfter(value, 2ms)) << value;
    EXPECT_TRUE(tag.isDueAfter(14, 3ms));
    OneTag negative(word({0.3, 0ms, 0ms}, {-0.1, 0}));
    EXPECT_TRUE(negative.isDueAfter(10, 1ms));
    EXPECT_FALSE(negative.isDueAfter(13, 2ms));
    EXPECT_TRUE(negative.isDueAfter(14, 3ms));
}

TEST(Reporter, LooksAtEachValueOfATag)
{
    OneTag tag(ruled(gatewayTag("a", "5:1x3:u16"), {5, 0ms, 0ms}));
    EXPECT_TRUE(tag.isDueAfter(goodSample(0, {10, 20, 30}), 1ms));
    EXPECT_FALSE(tag.isDueAfter(goodSample(0, {15, 25, 35}), 2ms));
    EXPECT_TRUE(tag.isDueAfter(goodSample(0, {10, 20, 36}), 3ms));
}

TEST(Reporter, HasNoDeadBandForBitsAndTexts)
{
    OneTag bit(ruled(gatewayTag("a", "2:5:bit"), {5, 0ms, 0ms}));
    EXPECT_TRUE(bit.isDueAfter(0, 1ms));
    EXPECT_TRUE(bit.isDueAfter(1, 2ms));
    OneTag text(ruled(gatewayTag("a", "5:1:text"), {5, 0ms, 0ms}));
    EXPECT_TRUE(text.isDueAfter(0x4141, 1ms));
    EXPECT_TRUE(text.isDueAfter(0x4142, 2ms));
}

TEST(Reporter, TakesWhatIsNoNumberForAnotherValueThanEachNumber)
{
    OneTag tag(ruled(gatewayTag("a", "10:4:f32"), {5, 0ms, 0ms}));
    const quint32 nan = bitsOfFloat(std::numeric_limits<float>::quiet_NaN()), otherNan = nan + 1;
    const quint32 infinite = bitsOfFloat(std::numeric_limits<float>::infinity());
    EXPECT_TRUE(tag.isDueAfter(bitsOfFloat(1), 1ms));
    EXPECT_TRUE(tag.isDueAfter(nan, 2ms));
    EXPECT_FALSE(tag.isDueAfter(otherNan, 3ms));
    EXPECT_TRUE(tag.isDueAfter(infinite, 4ms));
    EXPECT_FALSE(tag.isDueAfter(infinite, 5ms));
    EXPECT_TRUE(tag.isDueAfter(infinite | 0x80000000u, 6ms));
    EXPECT_TRUE(tag.isDueAfter(bitsOfFloat(1), 7ms));
}

// ---- least and longest time

TEST(Reporter, SendsWhatChangesMeanwhileAtTheEndOfTheLeastTime)
{
    OneTag tag(word({0, 100ms, 0ms}));
    EXPECT_TRUE(tag.isDueAfter(1, 10ms)); // the first at once
    EXPECT_FALSE(tag.isDueAfter(2, 20ms));
    EXPECT_FALSE(tag.isDueAfter(3, 50ms));
    EXPECT_EQ(tag.reporter.nextDue(), 110ms);
    EXPECT_FALSE(tag.isDue(109ms));
    EXPECT_TRUE(tag.isDue(110ms));
    EXPECT_EQ(tag.reporter.replaced(), 0u); // thinned as asked for
    EXPECT_TRUE(tag.isDueAfter(4, 300ms));
}

TEST(Reporter, SendsNothingAfterTheLeastTimeIfTheValueHasGoneBack)
{
    OneTag tag(word({0, 100ms, 0ms}));
    EXPECT_TRUE(tag.isDueAfter(1, 10ms));
    EXPECT_FALSE(tag.isDueAfter(2, 20ms));
    EXPECT_FALSE(tag.isDueAfter(1, 30ms));
    EXPECT_EQ(tag.reporter.nextDue(), milliseconds::max());
    EXPECT_FALSE(tag.isDue(1000ms));
}

TEST(Reporter, SendsAgainAfterTheLongestTimeWithoutAChange)
{
    OneTag tag(word({0, 0ms, 100ms}));
    EXPECT_FALSE(tag.isDue(5000ms)); // never told: nothing to repeat
    EXPECT_TRUE(tag.isDueAfter(1, 5010ms));
    EXPECT_EQ(tag.reporter.nextDue(), 5110ms);
    EXPECT_FALSE(tag.isDue(5109ms));
    EXPECT_TRUE(tag.isDue(5110ms));
    EXPECT_TRUE(tag.isDueAfter(2, 5150ms));
    EXPECT_FALSE(tag.isDue(5249ms)); // counts from the last one
    EXPECT_TRUE(tag.isDue(5250ms));
}

TEST(Reporter, KeepsTheLeastTimeIfTheLongestIsShorter)
{
    OneTag tag(word({0, 100ms, 50ms}));
    EXPECT_TRUE(tag.isDueAfter(1, 10ms));
    EXPECT_FALSE(tag.isDue(60ms));
    EXPECT_TRUE(tag.isDue(110ms));
}

TEST(Reporter, TellsOnlyWhatChangesOnceAllWasTold)
{
    const std::vector<GatewayTag> tags = {word({0, 0ms, 0ms}), word({0, 100ms, 0ms}), word({0, 0ms, 500ms})};
    Reporter reporter(tags);
    reporter.take({goodSample(0, {1}), goodSample(1, {1})}, 1ms);
    reporter.allSent(10ms);
    EXPECT_TRUE(reporter.takeDue(10ms).empty());
    reporter.take({goodSample(0, {2}), goodSample(1, {2})}, 20ms);
    EXPECT_EQ(reporter.takeDue(20ms).size(), 1u);
    EXPECT_EQ(reporter.nextDue(), 110ms);
    EXPECT_EQ(reporter.takeDue(110ms).size(), 1u);
    EXPECT_EQ(reporter.takeDue(510ms).size(), 1u); // told once, unknown as it is
}

TEST(Reporter, CountsTheTagsThatHaveValues)
{
    const std::vector<GatewayTag> tags(2, word({}));
    Reporter reporter(tags);
    EXPECT_EQ(reporter.known(), 0u);
    reporter.take({goodSample(0, {1}), goodSample(1, {1})}, 1ms);
    reporter.take({goodSample(0, {2})}, 2ms);
    EXPECT_EQ(reporter.known(), 2u);
    Sample lost;
    lost.tag = 1;
    reporter.take({lost}, 3ms);
    EXPECT_EQ(reporter.known(), 1u);
}

TEST(Reporter, GivesWhatIsDueByTheTimeOfItsReply)
{
    const std::vector<GatewayTag> tags(4, word({}));
    Reporter reporter(tags);
    reporter.take({goodSample(0, {1}, 30), goodSample(1, {1}, 10), goodSample(2, {1}, 30)}, 5ms);
    reporter.take({goodSample(3, {1}, 20)}, 6ms);
    std::vector<std::size_t> order;
    for (const Sample *sample : reporter.takeDue(6ms))
        order.push_back(sample->tag);
    EXPECT_EQ(order, (std::vector<std::size_t>{1, 3, 0, 2}));
}

/// A walk over all tags in each call would take hours here.
TEST(Reporter, LooksOnlyAtWhatIsDue)
{
    const std::vector<GatewayTag> tags(10000, word({0, 0ms, 1h}));
    Reporter reporter(tags);
    reporter.allSent(0ms);
    std::size_t sent = 0;
    for (int i = 1; i <= 3000000; ++i)
        sent += reporter.takeDue(milliseconds(i)).size() + (reporter.nextDue() == 1h ? 0 : 1);
    EXPECT_EQ(sent, 0u);
    EXPECT_EQ(reporter.takeDue(1h).size(), tags.size());
}

// ---- the model: what was told last, and the newest; asked afresh each time

class SlowModel
{
public:
    explicit SlowModel(const std::vector<GatewayTag> &theTags) : tags(theTags), states(tags.size()) {}

    void take(const Sample &sample, milliseconds steady)
    {
        State &state = states[sample.tag];
        const bool isSame = isKnownAlike(state.newest, sample) && state.newest.values == sample.values;
        replaced += isDue(sample.tag, steady) && !isSame;
        state.newest = sample;
    }
    std::vector<std::pair<Epoch, std::size_t>> takeDue(milliseconds steady)
    {
        std::vector<std::pair<Epoch, std::size_t>> due;
        for (std::size_t tag = 0; tag < tags.size(); ++tag)
            if (isDue(tag, steady)) {
                due.emplace_back(states[tag].newest.time, tag);
                send(tag, steady);
            }
        std::sort(due.begin(), due.end());
        return due;
    }
    void allSent(milliseconds steady)
    {
        for (std::size_t tag = 0; tag < tags.size(); ++tag)
            send(tag, steady);
    }

    quint64 replaced = 0;

private:
    struct State {
        Sample newest, told;
        bool wasTold = false;
        milliseconds when{0};
    };
    static bool isKnownAlike(const Sample &a, const Sample &b)
    {
        return a.quality == b.quality && a.reason.kind == b.reason.kind && a.reason.outcome == b.reason.outcome;
    }
    void send(std::size_t tag, milliseconds steady)
    {
        states[tag].told = states[tag].newest;
        states[tag].wasTold = true;
        states[tag].when = steady;
    }
    bool isDue(std::size_t tag, milliseconds steady) const
    {
        const State &state = states[tag];
        const ReportRule &rule = tags[tag].report;
        const milliseconds passed = steady - state.when;
        if (hasChanged(tag))
            return !state.wasTold || passed >= rule.least;
        return state.wasTold && rule.longest > 0ms && passed >= rule.longest && passed >= rule.least;
    }
    bool hasChanged(std::size_t tag) const
    {
        const Sample &a = states[tag].told, &b = states[tag].newest;
        if (!isKnownAlike(a, b) || a.values.size() != b.values.size())
            return true;
        for (std::size_t i = 0; i < a.values.size(); ++i)
            if (std::abs(double(a.values[i]) - double(b.values[i])) > tags[tag].report.deadBand)
                return true;
        return false;
    }

    const std::vector<GatewayTag> &tags;
    std::vector<State> states;
};

class ReporterModel : public ::testing::TestWithParam<unsigned>
{
protected:
    int below(int span) { return std::uniform_int_distribution<int>(0, span - 1)(random); }

    std::vector<GatewayTag> someTags()
    {
        std::vector<GatewayTag> some;
        for (int i = 0; i < 8; ++i)
            some.push_back(ruled(gatewayTag("a", below(2) ? "5:1:u16" : "5:1x2:u16"),
                                 {double(below(4)), milliseconds(10 * below(4)), milliseconds(20 * below(4))}));
        return some;
    }
    Sample someSample(const std::vector<GatewayTag> &tags)
    {
        const std::size_t tag = static_cast<std::size_t>(below(int(tags.size())));
        std::vector<quint32> values;
        for (int i = 0; i < tags[tag].tag.variable.count; ++i)
            values.push_back(quint32(below(6)));
        const int kind = below(8);
        return kind == 0   ? unknownSample(tag, below(50))
               : kind == 1 ? staleSample(tag, values, below(50))
                           : goodSample(tag, values, below(50));
    }

    std::mt19937 random{GetParam()};
};

TEST_P(ReporterModel, SaysTheSame)
{
    const std::vector<GatewayTag> tags = someTags();
    Reporter reporter(tags);
    SlowModel model(tags);
    milliseconds now(0);
    for (int i = 0; i < 3000; ++i) {
        now += milliseconds(below(8));
        for (int n = below(3); n > 0; --n) {
            const Sample sample = someSample(tags);
            reporter.take({sample}, now);
            model.take(sample, now);
        }
        if (below(200) == 0) {
            reporter.allSent(now);
            model.allSent(now);
        }
        if (below(3) == 0)
            continue;
        const bool isDue = reporter.nextDue() <= now;
        std::vector<std::pair<Epoch, std::size_t>> due;
        for (const Sample *sample : reporter.takeDue(now))
            due.emplace_back(sample->time, sample->tag);
        ASSERT_EQ(due, model.takeDue(now)) << "step " << i;
        ASSERT_EQ(isDue, !due.empty()) << "step " << i;
    }
    EXPECT_EQ(reporter.replaced(), model.replaced);
    EXPECT_GT(model.replaced, 0u);
}

INSTANTIATE_TEST_SUITE_P(Seeds, ReporterModel, ::testing::Range(1u, 21u));

} // namespace
