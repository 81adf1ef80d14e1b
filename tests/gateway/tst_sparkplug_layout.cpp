// The Sparkplug layout against the statements of the standard; sparkplug.md has the table.
#include "host/text_error.h"
#include "sparkplug_world.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <numeric>

using namespace sparkplug_world;
using nlohmann::json;

namespace
{

const char StateTopic[] = "spBv1.0/STATE/scada";

class SparkplugLayoutTest : public ::testing::Test
{
protected:
    /// Births of a first session.
    std::vector<Message> born()
    {
        layout->will(Start);
        return layout->births(picture, Start + 10);
    }
    /// The record is of station 1.
    Message dataOf(const Sample &sample)
    {
        const std::vector<Record> records = layout->records({&sample});
        EXPECT_EQ(records.size(), 1U);
        return records.empty() ? Message() : layout->live(records[0], Start + 20);
    }
    std::vector<Message> changed(Picture after)
    {
        const std::vector<Message> messages = layout->changes(picture, after, Start + 30);
        picture = after;
        return messages;
    }
    Picture withStations(bool first, bool second) const
    {
        Picture after = picture;
        after.line.stations = {{1, first}, {2, second}};
        return after;
    }
    void useHost() { layout = makeSparkplugLayout(settingsOf("scada")); }
    Incoming hostSays(const std::string &payload) { return layout->incoming({StateTopic, payload, false}); }
    Incoming hostSays(bool isOnline, Epoch time)
    {
        return hostSays(json({{"online", isOnline}, {"timestamp", time}}).dump());
    }
    json commanded(const std::string &topic, const std::string &payload)
    {
        const Incoming incoming = layout->incoming({topic, payload, false});
        EXPECT_EQ(incoming.kind, Incoming::Command);
        return json::parse(incoming.command);
    }
    json commandedOne(const std::string &metrics)
    {
        return commanded("spBv1.0/plant/DCMD/press7/station-1", written(metrics)).at("set");
    }

    std::unique_ptr<Layout> layout = makeSparkplugLayout(settingsOf());
    Picture picture = pictureOf();
};

std::vector<std::string> topicsOf(const std::vector<Message> &messages)
{
    std::vector<std::string> topics;
    for (const Message &message : messages)
        topics.push_back(message.topic);
    return topics;
}

std::uint64_t sessionOf(const Message &message)
{
    const SeenMetric metric = SeenPayload(message).metric("bdSeq");
    EXPECT_EQ(metric.type(), 4U); // Int64
    return metric.fields.number(11);
}

void expectQosZero(const Message &message)
{
    EXPECT_EQ(message.qos, 0) << message.topic;
    EXPECT_FALSE(message.isRetained) << message.topic;
}

using Topics = std::vector<std::string>;

} // namespace

// ---- the will

TEST_F(SparkplugLayoutTest, TheWillIsANodeDeathAtQosOneThatIsNotRetained)
{
    const Message will = layout->will(Start);
    EXPECT_EQ(will.topic, "spBv1.0/plant/NDEATH/press7");
    EXPECT_EQ(will.qos, 1);
    EXPECT_FALSE(will.isRetained);
}

TEST_F(SparkplugLayoutTest, ADeathHoldsTheSessionNumberAloneAndNoSequenceNumber)
{
    for (const Message &death : {layout->will(Start), layout->farewell(picture, Start).at(0)}) {
        const SeenPayload payload(death);
        EXPECT_EQ(payload.names(), Topics{"bdSeq"});
        EXPECT_FALSE(payload.fields.has(3));
    }
}

TEST_F(SparkplugLayoutTest, TheSessionNumberCountsConnectionsFromZeroAndWrapsBehind255)
{
    for (unsigned connection = 0; connection < 600; ++connection) {
        EXPECT_EQ(sessionOf(layout->will(Start)), connection % 256);
        EXPECT_EQ(sessionOf(layout->births(picture, Start).at(0)), connection % 256);
    }
}

TEST_F(SparkplugLayoutTest, ALayoutOfOtherSettingsGoesOnWithTheSessionNumbers)
{
    layout->will(Start);
    const std::unique_ptr<Layout> next = makeSparkplugLayout(settingsOf());
    next->resume(layout->sessions());
    EXPECT_EQ(sessionOf(next->will(Start)), 1U);
}

TEST_F(SparkplugLayoutTest, TheFarewellIsADeathOfTheSameSession)
{
    layout->will(Start);
    born();
    const std::vector<Message> messages = layout->farewell(picture, Start + 40);
    ASSERT_EQ(topicsOf(messages), Topics{"spBv1.0/plant/NDEATH/press7"});
    EXPECT_EQ(sessionOf(messages[0]), 1U);
    EXPECT_EQ(SeenPayload(messages[0]).time(), Start + 40U);
    EXPECT_FALSE(messages[0].isRetained);
}

// ---- births

TEST_F(SparkplugLayoutTest, TheNodeIsBornFirstThenEachDevice)
{
    picture = withStations(true, true);
    const std::vector<Message> messages = born();
    EXPECT_EQ(topicsOf(messages), (Topics{"spBv1.0/plant/NBIRTH/press7", "spBv1.0/plant/DBIRTH/press7/station-1",
                                          "spBv1.0/plant/DBIRTH/press7/station-2"}));
    for (const Message &message : messages)
        expectQosZero(message);
}

TEST_F(SparkplugLayoutTest, ADeviceThatHasNotAnsweredIsNotBorn)
{
    EXPECT_EQ(topicsOf(born()), (Topics{"spBv1.0/plant/NBIRTH/press7", "spBv1.0/plant/DBIRTH/press7/station-1"}));
    picture.line.isUp = false;
    EXPECT_EQ(topicsOf(born()), Topics{"spBv1.0/plant/NBIRTH/press7"});
}

TEST_F(SparkplugLayoutTest, TheNodeBirthHasNumberZeroAndItsTime)
{
    for (int session = 0; session < 2; ++session) {
        const SeenPayload birth(born().at(0));
        EXPECT_EQ(birth.seq(), 0U);
        EXPECT_EQ(birth.time(), Start + 10U);
        dataOf(picture.samples[Count]);
    }
}

TEST_F(SparkplugLayoutTest, TheNodeBirthOffersARebirth)
{
    const SeenMetric rebirth = SeenPayload(born().at(0)).metric("Node Control/Rebirth");
    EXPECT_EQ(rebirth.type(), 11U);
    EXPECT_EQ(rebirth.fields.number(14), 0U);
    EXPECT_FALSE(rebirth.fields.has(2)); // no alias
}

TEST_F(SparkplugLayoutTest, TheNodeBirthTellsOfTheLink)
{
    const SeenPayload up(born().at(0));
    EXPECT_EQ(up.metric("Link/Up").type(), 11U);
    EXPECT_EQ(up.metric("Link/Up").fields.number(14), 1U);
    EXPECT_TRUE(up.metric("Link/Error").isNull());
    picture.line.isUp = false;
    picture.line.error = "no such port";
    const SeenPayload down(born().at(0));
    EXPECT_EQ(down.metric("Link/Up").fields.number(14), 0U);
    EXPECT_EQ(down.metric("Link/Error").fields.text(15), "no such port");
}

TEST_F(SparkplugLayoutTest, EveryMetricOfABirthHasNameTypeTimeAndAValueOrNull)
{
    picture = withStations(true, true);
    picture.samples[Count] = unknownOf(Count);
    for (const Message &message : born())
        for (const SeenMetric &metric : SeenPayload(message).metrics) {
            EXPECT_NE(metric.name(), "");
            EXPECT_GT(metric.time(), 0U) << metric.name();
            EXPECT_TRUE(metric.type() >= 1 && metric.type() <= 14) << metric.name();
            std::size_t values = 0;
            for (std::uint64_t field = 10; field <= 16; ++field)
                values += metric.fields.all(field).size();
            EXPECT_EQ(values, metric.isNull() ? 0U : 1U) << metric.name();
        }
}

TEST_F(SparkplugLayoutTest, ADeviceBirthNamesEveryMetricOfItsStation)
{
    picture = withStations(true, true);
    const std::vector<Message> messages = born();
    EXPECT_EQ(SeenPayload(messages.at(1)).names(),
              (Topics{"oven_temp", "oven_on", "count", "level", "pieces", "position", "speed", "recipe", "trend/0",
                      "trend/1", "trend/2"}));
    EXPECT_EQ(SeenPayload(messages.at(2)).names(), (Topics{"pump", "flow"}));
}

TEST_F(SparkplugLayoutTest, MetricsHaveTheTypesAndValuesOfTheirTags)
{
    const SeenPayload birth(born().at(1));
    const auto typed = [&birth](const char *name, std::uint64_t type) {
        EXPECT_EQ(birth.metric(name).type(), type) << name;
        return birth.metric(name).fields;
    };
    EXPECT_EQ(typed("oven_temp", 10).asDouble(13), 180.5);
    EXPECT_EQ(typed("oven_on", 11).number(14), 1U);
    EXPECT_EQ(typed("count", 6).number(10), 65535U);
    EXPECT_EQ(typed("level", 3).number(10), 0xFFFFFFFBU); // -5
    EXPECT_EQ(typed("pieces", 4).number(11), 0xFFFFFFFFU);
    EXPECT_EQ(typed("position", 3).number(10), 0xFFFFFFFEU); // -2
    EXPECT_EQ(typed("speed", 9).asFloat(12), 12.5F);
    EXPECT_EQ(typed("recipe", 12).text(15), "ABC");
    EXPECT_EQ(typed("trend/2", 6).number(10), 3U);
}

TEST_F(SparkplugLayoutTest, BirthsTellEachQuality)
{
    picture.samples[Count] = staleOf(Count, {1});
    picture.samples[Level] = unknownOf(Level);
    picture.samples[Speed] = sampleOf(Speed, {0, 0x7FC0}); // no number
    const SeenPayload birth(born().at(1));
    EXPECT_EQ(birth.metric("oven_temp").quality(), 192U);
    EXPECT_EQ(birth.metric("count").quality(), 500U);
    EXPECT_EQ(birth.metric("count").fields.number(10), 1U);
    EXPECT_EQ(birth.metric("level").quality(), 0U);
    EXPECT_TRUE(birth.metric("level").isNull());
    EXPECT_EQ(birth.metric("speed").quality(), 0U);
    EXPECT_TRUE(birth.metric("speed").isNull());
}

TEST_F(SparkplugLayoutTest, ARebirthIsOfTheSameSessionAndStartsTheNumbersAnew)
{
    layout->will(Start);
    born();
    dataOf(picture.samples[Count]);
    const std::vector<Message> again = layout->births(picture, Start + 50);
    ASSERT_EQ(again.size(), 2U);
    EXPECT_EQ(sessionOf(again[0]), 1U);
    EXPECT_EQ(SeenPayload(again[0]).seq(), 0U);
    EXPECT_EQ(SeenPayload(again[1]).seq(), 1U);
}

// ---- data

TEST_F(SparkplugLayoutTest, EveryMessageHasTheNextNumberModulo256)
{
    picture = withStations(true, true);
    std::vector<Message> messages = born();
    for (int i = 0; i < 300; ++i) {
        messages.push_back(dataOf(picture.samples[Count]));
        for (bool isThere : {false, true})
            for (const Message &message : changed(withStations(isThere, true)))
                messages.push_back(message);
    }
    picture.line.isUp = false;
    for (const Message &message : layout->changes(picture, picture, Start))
        messages.push_back(message);
    ASSERT_EQ(messages.size(), 3U + 3 * 300 + 3);
    for (std::size_t i = 0; i < messages.size(); ++i) {
        ASSERT_EQ(SeenPayload(messages[i]).seq(), i % 256) << messages[i].topic;
        expectQosZero(messages[i]);
    }
}

TEST_F(SparkplugLayoutTest, DeviceDataHasItsTopicTimesAndOnlyWhatChanged)
{
    born();
    const Message message = dataOf(sampleOf(Count, {7}, Start + 15));
    EXPECT_EQ(message.topic, "spBv1.0/plant/DDATA/press7/station-1");
    expectQosZero(message);
    const SeenPayload data(message);
    EXPECT_EQ(data.time(), Start + 20U);
    ASSERT_EQ(data.names(), Topics{"count"});
    EXPECT_EQ(data.metrics[0].time(), Start + 15U);
    EXPECT_EQ(data.metrics[0].fields.number(10), 7U);
    EXPECT_FALSE(data.metrics[0].fields.has(4)); // the birth has told the type
    EXPECT_FALSE(data.metrics[0].fields.has(5)); // not historical
}

TEST_F(SparkplugLayoutTest, NodeDataTellsOnlyOfALinkThatChanged)
{
    born();
    EXPECT_TRUE(changed(picture).empty());
    Picture lost = picture;
    lost.line.isUp = false;
    lost.line.error = "cable";
    lost.line.since = Start + 25;
    const std::vector<Message> messages = changed(lost);
    ASSERT_EQ(topicsOf(messages), (Topics{"spBv1.0/plant/DDEATH/press7/station-1", "spBv1.0/plant/NDATA/press7"}));
    expectQosZero(messages[1]);
    const SeenPayload data(messages[1]);
    EXPECT_EQ(data.names(), (Topics{"Link/Up", "Link/Error"}));
    EXPECT_EQ(data.time(), Start + 30U);
    EXPECT_EQ(data.metric("Link/Up").time(), Start + 25U);
    EXPECT_EQ(data.metric("Link/Up").fields.number(14), 0U);
    EXPECT_EQ(data.metric("Link/Error").fields.text(15), "cable");
    EXPECT_FALSE(data.metrics[0].fields.has(4));
    EXPECT_TRUE(changed(lost).empty());
}

TEST_F(SparkplugLayoutTest, QualityIsToldWhileItIsNotGoodAndOnceItIsAgain)
{
    born();
    const auto quality = [this](const Sample &sample) {
        const SeenMetric metric = SeenPayload(dataOf(sample)).metrics.at(0);
        return metric.hasQuality() ? int(metric.quality()) : -1;
    };
    EXPECT_EQ(quality(sampleOf(Count, {1})), -1);
    EXPECT_EQ(quality(staleOf(Count, {1})), 500);
    EXPECT_EQ(quality(staleOf(Count, {1})), 500);
    EXPECT_EQ(quality(sampleOf(Count, {1})), 192);
    EXPECT_EQ(quality(sampleOf(Count, {2})), -1);
    EXPECT_EQ(quality(unknownOf(Count)), 0);
    born(); // tells that it is good
    EXPECT_EQ(quality(sampleOf(Count, {2})), -1);
}

TEST_F(SparkplugLayoutTest, RecordsAreOfOneStationAndTimeAndInTheirOrder)
{
    picture = withStations(true, true);
    born();
    const std::vector<Sample> samples = {sampleOf(Count, {1}, Start + 3), sampleOf(On, {1}, Start + 2),
                                         sampleOf(Pump, {1}, Start + 2), sampleOf(Level, {1}, Start + 2)};
    const std::vector<Record> records = layout->records({&samples[0], &samples[1], &samples[2], &samples[3]});
    ASSERT_EQ(records.size(), 3U);
    EXPECT_EQ(records[0].key, "station-1");
    EXPECT_EQ(records[0].time, Start + 2);
    EXPECT_EQ(SeenPayload(layout->live(records[0], Start)).names(), (Topics{"oven_on", "level"}));
    EXPECT_EQ(records[1].key, "station-2");
    EXPECT_EQ(records[2].time, Start + 3);
    EXPECT_EQ(layout->live(records[1], Start).topic, "spBv1.0/plant/DDATA/press7/station-2");
}

// ---- devices come and go

TEST_F(SparkplugLayoutTest, ADeviceThatIsLostDiesAndIsBornAgain)
{
    born();
    const std::vector<Message> lost = changed(withStations(false, false));
    ASSERT_EQ(topicsOf(lost), Topics{"spBv1.0/plant/DDEATH/press7/station-1"});
    expectQosZero(lost[0]);
    EXPECT_EQ(SeenPayload(lost[0]).time(), Start + 30U);
    EXPECT_EQ(SeenPayload(lost[0]).seq(), 2U);
    EXPECT_TRUE(SeenPayload(lost[0]).metrics.empty());
    const std::vector<Message> back = changed(withStations(true, true));
    ASSERT_EQ(topicsOf(back),
              (Topics{"spBv1.0/plant/DBIRTH/press7/station-1", "spBv1.0/plant/DBIRTH/press7/station-2"}));
    EXPECT_EQ(SeenPayload(back[0]).metrics.size(), 11U);
    EXPECT_EQ(SeenPayload(back[0]).seq(), 3U);
    EXPECT_EQ(SeenPayload(back[0]).time(), Start + 30U);
}

TEST_F(SparkplugLayoutTest, NothingIsToldOfADeviceThatIsNotBorn)
{
    born();
    const Sample pump = sampleOf(Pump, {1});
    EXPECT_TRUE(layout->records({&pump}).empty());
    EXPECT_FALSE(layout->canTell("station-2"));
    changed(withStations(true, true));
    EXPECT_EQ(layout->records({&pump}).size(), 1U);
    EXPECT_TRUE(layout->canTell("station-2"));
}

TEST_F(SparkplugLayoutTest, NothingChangesBeforeTheBirths)
{
    layout->will(Start);
    EXPECT_TRUE(changed(withStations(false, true)).empty());
    born();
    layout->will(Start);
    EXPECT_TRUE(changed(withStations(true, true)).empty());
}

// ---- history

TEST_F(SparkplugLayoutTest, WhatIsKeptIsToldAsHistoryByTheNextProcess)
{
    layout->will(Start);
    const Sample count = sampleOf(Count, {7}, Start - 1000);
    const std::vector<Record> records = layout->records({&count});
    ASSERT_EQ(records.size(), 1U);
    layout = makeSparkplugLayout(settingsOf());
    EXPECT_FALSE(layout->history(records[0], Start));
    born();
    const std::optional<Message> message = layout->history(records[0], Start + 60);
    ASSERT_TRUE(message);
    EXPECT_EQ(message->topic, "spBv1.0/plant/DDATA/press7/station-1");
    expectQosZero(*message);
    const SeenPayload data(*message);
    EXPECT_EQ(data.seq(), 2U);
    ASSERT_EQ(data.names(), Topics{"count"});
    EXPECT_EQ(data.metrics[0].fields.number(5), 1U);
    EXPECT_EQ(data.metrics[0].time(), Start - 1000U);
    EXPECT_EQ(data.metrics[0].fields.number(10), 7U);
    EXPECT_EQ(data.metrics[0].quality(), 192U);
}

TEST_F(SparkplugLayoutTest, HistoryOfOtherSettingsOrOfDamageIsNone)
{
    layout->will(Start);
    const Sample count = sampleOf(Count, {7});
    Record record = layout->records({&count}).at(0);
    GatewaySettings others = settingsOf();
    others.tags[Count] = tagOf("count", "5:200@1:u16", 0.5);
    layout = makeSparkplugLayout(others);
    born();
    EXPECT_FALSE(layout->history(record, Start));
    record.content = "\x12\xFF";
    EXPECT_FALSE(layout->history(record, Start));
    record.key = "station-9";
    EXPECT_TRUE(layout->canTell(record.key)); // it need not wait
    EXPECT_FALSE(layout->history(record, Start));
}

// ---- the primary host

TEST_F(SparkplugLayoutTest, NothingIsBornBeforeThePrimaryHostIsOnline)
{
    EXPECT_FALSE(layout->awaitsHost());
    useHost();
    layout->will(Start);
    EXPECT_TRUE(layout->awaitsHost());
    EXPECT_TRUE(layout->births(picture, Start).empty());
    const Incoming incoming = hostSays(true, Start);
    EXPECT_EQ(incoming.kind, Incoming::HostState);
    EXPECT_TRUE(incoming.isHostOnline);
    EXPECT_FALSE(layout->awaitsHost());
    EXPECT_EQ(layout->births(picture, Start).size(), 2U);
}

TEST_F(SparkplugLayoutTest, OnlyTheStateOfThePrimaryHostCounts)
{
    useHost();
    for (const char *topic : {"spBv1.0/STATE/other", "spBv1.0/STATE/scada/x", "STATE/scada", "spBv1.0/STATE/"})
        EXPECT_EQ(layout->incoming({topic, R"({"online":true,"timestamp":5})", false}).kind, Incoming::Nothing);
    EXPECT_TRUE(layout->awaitsHost());
}

TEST_F(SparkplugLayoutTest, AStateThatIsNoneChangesNothing)
{
    useHost();
    for (const char *payload : {"", "ONLINE", "true", "[]", "{", R"({"online":true})", R"({"timestamp":5})",
                                R"({"online":"true","timestamp":5})", R"({"online":true,"timestamp":"5"})",
                                R"({"online":1,"timestamp":5})"})
        EXPECT_EQ(hostSays(payload).kind, Incoming::Nothing) << payload;
    EXPECT_EQ(hostSays(std::string(20000, ' ') + R"({"online":true,"timestamp":5})").kind, Incoming::Nothing);
    EXPECT_TRUE(layout->awaitsHost());
}

TEST_F(SparkplugLayoutTest, AnOnlineStateThatIsOlderThanTheLastIsIgnored)
{
    useHost();
    EXPECT_EQ(hostSays(false, 100).kind, Incoming::HostState);
    EXPECT_EQ(hostSays(true, 99).kind, Incoming::OldHostState);
    EXPECT_TRUE(layout->awaitsHost());
    EXPECT_EQ(hostSays(true, 100).kind, Incoming::HostState);
    EXPECT_FALSE(layout->awaitsHost());
}

TEST_F(SparkplugLayoutTest, AnOfflineStateThatIsOlderThanTheLastOnlineIsIgnored)
{
    useHost();
    hostSays(true, 100);
    EXPECT_EQ(hostSays(false, 99).kind, Incoming::OldHostState);
    EXPECT_FALSE(layout->awaitsHost());
    const Incoming offline = hostSays(false, 100);
    EXPECT_EQ(offline.kind, Incoming::HostState);
    EXPECT_FALSE(offline.isHostOnline);
    EXPECT_TRUE(layout->awaitsHost());
}

TEST_F(SparkplugLayoutTest, AHostThatGoesOfflineEndsTheSession)
{
    useHost();
    layout->will(Start);
    hostSays(true, 100);
    EXPECT_EQ(layout->births(picture, Start).size(), 2U);
    hostSays(false, 200);
    EXPECT_TRUE(changed(withStations(false, true)).empty());
    EXPECT_TRUE(layout->births(picture, Start).empty());
    EXPECT_FALSE(layout->canTell("station-1"));
    EXPECT_EQ(sessionOf(layout->farewell(picture, Start).at(0)), 0U);
    EXPECT_EQ(sessionOf(layout->will(Start)), 1U);
}

TEST_F(SparkplugLayoutTest, TheHostHasToTellAgainOnEachConnection)
{
    useHost();
    layout->will(Start);
    hostSays(true, 100);
    layout->will(Start);
    EXPECT_TRUE(layout->awaitsHost());
    EXPECT_EQ(hostSays(true, 100).kind, Incoming::HostState);
    EXPECT_FALSE(layout->awaitsHost());
}

TEST_F(SparkplugLayoutTest, WhatAnotherBrokerToldBeforeMakesNoStateOld)
{
    useHost();
    layout->will(Start);
    hostSays(true, 200);
    layout->will(Start);
    EXPECT_EQ(hostSays(false, 100).kind, Incoming::HostState);
    EXPECT_TRUE(layout->awaitsHost());
    layout->will(Start);
    EXPECT_EQ(hostSays(true, 50).kind, Incoming::HostState);
    EXPECT_FALSE(layout->awaitsHost());
}

// ---- commands

TEST_F(SparkplugLayoutTest, SubscribesToCommandsAndToThePrimaryHost)
{
    const Topics commands = {"spBv1.0/plant/NCMD/press7", "spBv1.0/plant/DCMD/press7/station-1",
                             "spBv1.0/plant/DCMD/press7/station-2"};
    EXPECT_EQ(layout->subscriptions(), commands);
    useHost();
    Topics all = commands;
    all.push_back(StateTopic);
    EXPECT_EQ(layout->subscriptions(), all);
}

TEST_F(SparkplugLayoutTest, ARebirthIsAskedForByACommandToTheNode)
{
    const std::string asked =
        written(metric("Node Control/Rebirth", protobuf::number(4, 11) + protobuf::number(14, 1)));
    const std::string notAsked = written(metric("Node Control/Rebirth", protobuf::number(14, 0)));
    EXPECT_EQ(layout->incoming({"spBv1.0/plant/NCMD/press7", asked, false}).kind, Incoming::Rebirth);
    EXPECT_EQ(layout->incoming({"spBv1.0/plant/NCMD/press7", notAsked, false}).kind, Incoming::Command);
    EXPECT_EQ(layout->incoming({"spBv1.0/plant/DCMD/press7/station-1", asked, false}).kind, Incoming::Command);
    EXPECT_EQ(layout->incoming({"spBv1.0/plant/NCMD/press8", asked, false}).kind, Incoming::Nothing);
}

TEST_F(SparkplugLayoutTest, ARetainedRebirthIsLeftToThoseWhoRefuseRetainedCommands)
{
    const std::string asked = written(metric("Node Control/Rebirth", protobuf::number(14, 1)));
    EXPECT_EQ(layout->incoming({"spBv1.0/plant/NCMD/press7", asked, true}).kind, Incoming::Command);
}

TEST_F(SparkplugLayoutTest, AWriteIsACommandWithItsTimeAndName)
{
    const json command = commanded("spBv1.0/plant/DCMD/press7/station-1",
                                   written(metric("count", protobuf::number(10, 5)), Start + 70));
    EXPECT_EQ(command.at("ts"), Start + 70);
    EXPECT_EQ(command.at("set"), json({{"count", 5}}));
    EXPECT_EQ(command.at("id").get<std::string>().rfind("1700000000070-", 0), 0U);
}

TEST_F(SparkplugLayoutTest, ARepeatedCommandHasTheSameNameAndAnyOtherHasNot)
{
    const auto idOf = [this](const char *device, std::uint64_t value, Epoch time) {
        return commanded(std::string("spBv1.0/plant/DCMD/press7/") + device,
                         written(metric("count", protobuf::number(10, value)), time))
            .at("id");
    };
    EXPECT_EQ(idOf("station-1", 5, Start), idOf("station-1", 5, Start));
    EXPECT_NE(idOf("station-1", 5, Start), idOf("station-1", 6, Start));
    EXPECT_NE(idOf("station-1", 5, Start), idOf("station-1", 5, Start + 1));
    EXPECT_NE(idOf("station-1", 5, Start), idOf("station-2", 5, Start));
}

TEST_F(SparkplugLayoutTest, ACommandWithoutATimeHasNoName)
{
    const json command = commanded("spBv1.0/plant/DCMD/press7/station-1", metric("count", protobuf::number(10, 5)));
    EXPECT_FALSE(command.contains("id"));
    EXPECT_FALSE(command.contains("ts"));
    EXPECT_EQ(command.at("set"), json({{"count", 5}}));
}

TEST_F(SparkplugLayoutTest, WrittenValuesAreNumbersBitsAndTexts)
{
    using protobuf::fixed, protobuf::number, protobuf::text;
    EXPECT_EQ(commandedOne(metric("oven_temp", fixed(13, 180.5))), json({{"oven_temp", 180.5}}));
    EXPECT_EQ(commandedOne(metric("oven_temp", fixed(12, 12.3F))), json({{"oven_temp", 12.3}}));
    EXPECT_EQ(commandedOne(metric("oven_on", number(14, 1))), json({{"oven_on", true}}));
    EXPECT_EQ(commandedOne(metric("oven_on", number(10, 0))), json({{"oven_on", false}}));
    EXPECT_EQ(commandedOne(metric("oven_on", number(10, 2))), json({{"oven_on", 2}}));
    EXPECT_EQ(commandedOne(metric("pieces", number(11, 4000000000U))), json({{"pieces", 4000000000U}}));
    EXPECT_EQ(commandedOne(metric("recipe", text(15, "ABC"))), json({{"recipe", "ABC"}}));
}

TEST_F(SparkplugLayoutTest, NegativeNumbersAreReadInTheirOwnWidthAndInThatOfTheField)
{
    using protobuf::number;
    for (std::uint64_t value : {0xFFFFFFFBULL, 0xFFFFFFFFFFFFFFFBULL})
        EXPECT_EQ(commandedOne(metric("level", number(11, value))), json({{"level", -5}})) << value;
    EXPECT_EQ(commandedOne(metric("level", number(10, 0xFFFFFFFB))), json({{"level", -5}}));
    EXPECT_EQ(commandedOne(metric("position", number(10, 0xFFFFFFFB))), json({{"position", -5}}));
    EXPECT_EQ(commandedOne(metric("oven_temp", number(4, 3) + number(10, 0xFFFFFFFB))), json({{"oven_temp", -5}}));
    EXPECT_EQ(commandedOne(metric("level", number(4, 1) + number(10, 0xFB))), json({{"level", -5}}));
    EXPECT_EQ(commandedOne(metric("level", number(4, 4) + number(11, ~0ULL))), json({{"level", -1}}));
}

TEST_F(SparkplugLayoutTest, WhatIsNoNumberIsWrittenAsNull)
{
    using protobuf::fixed, protobuf::number, protobuf::text;
    const json nothing = {{"speed", nullptr}};
    EXPECT_EQ(commandedOne(metric("speed", fixed(12, std::nanf("")))), nothing);
    EXPECT_EQ(commandedOne(metric("speed", fixed(13, HUGE_VAL))), nothing);
    EXPECT_EQ(commandedOne(metric("speed", number(7, 1))), nothing);
    EXPECT_EQ(commandedOne(metric("speed", text(16, "bytes"))), nothing);
}

TEST_F(SparkplugLayoutTest, ValuesOfOneTagAreAnArrayIfAllAreThere)
{
    const auto value = [](const char *name, std::uint64_t number) {
        return metric(name, protobuf::number(10, number));
    };
    EXPECT_EQ(commandedOne(value("trend/2", 3) + value("trend/0", 1) + value("trend/1", 2)),
              json({{"trend", {1, 2, 3}}}));
    EXPECT_EQ(commandedOne(value("trend/2", 3) + value("trend/0", 1)), json({{"trend/0", 1}, {"trend/2", 3}}));
}

TEST_F(SparkplugLayoutTest, WhatIsNoMetricOfTheDeviceIsNamedWithIt)
{
    const std::string pump = written(metric("pump", protobuf::number(14, 1)));
    EXPECT_EQ(commanded("spBv1.0/plant/DCMD/press7/station-1", pump).at("set"), json({{"station-1/pump", true}}));
    EXPECT_EQ(commanded("spBv1.0/plant/NCMD/press7", pump).at("set"), json({{"press7/pump", true}}));
    EXPECT_EQ(commanded("spBv1.0/plant/DCMD/press7/station-2", pump).at("set"), json({{"pump", true}}));
}

TEST_F(SparkplugLayoutTest, WhatIsNoPayloadIsACommandWithAFault)
{
    for (const std::string &payload :
         {std::string("\x12\xFF", 2), std::string("{\"set\":{}}"), std::string(1, '\0')}) {
        const Incoming incoming = layout->incoming({"spBv1.0/plant/DCMD/press7/station-1", payload, false});
        EXPECT_EQ(incoming.kind, Incoming::Command);
        EXPECT_EQ(incoming.fault.rfind("no Sparkplug payload: ", 0), 0U) << incoming.fault;
    }
}

TEST_F(SparkplugLayoutTest, ACommandWithoutAMetricOrWithOneTwiceHasAFault)
{
    const auto faultOf = [this](const std::string &metrics) {
        return layout->incoming({"spBv1.0/plant/DCMD/press7/station-1", written(metrics), false}).fault;
    };
    const std::string count = metric("count", protobuf::number(10, 5));
    EXPECT_EQ(faultOf(count + metric("level", protobuf::number(10, 5))), "");
    EXPECT_EQ(faultOf(""), "there is no metric in it; send those that are to be written");
    EXPECT_EQ(faultOf(count + metric("level", protobuf::number(10, 5)) + metric("count", protobuf::number(10, 6))),
              "the metric 'count' stands twice; name each once");
}

TEST_F(SparkplugLayoutTest, APayloadThatIsTooLongIsACommandThatIsTooLong)
{
    const std::string payload = written(metric("recipe", protobuf::text(15, std::string(20000, 'A'))));
    EXPECT_GT(layout->incoming({"spBv1.0/plant/DCMD/press7/station-1", payload, false}).command.size(), 16384U);
}

// ---- answers

/// To a command for the counter, of which 9 was read back, and for another tag, which was refused.
CommandAnswer answerOf(Epoch time)
{
    CommandAnswer answer;
    answer.tags.resize(2);
    answer.tags[0].name = "count";
    answer.tags[0].held = HeldValue{tagOf("count", "5:200@1:u16").tag, Quality::Good, Reason(), time, {9}};
    return answer;
}

TEST_F(SparkplugLayoutTest, AnAnswerIsTheValueThatWasReadBack)
{
    born();
    const CommandAnswer answer = answerOf(Start + 5);
    const std::optional<Message> message = layout->answer(answer, Start + 80);
    ASSERT_TRUE(message);
    EXPECT_EQ(message->topic, "spBv1.0/plant/DDATA/press7/station-1");
    ASSERT_EQ(SeenPayload(*message).names(), Topics{"count"});
    EXPECT_EQ(SeenPayload(*message).metrics[0].fields.number(10), 9U);
    EXPECT_EQ(SeenPayload(*message).seq(), 2U);
}

TEST_F(SparkplugLayoutTest, AnAnswerWithoutNewsIsNone)
{
    CommandAnswer answer = answerOf(Start + 5);
    EXPECT_FALSE(layout->answer(answer, Start)); // nothing is born
    born();
    answer.tags[0].held->time = Start - 1; // before the birth's
    EXPECT_FALSE(layout->answer(answer, Start));
    answer.tags[0].held.reset(); // refused
    EXPECT_FALSE(layout->answer(answer, Start));
}

/// The file has changed since the command came.
TEST_F(SparkplugLayoutTest, AnAnswerOfATagThatIsAnotherOneNowIsNone)
{
    born();
    for (const GatewayTag &before :
         {tagOf("count", "5:201@1:u16"), tagOf("count", "5:200@1:s16"), tagOf("count", "5:200@1:u16", 0.1),
          tagOf("counts", "5:200@1:u16"), tagOf("count", "5:200@3:u16"), tagOf("trend", "5:400x2@1:u16")}) {
        CommandAnswer answer = answerOf(Start + 5);
        answer.tags[0].name = before.name;
        answer.tags[0].held->tag = before.tag;
        EXPECT_FALSE(layout->answer(answer, Start)) << textOf(before.tag).toStdString();
    }
    EXPECT_TRUE(layout->answer(answerOf(Start + 5), Start));
}

TEST_F(SparkplugLayoutTest, AnAnswerOfOneValueOfSeveralIsItsMetric)
{
    born();
    CommandAnswer answer = answerOf(Start + 5);
    answer.tags[0].name = "trend/2";
    answer.tags[0].held->tag = tagOf("trend", "5:402@1:u16").tag;
    const std::optional<Message> message = layout->answer(answer, Start + 80);
    ASSERT_TRUE(message);
    ASSERT_EQ(SeenPayload(*message).names(), Topics{"trend/2"});
    EXPECT_EQ(SeenPayload(*message).metrics[0].fields.number(10), 9U);
    answer.tags[0].held->tag.variable.address = 401;
    EXPECT_FALSE(layout->answer(answer, Start + 80));
}

TEST_F(SparkplugLayoutTest, NothingIsToldAgainAndAgain)
{
    born();
    EXPECT_TRUE(layout->periodic(picture, Start).empty());
}

// ---- settings

TEST_F(SparkplugLayoutTest, NamesThatDifferInCaseAloneAreRefused)
{
    GatewaySettings settings = settingsOf();
    for (const char *name : {"Count", "BDSEQ"}) {
        settings.tags[Level] = tagOf(name, "5:201@1:s16");
        EXPECT_THROW(makeSparkplugLayout(settings), TextError) << name;
    }
}

TEST_F(SparkplugLayoutTest, NamesThatAreNoLevelOfATopicAreRefused)
{
    for (const char *name : {"", "a/b", "a+", "#"}) {
        GatewaySettings settings = settingsOf();
        settings.layout.group = name;
        EXPECT_THROW(makeSparkplugLayout(settings), TextError) << name;
    }
    EXPECT_THROW(makeSparkplugLayout(settingsOf("a/b")), TextError);
}
