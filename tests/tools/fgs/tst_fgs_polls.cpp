// fgs poll against a controller of the tests' own: values as they become known, silence where it is, links that go.
#include "on_links.h"
#include "rows.h"
#include "support/texts.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>

namespace
{

/// A poll of area 5 at 0, 300, 600 ...: six of them fit a request.
QString scattered(int count, const char *options)
{
    QString line = QStringLiteral("poll L ") + QLatin1String(options);
    for (int i = 0; i < count; ++i)
        line += QStringLiteral(" 5:%1").arg(i * 300);
    return line;
}

class Poll : public Program
{
public:
    Poll(const QString &line, const OwnController &controller)
        : Program(line.toLatin1().constData(), controller.link())
    {
    }

    Row row() { return rowOf(line()); }
    QJsonObject object() { return QJsonDocument::fromJson(line().toUtf8()).object(); }

    /// Takes messages until one is this or begins so. Fails if there is none.
    bool says(const char *message, bool whole = true)
    {
        for (QString next; !(next = this->message()).isEmpty();)
            if (whole ? next == QLatin1String(message) : next.startsWith(QLatin1String(message)))
                return true;
        return false;
    }
    /// Takes lines until the object of an event comes; an empty one if there is none.
    QJsonObject event(const char *name)
    {
        for (QJsonObject next; !(next = object()).isEmpty();)
            if (next.value(QStringLiteral("event")) == QLatin1String(name))
                return next;
        return {};
    }
    /// Takes lines until a variable has this content; false if there is none.
    bool shows(const char *place, const std::string &content)
    {
        for (QString next; !(next = line()).isEmpty();) {
            const Row row = rowOf(next);
            if (row.place == place && row.content == content)
                return true;
        }
        return false;
    }
    Result end()
    {
        interrupt();
        return wait();
    }
};

void expectEvent(const QJsonObject &event, const char *name, const QString &value)
{
    EXPECT_EQ(event.value(QLatin1String(name)).toVariant().toString().toStdString(), value.toStdString());
    EXPECT_TRUE(isWall(event.value(QStringLiteral("time")).toString()));
    EXPECT_TRUE(event.value(QStringLiteral("seconds")).isDouble());
}

std::string held(const OwnController &controller, int address)
{
    return std::to_string(controller.held(1, 5, address));
}

// ---- when values are shown

TEST(PolledValues, ComeBeforeTheNextRoundBegins)
{
    OwnController controller;
    Poll poll(scattered(12, "--interval 3600000"), controller);
    Texts places;
    for (int i = 0; i < 12; ++i)
        places.push_back(poll.row().place);
    EXPECT_EQ(controller.log().size(), 2u) << "the first round alone";
    EXPECT_EQ(poll.end().code, 130);
    std::sort(places.begin(), places.end());
    EXPECT_EQ(std::unique(places.begin(), places.end()), places.end());
}

TEST(PolledValues, DoNotWaitForOtherRequests)
{
    OwnController controller(
        [seen = 0](const Request &, const QByteArray &good) mutable { return ++seen > 1 ? Silence : Reply{good}; });
    Poll poll(scattered(12, "--timeout 3600000 --json"), controller);
    controller.waitForRequests(2);
    const Request first = controller.log()[0];
    for (int i = 0; i < 6; ++i) {
        SCOPED_TRACE(i);
        const QJsonObject object = poll.object();
        const int address = object.value(QStringLiteral("wireAddress")).toInt();
        EXPECT_TRUE(first.touches(5, address)) << address;
        EXPECT_EQ(valuesOf(object), held(controller, address));
        EXPECT_TRUE(object.value(QStringLiteral("seconds")).isDouble());
        EXPECT_EQ(object.value(QStringLiteral("quality")), QJsonValue(QStringLiteral("good")));
    }
    EXPECT_EQ(poll.end().code, 130);
}

TEST(PolledValues, HaveALineForEachChange)
{
    OwnController controller;
    controller.hold(1, 5, 100, 7);
    Poll poll(QStringLiteral("poll L 5:100 5:200"), controller);
    const Row first = poll.row();
    EXPECT_FALSE(first.seconds.empty());
    EXPECT_EQ(poll.row().place, "5:200@1");
    controller.hold(1, 5, 100, 8);
    const Row changed = poll.row();
    EXPECT_EQ(first.place + " " + first.content, "5:100@1 7");
    EXPECT_EQ(changed.place + " " + changed.content, "5:100@1 8");
    EXPECT_GE(changed.wall, first.wall);
    EXPECT_EQ(poll.end().code, 130);
}

TEST(PolledValues, TurnStaleWithTheReason)
{
    NEEDS_SERIAL_PORTS();
    OwnController controller(obey, OwnController::On::Pty);
    Poll poll(QStringLiteral("poll L 5:0 --timeout 600 --late 0"), controller);
    EXPECT_EQ(poll.row().content, held(controller, 0));
    controller.follow([](const Request &, const QByteArray &) { return Silence; });
    EXPECT_EQ(poll.row().content, held(controller, 0) + "  (stale: no reply)");
}

TEST(PolledValues, TurnStaleInJsonToo)
{
    OwnController controller;
    Poll poll(QStringLiteral("poll L 5:0x10 --timeout 600 --late 0 --json"), controller);
    const std::string values = valuesOf(poll.object());
    controller.follow([](const Request &, const QByteArray &good) { return Reply{good.left(4)}; });
    QJsonObject stale;
    do
        stale = poll.object();
    while (stale.contains(QStringLiteral("event")));
    EXPECT_EQ(valuesOf(stale), values);
    EXPECT_EQ(stale.value(QStringLiteral("quality")), QJsonValue(QStringLiteral("stale")));
    EXPECT_EQ(stale.value(QStringLiteral("reason")), QJsonValue(QStringLiteral("incomplete")));
    EXPECT_EQ(stale.value(QStringLiteral("received")), QJsonValue(4));
    EXPECT_EQ(stale.value(QStringLiteral("expected")), QJsonValue(27));
    EXPECT_TRUE(stale.value(QStringLiteral("ageMs")).isDouble());
}

// ---- addresses that the controller lacks

/// With silence that is a place's or a station's, and not the connection's.
class OnBothLinks : public OnLinks
{
};
ON_BOTH_LINKS(OnBothLinks);

const char Neighbours[] = "poll L 5:0 5:300 5:600 5:20000 5:900 10:5 --timeout 600 --late 0";

TEST_P(OnBothLinks, ASilentPlaceIsNamedLeftOutAndTakenBack)
{
    OwnController controller(silentAt(5, 20000, 20000), GetParam());
    Poll poll(QString::fromLatin1(Neighbours), controller);
    EXPECT_TRUE(poll.says("fgs: 5:20000@1 does not answer; its neighbours do; left out"));
    EXPECT_TRUE(poll.shows("5:20000@1", "-  5:20000@1 does not answer; its neighbours do"));
    controller.hold(1, 5, 900, 4711);
    EXPECT_TRUE(poll.shows("5:900@1", "4711")) << "neighbours are polled on";
    controller.follow(obey);
    EXPECT_TRUE(poll.says("fgs: 5:20000@1 answers again"));
    EXPECT_TRUE(poll.shows("5:20000@1", held(controller, 20000)));
    EXPECT_EQ(poll.end().code, 130);
}

TEST(SilentPlace, IsAnEventInJson)
{
    NEEDS_SERIAL_PORTS();
    OwnController controller(silentAt(5, 20000, 20000), OwnController::On::Pty);
    Poll poll(QString::fromLatin1(Neighbours) + QLatin1String(" --json"), controller);
    expectEvent(poll.event("placeSilent"), "place", QStringLiteral("5:20000@1"));
    controller.follow(obey);
    expectEvent(poll.event("placeBack"), "place", QStringLiteral("5:20000@1"));
}

/// How many requests touch the culprit between two that ask for a neighbour, from place to place of the log.
std::vector<int> probesByRound(const Log &log, size_t from)
{
    std::vector<int> probes;
    int count = 0;
    for (size_t i = from; i < log.size(); ++i) {
        count += log[i].touches(5, 20000);
        if (log[i].touches(5, 0)) {
            probes.push_back(count);
            count = 0;
        }
    }
    return probes;
}

TEST(SilentPlace, IsProbedOnceARoundAtMostAndLessAndLess)
{
    NEEDS_SERIAL_PORTS();
    OwnController controller(silentAt(5, 20000, 20000), OwnController::On::Pty);
    Poll poll(QString::fromLatin1(Neighbours) + QLatin1String(" --retries 0"), controller);
    ASSERT_TRUE(poll.says("fgs: 5:20000@1 does not answer; its neighbours do; left out"));
    const size_t from = controller.log().size();
    controller.waitForRequests(from + 200);
    const std::vector<int> probes = probesByRound(controller.log(), from);
    EXPECT_LE(*std::max_element(probes.begin(), probes.end()), 1);
    EXPECT_LT(std::count(probes.begin(), probes.end(), 1), int(probes.size()) / 4);
}

TEST_P(OnBothLinks, ASilentGapIsNamedAndNoLongerRead)
{
    OwnController controller(silentAt(5, 10, 19), GetParam());
    Poll poll(QStringLiteral("poll L 5:0x10 5:20x10 --timeout 600 --late 0"), controller);
    EXPECT_TRUE(poll.says("fgs: the gap 5:10x10@1 between variables does not answer; it is no longer read"));
    EXPECT_TRUE(controller.log()[0].touches(5, 10, 19)) << "read along at first";
    const size_t from = controller.log().size();
    controller.waitForRequests(from + 30);
    const Log log = controller.log();
    EXPECT_TRUE(std::none_of(log.begin() + long(from), log.end(),
                             [](const Request &request) { return request.touches(5, 10, 19); }));
    const Result result = poll.end();
    const QString end = result.lines().mid(result.lines().size() - 2).join(QLatin1Char('\n'));
    EXPECT_EQ(placesOf({0, end, {}}), (Texts{"5:0x10@1", "5:20x10@1"})) << "each is shown last with its values";
    EXPECT_FALSE(contains(end, QLatin1String("no reply")));
    EXPECT_FALSE(result.messages.contains(QLatin1String("does not answer; its neighbours do")));
}

TEST(SilentGap, IsAnEventInJson)
{
    NEEDS_SERIAL_PORTS();
    OwnController controller(silentAt(5, 10, 19), OwnController::On::Pty);
    Poll poll(QStringLiteral("poll L 5:0x10 5:20x10 --timeout 600 --late 0 --json"), controller);
    expectEvent(poll.event("gapSilent"), "place", QStringLiteral("5:10x10@1"));
}

// ---- stations that do not answer

Reply withoutStation2(const Request &request, const QByteArray &good)
{
    return request.station == 2 ? Silence : Reply{good};
}

const char TwoStations[] = "poll L 5:0 5:0@2 5:1000@2 5:2000@2 5:3000@2 --timeout 300 --late 0 --retries 0";

TEST_P(OnBothLinks, ASilentStationIsSaidToBeAndTakenBack)
{
    OwnController controller(withoutStation2, GetParam());
    Poll poll(QString::fromLatin1(TwoStations), controller);
    EXPECT_TRUE(poll.says("fgs: station 2 does not answer"));
    controller.hold(1, 5, 0, 4711);
    EXPECT_TRUE(poll.shows("5:0@1", "4711")) << "the other one is polled on";
    controller.follow(obey);
    EXPECT_TRUE(poll.says("fgs: station 2 answers again"));
    EXPECT_TRUE(poll.shows("5:2000@2", std::to_string(controller.held(2, 5, 2000))));
}

TEST(SilentStation, IsAnEventInJson)
{
    NEEDS_SERIAL_PORTS();
    OwnController controller(withoutStation2, OwnController::On::Pty);
    Poll poll(QString::fromLatin1(TwoStations) + QLatin1String(" --json"), controller);
    expectEvent(poll.event("stationDown"), "station", QStringLiteral("2"));
    controller.follow(obey);
    expectEvent(poll.event("stationUp"), "station", QStringLiteral("2"));
}

TEST(SilentStation, IsProbedWithAnotherVariableEachTime)
{
    NEEDS_SERIAL_PORTS();
    OwnController controller(withoutStation2, OwnController::On::Pty);
    Poll poll(QString::fromLatin1(TwoStations), controller);
    ASSERT_TRUE(poll.says("fgs: station 2 does not answer"));
    const size_t from = controller.log().size();
    // The newest in a row: where the other station is late too, the line is taken for dead and all is asked.
    const auto probes = [from](const Log &log) {
        std::vector<int> addresses;
        for (size_t i = from; i < log.size(); ++i)
            if (log[i].station == 2 && log[i].blocks.size() > 1)
                addresses.clear();
            else if (log[i].station == 2)
                addresses.push_back(log[i].blocks[0].address);
        return addresses;
    };
    controller.waitFor([&](const Log &log) { return probes(log).size() >= 3; });
    const std::vector<int> addresses = probes(controller.log());
    EXPECT_TRUE(std::adjacent_find(addresses.begin(), addresses.end()) == addresses.end())
        << ::testing::PrintToString(addresses);
}

// ---- the link goes

const char Three[] = "poll L 5:0 5:300 5:600";

TEST(LostLink, TurnsAllValuesStaleAtOnce)
{
    OwnController controller;
    Poll poll(QString::fromLatin1(Three), controller);
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(poll.row().content.find('-'), std::string::npos) << i;
    controller.shutDoor();
    EXPECT_TRUE(poll.says("fgs: link lost: ", false));
    for (int i = 0; i < 3; ++i) {
        SCOPED_TRACE(i);
        const Row row = poll.row();
        const std::string address = row.place.substr(2, row.place.find('@') - 2);
        EXPECT_EQ(row.content, held(controller, std::stoi(address)) + "  (stale: link lost)");
    }
    controller.openDoor();
    EXPECT_TRUE(poll.says("fgs: link open again"));
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(poll.row().content.find("stale"), std::string::npos) << i;
    EXPECT_EQ(poll.end().code, 130);
}

TEST(LostLink, SaysWhatHappensNext)
{
    OwnController controller;
    Poll poll(QString::fromLatin1(Three), controller);
    EXPECT_EQ(poll.row().place, "5:0@1");
    controller.shutDoor();
    QString message;
    do
        message = poll.message();
    while (!message.isEmpty() && !message.startsWith(QLatin1String("fgs: link lost: ")));
    EXPECT_TRUE(message.endsWith(QLatin1String(" (all values are stale; trying to open it again)")))
        << message.toStdString();
}

TEST(LostLink, IsAnEventInJson)
{
    OwnController controller;
    Poll poll(QString::fromLatin1(Three) + QLatin1String(" --json"), controller);
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(poll.object().value(QStringLiteral("quality")), QJsonValue(QStringLiteral("good"))) << i;
    controller.shutDoor();
    const QJsonObject lost = poll.event("lost");
    expectEvent(lost, "event", QStringLiteral("lost"));
    EXPECT_FALSE(lost.value(QStringLiteral("reason")).toString().isEmpty());
    for (int i = 0; i < 3; ++i) {
        SCOPED_TRACE(i);
        const QJsonObject stale = poll.object();
        EXPECT_EQ(stale.value(QStringLiteral("quality")), QJsonValue(QStringLiteral("stale")));
        EXPECT_EQ(stale.value(QStringLiteral("reason")), QJsonValue(QStringLiteral("linkLost")));
        EXPECT_EQ(valuesOf(stale), held(controller, stale.value(QStringLiteral("wireAddress")).toInt()));
    }
    controller.openDoor();
    expectEvent(poll.event("open"), "event", QStringLiteral("open"));
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(poll.object().value(QStringLiteral("quality")), QJsonValue(QStringLiteral("good"))) << i;
    const QJsonObject summary = poll.end().summary();
    EXPECT_EQ(summary.value(QStringLiteral("linkLost")), QJsonValue(1));
    EXPECT_TRUE(isWall(summary.value(QStringLiteral("start")).toString()));
    EXPECT_TRUE(isWall(summary.value(QStringLiteral("end")).toString()));
}

class EndsDown : public OnLinks
{
};
ON_BOTH_LINKS(EndsDown);

// The time is longer until the first value came in it.
TEST_P(EndsDown, IsNoSuccess)
{
    for (int seconds = 4;; seconds *= 2) {
        SCOPED_TRACE(seconds);
        OwnController controller(obey, GetParam());
        Poll poll(QStringLiteral("poll L 5:0 --json --for %1").arg(seconds), controller);
        if (!poll.object().contains(QStringLiteral("values")))
            continue;
        controller.shutDoor();
        const Result result = poll.wait();
        EXPECT_EQ(result.code, 3);
        EXPECT_EQ(textsOf(events(result), "event"), Texts{"lost"});
        EXPECT_EQ(textsOf(readings(result), "reason"), Texts{"linkLost"});
        EXPECT_EQ(result.summary().value(QStringLiteral("linkLost")), QJsonValue(1));
        return;
    }
}

TEST(SwallowingConnection, IsOpenedAnew)
{
    OwnController controller;
    Poll poll(QStringLiteral("poll L 5:0 5:0@2 --timeout 600 --late 0"), controller);
    EXPECT_EQ(poll.row().place, "5:0@1");
    controller.follow([](const Request &request, const QByteArray &good) {
        return request.connection == 1 ? Silence : Reply{good};
    });
    const size_t before = controller.log().size();
    controller.waitForConnections(2);
    const Log log = controller.log();
    EXPECT_GE(std::count_if(log.begin() + long(before), log.end(),
                            [](const Request &request) { return request.connection == 1; }),
              2)
        << "three, of which one may have been under way";
    controller.hold(1, 5, 0, 4711);
    EXPECT_TRUE(poll.shows("5:0@1", "4711"));
}

} // namespace
