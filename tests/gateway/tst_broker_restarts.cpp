// A gateway with a spool while its broker is killed and started again and again: what was due arrives, what is
// current is told, and the memory stays as it is. TARN_RESTARTS=100 for more rounds than the ten of every run.
#include "gateway/network.h"
#include "gateway_settings.h"
#include "support/heap.h"
#include "support/mosquitto.h"
#include "support/mqtt_tap.h"
#include "support/mqtt_user.h"

#include <array>
#include <cstdio>
#include <ctime>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>
#include <random>

using namespace fgs;

namespace
{

const std::size_t Tags = 4;
const char *const Groups[] = {"oven", "press"};       // two tags each
const Epoch Start = std::time(nullptr) * Epoch(1000); // of the records, lest they are too old for the spool
const int MostPerRound = 200;                         ///< good values

int restarts()
{
    const char *const wanted = std::getenv("TARN_RESTARTS");
    return wanted ? std::max(std::atoi(wanted), 2) : 10;
}

std::size_t tagNamed(const QString &name)
{
    return std::size_t(name.mid(1).toInt());
}

std::string nameOf(std::size_t tag)
{
    return "t" + std::to_string(tag);
}

QJsonObject objectIn(const std::string &json)
{
    return QJsonDocument::fromJson(QByteArray::fromStdString(json)).object();
}

/// What the line read and the network has to tell: the values by their times, each of its own, and that they are
/// no longer good, with the same times.
class Ledger
{
public:
    explicit Ledger(int rounds)
    {
        for (auto &each : entries)
            each.resize(std::size_t(rounds * MostPerRound));
    }

    struct Entry {
        int order = 0; ///< of what was due; 0: it was not
        std::size_t tag = 0;
        quint32 value = 0;
        int live = 0, history = 0;
        bool isAcknowledged = false;
    };

    void due(const Sample &sample)
    {
        Entry &entry = entries[sample.quality == Quality::Stale].at(std::size_t(sample.time - Start));
        entry.order = ++count;
        entry.tag = sample.tag;
        entry.value = sample.values[0];
    }

    /// Null: nothing that was due. Of a message of one tag.
    Entry *find(const std::string &topic, const std::string &payload)
    {
        const QJsonObject message = objectIn(payload), values = message.value(QStringLiteral("values")).toObject();
        const qint64 time = qint64(message.value(QStringLiteral("timestamp")).toDouble()) - Start;
        const bool isStale = !message.value(QStringLiteral("errors")).toObject().isEmpty();
        if (values.size() != 1 || time < 0 || time >= qint64(entries[isStale].size()))
            return nullptr;
        Entry &entry = entries[isStale][std::size_t(time)];
        const auto value = values.begin();
        const bool isSame = entry.order > 0 && tagNamed(value.key()) == entry.tag &&
                            quint32(value.value().toInt(-1)) == entry.value &&
                            topic.find(std::string("plant/hall1/press7/") + Groups[entry.tag / 2]) == 0;
        return isSame ? &entry : nullptr;
    }

    template <typename Condition>
    int countOf(Condition isSo) const
    {
        int found = 0;
        for (const auto &each : entries)
            found += int(std::count_if(each.begin(), each.end(),
                                       [&](const Entry &entry) { return entry.order > 0 && isSo(entry); }));
        return found;
    }

private:
    std::array<std::vector<Entry>, 2> entries; ///< good ones and those that are not, by time
    int count = 0;
};

using Entry = Ledger::Entry;

/// Of this process, all of whose books are of a fixed size.
struct Memory {
    static Memory now()
    {
        std::ifstream statm("/proc/self/statm");
        long all = 0, pages = 0;
        statm >> all >> pages;
        return {pages * (::sysconf(_SC_PAGESIZE) / 1024), heap::inUse()};
    }

    long resident = 0;  ///< KiB
    long long heap = 0; ///< bytes
};

class BrokerRestartsTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        NEED_MOSQUITTO();
        broker.configuration += "max_inflight_messages 0\n"; // so that it holds back little when it is killed
        broker.start();
        tap = std::make_unique<MqttTap>(broker.port());
        reader = std::make_unique<MqttUser>(brokerSettings({broker.port()}, "reader"),
                                            std::vector<std::string>{"plant/#"});
        reader->stepUntilConnected();
        network = std::make_unique<Network>(
            settings(),
            Network::Wiring{mailbox, orders, [this](const std::string &) { ++linesTold; }, false, ShortPauses});
    }

    GatewaySettings settings() const
    {
        std::vector<GatewayTag> tags;
        for (std::size_t tag = 0; tag < Tags; ++tag)
            tags.push_back(gatewayTag(nameOf(tag), ("5:" + std::to_string(tag) + ":u16").c_str(), {}, tag / 2));
        GatewaySettings made = gatewaySettings({Groups[0], Groups[1]}, tags);
        made.broker = brokerSettings({tap->port()}, "fgs-gateway-press7");
        made.spool.emplace();
        made.spool->file = folder.path / "press7.spool";
        made.spool->historyPerSecond = 500;
        return made;
    }

    int below(int end) { return int(random() % unsigned(end)); }

    // The line.
    void readTag(std::size_t tag)
    {
        newest[tag] = goodSample(tag, {++value}, Start + time++);
        ledger.due(newest[tag]);
        mailbox.post(Snapshot{newest[tag]});
        network->step(milliseconds(0), -1);
        for (int pauses = below(4); pauses > 0; --pauses)
            network->step(milliseconds(1), -1);
    }
    void readSome(int most)
    {
        for (int left = below(most); left > 0; --left) {
            readTag(std::size_t(below(Tags)));
            if (below(4) == 0)
                reader->step(0);
        }
    }
    void loseLine()
    {
        std::array<Sample, Tags> byTime = newest;
        std::sort(byTime.begin(), byTime.end(), [](const Sample &a, const Sample &b) { return a.time < b.time; });
        for (const Sample &sample : byTime) {
            newest[sample.tag] = staleSample(sample.tag, sample.values, sample.time);
            ledger.due(newest[sample.tag]);
        }
        mailbox.post(Snapshot(newest.begin(), newest.end()));
        tellLine(false);
    }
    void findLine()
    {
        tellLine(true);
        for (std::size_t tag = 0; tag < Tags; ++tag)
            readTag(tag);
    }
    void tellLine(bool isUp)
    {
        LineState state;
        state.isUp = isLineUp = isUp;
        state.since = Start + time;
        state.error = isUp ? "" : "unplugged";
        state.stations[1] = isUp;
        mailbox.post(state);
    }

    // The broker.
    void killBroker()
    {
        const std::size_t before = reader->ends.size();
        broker.kill();
        reader->stepUntil([&] { return reader->ends.size() > before; });
    }
    /// The reader is there before the network may send.
    void startBroker()
    {
        broker.start();
        reader->stepUntilConnected();
    }
    template <typename Condition>
    void stepAll(MqttUser &other, Condition condition)
    {
        while (!condition()) {
            network->step(milliseconds(2), -1);
            reader->step(1);
            other.step(1);
        }
    }

    /// Whether somebody who comes now finds everything as it is.
    bool isCurrent(const MqttUser &newcomer) const
    {
        const QJsonObject status = objectIn(newcomer.newest("plant/hall1/press7/status"));
        const QString link = QLatin1String(isLineUp ? "up" : "down");
        if (status.value(QStringLiteral("state")).toString() != QStringLiteral("online") ||
            status.value(QStringLiteral("link")).toString() != link)
            return false;
        return std::all_of(newest.begin(), newest.end(),
                           [&](const Sample &sample) { return isTold(newcomer, sample); });
    }
    static bool isTold(const MqttUser &newcomer, const Sample &sample)
    {
        const QJsonObject state =
            objectIn(newcomer.newest(std::string("plant/hall1/press7/") + Groups[sample.tag / 2] + "/state"));
        const auto of = [&](const char *what) {
            return state.value(QLatin1String(what))
                .toObject()
                .value(QString::fromStdString(nameOf(sample.tag)))
                .toDouble(-1);
        };
        const bool hasError =
            state.value(QStringLiteral("errors")).toObject().contains(QString::fromStdString(nameOf(sample.tag)));
        return of("values") == sample.values[0] && of("times") == double(sample.time) &&
               hasError == (sample.quality == Quality::Stale);
    }

    /// Books what came since the last call; each topic in its order, since the broker was started.
    void book()
    {
        std::map<std::string, int> last;
        for (const Received &message : reader->received)
            if (!isAbout(message.topic, "/status") && !isAbout(message.topic, "/state"))
                book(message, last[message.topic]);
        for (const MqttTap::Message &message : tap->takeAcknowledged())
            if (Entry *entry = ledger.find(message.topic, message.payload))
                entry->isAcknowledged = true;
        reader->received.clear();
        reader->ends.clear();
    }
    void book(const Received &message, int &last)
    {
        Entry *entry = ledger.find(message.topic, message.payload);
        ASSERT_TRUE(entry) << "not due: " << message.topic << ' ' << message.payload;
        const bool isHistory = isAbout(message.topic, "/history");
        EXPECT_GT(entry->order, last) << "out of order: " << message.topic << ' ' << message.payload;
        EXPECT_TRUE(isHistory || entry->live == 0) << "live twice: " << message.payload;
        ++(isHistory ? entry->history : entry->live);
        last = entry->order;
    }
    static bool isAbout(const std::string &topic, const std::string &end)
    {
        return topic.size() > end.size() && topic.compare(topic.size() - end.size(), end.size(), end) == 0;
    }

    void settle()
    {
        while (network->figures().spoolBytes > 0) {
            network->step(milliseconds(5), -1);
            reader->step(0);
        }
    }

    /// The broker is killed while live values are under way, or history, or nothing is.
    void round()
    {
        if (below(2) == 0)
            settle();
        readSome(60);
        const bool losesLine = below(3) == 0;
        if (losesLine && below(2) == 0)
            loseLine();
        killBroker();
        book();
        if (isLineUp)
            readSome(40);
        if (isLineUp && losesLine)
            loseLine();
        startBroker();
        MqttUser newcomer(brokerSettings({broker.port()}, "newcomer"), {"plant/#"});
        stepAll(newcomer, [&] { return isCurrent(newcomer); });
        linesLost += !isLineUp;
        if (!isLineUp)
            findLine();
    }

    /// Everything has been told, and has arrived.
    void end()
    {
        settle();
        network->end(milliseconds(10000));
        reader->stepUntil([&] {
            const std::string status = reader->newest("plant/hall1/press7/status");
            return status.find("\"offline\"") != std::string::npos;
        });
        book();
    }

    void report(int warm, const Memory &before, const Memory &after)
    {
        const auto hasCome = [](const Entry &entry) { return entry.live + entry.history > 0; };
        figures.due = ledger.countOf([](const Entry &) { return true; });
        figures.live = ledger.countOf([](const Entry &entry) { return entry.live > 0; });
        figures.history = ledger.countOf([](const Entry &entry) { return !entry.live && entry.history; });
        figures.repeated = ledger.countOf([](const Entry &entry) { return entry.live + entry.history > 1; });
        figures.lost = ledger.countOf([&](const Entry &entry) { return !hasCome(entry) && !entry.isAcknowledged; });
        figures.lostByBroker =
            ledger.countOf([&](const Entry &entry) { return !hasCome(entry) && entry.isAcknowledged; });
        std::printf("restarts: %d, the line lost in: %d\n"
                    "records due: %d, received live: %d, only as history: %d, more than once: %d, lost: %d, "
                    "acknowledged by the broker and not delivered: %d\n"
                    "after restart %d: resident %ld KiB, heap %lld bytes; after the last: %ld, %lld\n",
                    rounds, linesLost, figures.due, figures.live, figures.history, figures.repeated, figures.lost,
                    figures.lostByBroker, warm, before.resident, before.heap, after.resident, after.heap);
    }

    const TemporaryFolder folder{memoryFolder()};
    const int rounds = restarts();
    std::mt19937 random{unsigned(rounds)};
    Mosquitto broker;
    std::unique_ptr<MqttTap> tap;
    std::unique_ptr<MqttUser> reader;
    Mailbox mailbox;
    OrderDesk orders;
    std::unique_ptr<Network> network;
    int linesTold = 0, linesLost = 0;
    struct {
        int due, live, history, repeated, lost, lostByBroker;
    } figures = {};

    Ledger ledger{rounds + 1};
    std::array<Sample, Tags> newest;
    Epoch time = 0;
    quint32 value = 0;
    bool isLineUp = false;
};

TEST_F(BrokerRestartsTest, LoseNothingThatTheSpoolPromised)
{
    findLine();
    const int warm = std::min(rounds / 2, 10);
    Memory before;
    for (int i = 0; i < rounds && !HasFailure(); ++i) {
        SCOPED_TRACE(i);
        round();
        if (i + 1 == warm)
            before = Memory::now();
    }
    const Memory after = Memory::now();
    end();
    report(warm, before, after);
    EXPECT_EQ(figures.lost, 0);
    EXPECT_EQ(figures.live + figures.history + figures.lostByBroker, figures.due);
    EXPECT_GT(figures.live, 0);
    EXPECT_GT(figures.history, 0) << "no kill has hit anything";
    EXPECT_EQ(network->figures().dropped, 0u);
    EXPECT_LT(after.heap - before.heap, 65536 + 2048 * (rounds - warm));
#if !TARN_SANITIZED
    EXPECT_LT(after.resident - before.resident, 4096);
#endif
}

} // namespace
