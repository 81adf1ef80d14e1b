// What the line posts arrives: the newest of each tag always, in order, within bounds.
#include "gateway/mailbox.h"

#include <gtest/gtest.h>

#include <deque>
#include <map>
#include <poll.h>
#include <random>
#include <thread>

using namespace fgs;

namespace
{

Sample sampleOf(std::size_t tag, Epoch time)
{
    Sample sample;
    sample.tag = tag;
    sample.quality = Quality::Good;
    sample.time = time;
    sample.values = {quint32(time)};
    return sample;
}

bool isReadable(int descriptor, int wait = 0)
{
    pollfd entry = {descriptor, POLLIN, 0};
    return ::poll(&entry, 1, wait) == 1;
}

/// "3:70 4:71", tags and times.
std::string textOf(const Snapshot &snapshot)
{
    std::string text;
    for (const Sample &sample : snapshot)
        text += (text.empty() ? "" : " ") + std::to_string(sample.tag) + ":" + std::to_string(sample.time);
    return text;
}

std::vector<std::string> textsOf(const std::vector<Snapshot> &snapshots)
{
    std::vector<std::string> texts;
    for (const Snapshot &snapshot : snapshots)
        texts.push_back(textOf(snapshot));
    return texts;
}

using Texts = std::vector<std::string>;

TEST(Bell, CanBeWaitedForUntilItIsHushed)
{
    Bell bell;
    EXPECT_FALSE(isReadable(bell.descriptor()));
    bell.ring();
    bell.ring();
    EXPECT_TRUE(isReadable(bell.descriptor()));
    EXPECT_TRUE(isReadable(bell.descriptor()));
    bell.hush();
    EXPECT_FALSE(isReadable(bell.descriptor()));
    bell.hush();
    EXPECT_FALSE(isReadable(bell.descriptor()));
}

TEST(Bell, WakesAnotherThread)
{
    Bell bell;
    std::thread ringer([&bell] { bell.ring(); });
    EXPECT_TRUE(isReadable(bell.descriptor(), -1));
    ringer.join();
}

TEST(Mailbox, GivesWhatWasPostedInItsOrder)
{
    Mailbox mailbox;
    mailbox.post(Snapshot{sampleOf(1, 10), sampleOf(2, 10)});
    mailbox.post(Snapshot{sampleOf(1, 20)});
    EXPECT_EQ(textsOf(mailbox.takeSnapshots()), (Texts{"1:10 2:10", "1:20"}));
    EXPECT_TRUE(mailbox.takeSnapshots().empty());
    EXPECT_EQ(mailbox.dropped(), 0u);
}

TEST(Mailbox, AnEmptySnapshotIsNone)
{
    Mailbox mailbox;
    mailbox.post(Snapshot{});
    EXPECT_FALSE(isReadable(mailbox.descriptor()));
    EXPECT_TRUE(mailbox.takeSnapshots().empty());
}

TEST(Mailbox, ThinsTheOldestOfWhatIsReplaced)
{
    Mailbox mailbox(2);
    mailbox.post(Snapshot{sampleOf(1, 10), sampleOf(2, 10), sampleOf(5, 10)});
    mailbox.post(Snapshot{sampleOf(2, 20), sampleOf(3, 20)});
    mailbox.post(Snapshot{sampleOf(5, 30)});
    EXPECT_EQ(mailbox.dropped(), 2u);
    EXPECT_EQ(textsOf(mailbox.takeSnapshots()), (Texts{"1:10 2:20 3:20", "5:30"}));
}

TEST(Mailbox, NeverLosesTheNewestHoweverFewItHolds)
{
    for (std::size_t most : {0u, 1u}) {
        Mailbox mailbox(most);
        mailbox.post(Snapshot{sampleOf(1, 10), sampleOf(2, 10)});
        mailbox.post(Snapshot{sampleOf(1, 20)});
        mailbox.post(Snapshot{sampleOf(3, 30)});
        EXPECT_EQ(textsOf(mailbox.takeSnapshots()), (Texts{"1:20 2:10 3:30"})) << most;
    }
}

TEST(Mailbox, KeepsTheNewestState)
{
    Mailbox mailbox;
    EXPECT_FALSE(mailbox.state().isUp);
    LineState state;
    state.isUp = true;
    state.since = 5;
    mailbox.post(state);
    state.since = 6;
    mailbox.post(state);
    EXPECT_TRUE(isReadable(mailbox.descriptor()));
    EXPECT_TRUE(mailbox.state().isUp);
    EXPECT_EQ(mailbox.state().since, 6);
    mailbox.takeSnapshots();
    EXPECT_FALSE(isReadable(mailbox.descriptor()));
    EXPECT_EQ(mailbox.state().since, 6);
}

TEST(Mailbox, KeepsTheNewestEvents)
{
    Mailbox mailbox;
    for (int i = 0; i < 300; ++i)
        mailbox.post(LineEvent{LineEvent::StationDown, Time(0), i, {}, {}}, i);
    const auto events = mailbox.takeEvents();
    ASSERT_EQ(events.size(), 256u);
    EXPECT_EQ(events.front().event.station, 44);
    EXPECT_EQ(events.front().when, 44);
    EXPECT_EQ(events.back().when, 299);
    EXPECT_TRUE(mailbox.takeEvents().empty());
}

TEST(Mailbox, RingsUntilAllIsTaken)
{
    Mailbox mailbox;
    EXPECT_FALSE(isReadable(mailbox.descriptor()));
    mailbox.post(Snapshot{sampleOf(1, 10)});
    mailbox.post(LineEvent{LineEvent::LinkOpen, Time(0), 0, {}, {}}, 10);
    mailbox.takeSnapshots();
    EXPECT_TRUE(isReadable(mailbox.descriptor())) << "the event";
    mailbox.post(Snapshot{sampleOf(1, 20)});
    mailbox.takeEvents();
    EXPECT_TRUE(isReadable(mailbox.descriptor())) << "the snapshot";
    mailbox.takeSnapshots();
    EXPECT_FALSE(isReadable(mailbox.descriptor()));
}

/// The same mailbox, all by searching: a list of snapshots, each a map from tag to time.
class Model
{
public:
    explicit Model(std::size_t theMost) : most(theMost) {}

    void post(const Snapshot &snapshot)
    {
        snapshots.emplace_back();
        for (const Sample &sample : snapshot)
            snapshots.back()[sample.tag] = sample.time;
        if (snapshots.size() > most)
            thin();
    }
    Texts take()
    {
        Texts texts;
        for (const auto &snapshot : std::exchange(snapshots, {})) {
            texts.emplace_back();
            for (const auto &[tag, time] : snapshot)
                texts.back() +=
                    (texts.back().empty() ? "" : " ") + std::to_string(tag) + ":" + std::to_string(time);
        }
        return texts;
    }

    quint64 dropped = 0;

private:
    bool isBehind(std::size_t tag) const
    {
        for (const auto &snapshot : snapshots)
            if (snapshot.count(tag))
                return true;
        return false;
    }
    void thin()
    {
        const auto oldest = snapshots.front();
        snapshots.pop_front();
        for (const auto &[tag, time] : oldest)
            if (isBehind(tag))
                ++dropped;
            else
                snapshots.front()[tag] = time;
    }

    const std::size_t most;
    std::deque<std::map<std::size_t, Epoch>> snapshots;
};

Snapshot randomSnapshot(std::mt19937 &random, std::size_t tags, Epoch time)
{
    Snapshot snapshot;
    const unsigned share = random() % 4 + 1;
    for (std::size_t tag = 0; tag < tags; ++tag)
        if (random() % 8 < share)
            snapshot.push_back(sampleOf(tag, time));
    if (snapshot.empty())
        snapshot.push_back(sampleOf(random() % tags, time));
    return snapshot;
}

/// What a reader of all snapshots sees: for each tag the newest, and that its times never go back.
class Reader
{
public:
    void take(const std::vector<Snapshot> &snapshots)
    {
        for (const Snapshot &snapshot : snapshots)
            for (std::size_t i = 0; i < snapshot.size(); ++i) {
                isInOrder = isInOrder && (i == 0 || snapshot[i - 1].tag < snapshot[i].tag);
                see(snapshot[i]);
            }
    }

    std::map<std::size_t, Epoch> newest;
    quint64 samples = 0;
    bool isInOrder = true;

private:
    void see(const Sample &sample)
    {
        Epoch &before = newest.emplace(sample.tag, -1).first->second;
        isInOrder = isInOrder && before < sample.time;
        before = sample.time;
        ++samples;
    }
};

TEST(Mailbox, DoesAsAPlainModelWhateverIsPosted)
{
    for (unsigned seed = 0; seed < 300; ++seed) {
        SCOPED_TRACE(seed);
        std::mt19937 random(seed);
        const std::size_t most = random() % 6 + 1, tags = random() % 12 + 1;
        Mailbox mailbox(most);
        Model model(most);
        Reader reader;
        std::map<std::size_t, Epoch> posted;
        quint64 samples = 0;
        for (Epoch time = 1; time < 200; ++time) {
            const Snapshot snapshot = randomSnapshot(random, tags, time);
            samples += snapshot.size();
            for (const Sample &sample : snapshot)
                posted[sample.tag] = sample.time;
            mailbox.post(snapshot);
            model.post(snapshot);
            if (random() % 8 == 0 || time == 199) {
                const auto taken = mailbox.takeSnapshots();
                ASSERT_LE(taken.size(), most);
                ASSERT_EQ(textsOf(taken), model.take());
                reader.take(taken);
                ASSERT_EQ(reader.newest, posted);
            }
            ASSERT_EQ(mailbox.dropped(), model.dropped);
        }
        EXPECT_TRUE(reader.isInOrder);
        EXPECT_EQ(reader.samples + mailbox.dropped(), samples);
    }
}

/// Each thread posts and takes without a pause; what is counted on both sides is equal.
TEST(MailboxBetweenThreads, LosesNothingButWhatItCounts)
{
    const std::size_t tags = 20;
    const Epoch last = 20000;
    Mailbox mailbox(4);
    quint64 posted = 0;
    std::thread line([&mailbox, &posted] {
        std::mt19937 random(1);
        for (Epoch time = 1; time <= last; ++time) {
            Snapshot snapshot = randomSnapshot(random, tags, time);
            posted += snapshot.size();
            mailbox.post(std::move(snapshot));
            if (time % 16 == 0) {
                LineState state;
                state.isUp = true;
                state.since = time;
                state.stations[1] = true;
                mailbox.post(state);
                mailbox.post(LineEvent{LineEvent::LinkLost, Time(0), 0, {}, QStringLiteral("cut")}, time);
            }
        }
        Snapshot end;
        for (std::size_t tag = 0; tag < tags; ++tag)
            end.push_back(sampleOf(tag, last + 1));
        posted += end.size();
        mailbox.post(std::move(end));
    });
    Reader reader;
    Epoch stateSince = 0, eventWhen = 0;
    while (reader.newest[0] <= last) {
        ASSERT_TRUE(isReadable(mailbox.descriptor(), -1));
        reader.take(mailbox.takeSnapshots());
        for (const auto &event : mailbox.takeEvents()) {
            EXPECT_LT(eventWhen, event.when);
            EXPECT_EQ(event.event.text, QStringLiteral("cut"));
            eventWhen = event.when;
        }
        const Epoch since = mailbox.state().since;
        EXPECT_LE(stateSince, since);
        stateSince = since;
    }
    line.join();
    EXPECT_TRUE(reader.isInOrder);
    EXPECT_EQ(reader.samples + mailbox.dropped(), posted);
    EXPECT_EQ(stateSince, last);
    for (std::size_t tag = 0; tag < tags; ++tag)
        EXPECT_EQ(reader.newest[tag], last + 1) << tag;
}

} // namespace
