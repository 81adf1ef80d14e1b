// Topics and JSON of the plain layout, to the letter.
#include "gateway/layout.h"
#include "gateway_settings.h"

#include <gtest/gtest.h>
#include <limits>

using namespace fgs;

namespace
{

const Epoch Noon = 1700000000000;

GatewaySettings ovenSettings()
{
    return gatewaySettings({"oven", "fan"},
                           {gatewayTag("temp", "5:100:s16", {0.1}, 0), gatewayTag("heats", "2:5:bit", Scaling(), 0),
                            gatewayTag("speed", "10:4:f32", Scaling(), 1)});
}

class PlainLayout : public ::testing::Test
{
protected:
    static std::string contentOf(const GatewayTag &tag, const Sample &sample)
    {
        const GatewaySettings settings = gatewaySettings({"g"}, {tag});
        const std::vector<Record> records = makePlainLayout(settings)->records({&sample});
        return records.size() == 1 ? records[0].content : "no record";
    }
    static std::string valueOf(const GatewayTag &tag, const std::vector<quint32> &elements)
    {
        const std::string content = contentOf(tag, goodSample(0, elements, Noon));
        const std::string head = R"({"values":{")" + tag.name + R"(":)", tail = R"(},"errors":{}})";
        if (content.substr(0, head.size()) != head || content.size() < head.size() + tail.size() ||
            content.substr(content.size() - tail.size()) != tail)
            return content;
        return content.substr(head.size(), content.size() - head.size() - tail.size());
    }

    static Picture pictureOf(const std::vector<Sample> &samples, bool isUp = true)
    {
        Picture picture;
        picture.samples = samples;
        picture.line.isUp = isUp;
        picture.line.stations = {{1, isUp}, {12, false}};
        return picture;
    }
    Picture picture() const
    {
        return pictureOf({goodSample(0, {215}, Noon - 10), unknownSample(1, 0),
                          staleSample(2, {bitsOfFloat(0.1f)}, Noon - 500)});
    }

    const GatewaySettings settings = ovenSettings();
    const std::unique_ptr<Layout> layout = makePlainLayout(settings);
};

// ---- values

TEST_F(PlainLayout, WritesNumbersInEngineeringUnits)
{
    EXPECT_EQ(valueOf(gatewayTag("a", "5:1:s16"), {65535}), "-1");
    EXPECT_EQ(valueOf(gatewayTag("a", "5:1:u16"), {65535}), "65535");
    EXPECT_EQ(valueOf(gatewayTag("a", "5:1:x16"), {0x1F}), "31");
    EXPECT_EQ(valueOf(gatewayTag("a", "10:4:u32"), {4294967295u}), "4294967295");
    EXPECT_EQ(valueOf(gatewayTag("a", "10:4:s32"), {0x80000000u}), "-2147483648");
    EXPECT_EQ(valueOf(gatewayTag("a", "5:1:u32h"), {1, 0x86A0}), "100000");
    EXPECT_EQ(valueOf(gatewayTag("a", "10:4:f32"), {bitsOfFloat(0.1f)}), "0.1");
    EXPECT_EQ(valueOf(gatewayTag("a", "5:1:s16", {0.1}), {3}), "0.3");
    EXPECT_EQ(valueOf(gatewayTag("a", "5:1:s16", {0.1, -40}), {65535}), "-40.1");
    EXPECT_EQ(valueOf(gatewayTag("a", "5:1:u16", {0.001}), {1234}), "1.234");
}

TEST_F(PlainLayout, WritesBitsTextsAndArrays)
{
    EXPECT_EQ(valueOf(gatewayTag("a", "2:5:bit"), {1}), "true");
    EXPECT_EQ(valueOf(gatewayTag("a", "2:5:bit"), {0}), "false");
    EXPECT_EQ(valueOf(gatewayTag("a", "2:5x3:bit"), {1, 0, 1}), "[true,false,true]");
    EXPECT_EQ(valueOf(gatewayTag("a", "5:1x2:s16"), {1, 65534}), "[1,-2]");
    EXPECT_EQ(valueOf(gatewayTag("a", "5:1x2:text"), {0x4241, 0x0022}), R"("AB\"")");
    EXPECT_EQ(valueOf(gatewayTag("a", "5:1x2:text"), {0x0741, 0}), R"("A\\x07")");
    EXPECT_EQ(valueOf(gatewayTag("a", "5:1x2:text"), {0, 0}), R"("")");
}

TEST_F(PlainLayout, WritesWhatIsNoNumberAsNullWithAnError)
{
    const quint32 nan = bitsOfFloat(std::numeric_limits<float>::quiet_NaN());
    const quint32 infinite = bitsOfFloat(-std::numeric_limits<float>::infinity());
    const GatewayTag one = gatewayTag("a", "10:4:f32"), two = gatewayTag("a", "10:4x2:f32");
    EXPECT_EQ(contentOf(one, goodSample(0, {nan})), R"({"values":{"a":null},"errors":{"a":"notFinite"}})");
    EXPECT_EQ(contentOf(one, goodSample(0, {infinite})), R"({"values":{"a":null},"errors":{"a":"notFinite"}})");
    EXPECT_EQ(contentOf(two, goodSample(0, {bitsOfFloat(1.5f), nan})),
              R"({"values":{"a":[1.5,null]},"errors":{"a":"notFinite"}})");
    EXPECT_EQ(contentOf(one, staleSample(0, {nan})), R"({"values":{"a":null},"errors":{"a":"noReply"}})");
}

TEST_F(PlainLayout, TellsWhyAValueIsNotGood)
{
    const GatewayTag tag = gatewayTag("a", "5:1:u16");
    EXPECT_EQ(contentOf(tag, staleSample(0, {7})), R"({"values":{"a":7},"errors":{"a":"noReply"}})");
    EXPECT_EQ(contentOf(tag, unknownSample(0)), R"({"values":{},"errors":{"a":"noReply"}})");
    EXPECT_EQ(contentOf(tag, Sample()), R"({"values":{},"errors":{"a":"notAskedYet"}})");
    Sample silent = unknownSample(0);
    silent.reason = Reason();
    silent.reason.kind = Reason::StationSilent;
    EXPECT_EQ(contentOf(tag, silent), R"({"values":{},"errors":{"a":"stationSilent"}})");
}

// ---- records and their messages

TEST_F(PlainLayout, MakesARecordOfEachTimeAndGroupInTheOrderOfTime)
{
    const Sample samples[] = {goodSample(2, {0}, Noon), goodSample(0, {215}, Noon), goodSample(1, {1}, Noon),
                              goodSample(0, {214}, Noon - 1)};
    const std::vector<Record> records = layout->records({&samples[0], &samples[1], &samples[2], &samples[3]});
    ASSERT_EQ(records.size(), 3u);
    EXPECT_EQ(records[0].key, "oven");
    EXPECT_EQ(records[0].time, Noon - 1);
    EXPECT_EQ(records[0].content, R"({"values":{"temp":21.4},"errors":{}})");
    EXPECT_EQ(records[1].key, "oven");
    EXPECT_EQ(records[1].time, Noon);
    EXPECT_EQ(records[1].content, R"({"values":{"temp":21.5,"heats":true},"errors":{}})");
    EXPECT_EQ(records[2].key, "fan");
    EXPECT_EQ(records[2].content, R"({"values":{"speed":0.0},"errors":{}})");
    EXPECT_TRUE(layout->records({}).empty());
}

TEST_F(PlainLayout, CountsTheMessagesOfEachTopic)
{
    const Record oven = {"oven", Noon, R"({"values":{"temp":21.5},"errors":{"heats":"noReply"}})"};
    const Record fan = {"fan", Noon, R"({"values":{},"errors":{}})"};
    const Message first = layout->live(oven, Noon + 99);
    EXPECT_EQ(first.topic, "plant/hall1/press7/oven");
    EXPECT_EQ(first.payload,
              R"({"timestamp":1700000000000,"seq":1,"values":{"temp":21.5},"errors":{"heats":"noReply"}})");
    EXPECT_EQ(first.qos, 1);
    EXPECT_FALSE(first.isRetained);
    EXPECT_NE(layout->live(oven, Noon).payload.find(R"("seq":2,)"), std::string::npos);
    EXPECT_EQ(layout->live(fan, Noon).payload, R"({"timestamp":1700000000000,"seq":1,"values":{},"errors":{}})");
    const std::optional<Message> kept = layout->history(oven, Noon + 5000);
    ASSERT_TRUE(kept);
    EXPECT_EQ(kept->topic, "plant/hall1/press7/oven/history");
    EXPECT_EQ(kept->payload, first.payload); // the first of its topic, with its own time
    EXPECT_FALSE(kept->isRetained);
}

TEST_F(PlainLayout, TellsHistoryOfGroupsThatAreNoMore)
{
    const std::optional<Message> message =
        layout->history({"press", Noon, R"({"values":{"force":1},"errors":{}})"}, Noon);
    ASSERT_TRUE(message);
    EXPECT_EQ(message->topic, "plant/hall1/press7/press/history");
    EXPECT_EQ(message->payload, R"({"timestamp":1700000000000,"seq":1,"values":{"force":1},"errors":{}})");
}

TEST_F(PlainLayout, TellsNoHistoryOfWhatIsNoRecord)
{
    const std::string good = R"({"values":{},"errors":{}})";
    for (const char *key : {"", "a/b", "#", "+"})
        EXPECT_FALSE(layout->history({key, Noon, good}, Noon)) << key;
    for (const char *content :
         {"", "{}", "[]", "null", R"({"values":{}})", R"({"values":1,"errors":{}})", R"({"values":{},"errors":[]})",
          R"({"values":{},"errors":{}} x)", R"({"values":{},"errors":{},"more":1})"})
        EXPECT_FALSE(layout->history({"oven", Noon, content}, Noon)) << content;
}

// ---- states

TEST_F(PlainLayout, BeginsASessionWithTheStatusAndTheStateOfEachGroup)
{
    const std::vector<Message> births = layout->births(picture(), Noon);
    ASSERT_EQ(births.size(), 3u);
    EXPECT_EQ(births[0].topic, "plant/hall1/press7/status");
    EXPECT_EQ(births[0].payload, R"({"state":"online","since":1700000000000,"version":"1.0.0","link":"up",)"
                                 R"("stations":{"1":"up","12":"down"}})");
    EXPECT_EQ(births[1].topic, "plant/hall1/press7/oven/state");
    EXPECT_EQ(births[1].payload, R"({"timestamp":1700000000000,"values":{"temp":21.5},)"
                                 R"("errors":{"heats":"noReply"},"times":{"temp":1699999999990}})");
    EXPECT_EQ(births[2].topic, "plant/hall1/press7/fan/state");
    EXPECT_EQ(births[2].payload, R"({"timestamp":1700000000000,"values":{"speed":0.1},)"
                                 R"("errors":{"speed":"noReply"},"times":{"speed":1699999999500}})");
    for (const Message &message : births) {
        EXPECT_TRUE(message.isRetained) << message.topic;
        EXPECT_EQ(message.qos, 1) << message.topic;
    }
}

TEST_F(PlainLayout, SaysOfflineByItsWillAndAtItsEnd)
{
    const Message will = layout->will(Noon);
    EXPECT_EQ(will.topic, "plant/hall1/press7/status");
    EXPECT_EQ(will.payload, R"({"state":"offline","since":1700000000000})");
    EXPECT_TRUE(will.isRetained);
    EXPECT_EQ(will.qos, 1);
    const std::vector<Message> farewell = layout->farewell(picture(), Noon + 1);
    ASSERT_EQ(farewell.size(), 1u);
    EXPECT_EQ(farewell[0].topic, will.topic);
    EXPECT_EQ(farewell[0].payload, R"({"state":"offline","since":1700000000001})");
    EXPECT_TRUE(farewell[0].isRetained);
}

TEST_F(PlainLayout, IsOnlineSinceTheFirstBirthOfASession)
{
    const auto since = [this](Epoch now) { return layout->births(picture(), now).front().payload.substr(26, 13); };
    layout->will(Noon);
    EXPECT_EQ(since(Noon + 5), "1700000000005");
    EXPECT_EQ(since(Noon + 9), "1700000000005"); // a rebirth
    layout->will(Noon + 20);
    EXPECT_EQ(since(Noon + 30), "1700000000030");
}

TEST_F(PlainLayout, TellsTheTimeOfTheSessionThatItTakesOver)
{
    layout->will(Noon);
    EXPECT_FALSE(layout->sessions().onlineSince);
    layout->births(picture(), Noon + 5);
    const std::unique_ptr<Layout> next = makePlainLayout(settings);
    next->resume(layout->sessions());
    EXPECT_EQ(next->births(picture(), Noon + 9)[0].payload, layout->births(picture(), Noon + 9)[0].payload);
    next->will(Noon + 20);
    EXPECT_FALSE(next->sessions().onlineSince);
}

TEST_F(PlainLayout, TellsChangesOfTheLineAndItsStations)
{
    layout->births(picture(), Noon);
    EXPECT_TRUE(layout->changes(picture(), picture(), Noon + 1).empty());
    Picture other = picture();
    other.samples[0].values = {1};
    other.line.statistics.requests = 7;
    EXPECT_TRUE(layout->changes(picture(), other, Noon + 1).empty());
    other.line.isUp = false;
    const std::vector<Message> down = layout->changes(picture(), other, Noon + 1);
    ASSERT_EQ(down.size(), 1u);
    EXPECT_EQ(down[0].topic, "plant/hall1/press7/status");
    EXPECT_EQ(down[0].payload, R"({"state":"online","since":1700000000000,"version":"1.0.0","link":"down",)"
                               R"("stations":{"1":"up","12":"down"}})");
    EXPECT_TRUE(down[0].isRetained);
    other = picture();
    other.line.stations[12] = true;
    EXPECT_EQ(layout->changes(picture(), other, Noon + 1).size(), 1u);
}

TEST_F(PlainLayout, TellsTheFullStateEachMinute)
{
    const std::vector<Message> states = layout->periodic(picture(), Noon);
    const std::vector<Message> births = layout->births(picture(), Noon);
    ASSERT_EQ(states.size(), 2u);
    EXPECT_EQ(states[0].payload, births[1].payload);
    EXPECT_EQ(states[1].payload, births[2].payload);
}

// ---- what comes

TEST_F(PlainLayout, TakesCommandsOfItsOwnTopicOnly)
{
    EXPECT_EQ(layout->subscriptions(), std::vector<std::string>{"plant/hall1/press7/cmd"});
    EXPECT_FALSE(layout->awaitsHost());
    const Incoming command = layout->incoming({"plant/hall1/press7/cmd", "{}", false});
    EXPECT_EQ(command.kind, Incoming::Command);
    EXPECT_EQ(command.command, "{}");
    for (const char *topic : {"plant/hall1/press7/ack", "plant/hall1/press8/cmd", "cmd", ""})
        EXPECT_EQ(layout->incoming({topic, "{}", false}).kind, Incoming::Nothing) << topic;
}

// ---- answers

TEST_F(PlainLayout, AnswersWithWhatIsHeld)
{
    CommandAnswer answer;
    answer.id = "a \"1\"";
    answer.time = Noon;
    answer.result = CommandResult::Verified;
    answer.tags = {{"temp", CommandResult::Verified, CommandFailure::None, "",
                    HeldValue{settings.tags[0].tag, Quality::Good, Reason(), Noon, {215}}}};
    const std::optional<Message> message = layout->answer(answer, Noon + 7);
    ASSERT_TRUE(message);
    EXPECT_EQ(message->topic, "plant/hall1/press7/ack");
    EXPECT_EQ(message->payload, R"({"id":"a \"1\"","result":"verified","timestamp":1700000000000,)"
                                R"("values":{"temp":21.5},"tags":{"temp":{"result":"verified"}}})");
    EXPECT_EQ(message->qos, 1);
    EXPECT_FALSE(message->isRetained);
}

TEST_F(PlainLayout, AnswersWithTheMeaningThatAValueHadWhenItWasWritten)
{
    CommandAnswer answer;
    const Tag before = gatewayTag("old", "5:77:s16", {0.5}).tag;
    answer.tags = {{"old", CommandResult::Verified, CommandFailure::None, "",
                    HeldValue{before, Quality::Good, Reason(), Noon, {3}}}};
    EXPECT_NE(layout->answer(answer, Noon)->payload.find(R"("values":{"old":1.5})"), std::string::npos);
}

TEST_F(PlainLayout, AnswersWithReasons)
{
    CommandAnswer answer;
    answer.time = Noon;
    answer.failure = CommandFailure::OutOfRange;
    answer.message = "too high";
    answer.tags = {{"temp", CommandResult::Refused, CommandFailure::OutOfRange, "300", std::nullopt}};
    EXPECT_EQ(layout->answer(answer, Noon)->payload,
              R"({"id":null,"result":"refused","timestamp":1700000000000,"values":{},)"
              R"("tags":{"temp":{"result":"refused","reason":"outOfRange","message":"300"}},)"
              R"("reason":"outOfRange","message":"too high"})");
}

TEST_F(PlainLayout, AnswersIdsAsTheyWereSent)
{
    CommandAnswer answer;
    answer.id = "5";
    EXPECT_EQ(layout->answer(answer, Noon)->payload.substr(0, 9), R"({"id":"5")");
    answer.isNumbered = true;
    EXPECT_EQ(layout->answer(answer, Noon)->payload.substr(0, 8), R"({"id":5,)");
}

TEST_F(PlainLayout, AnswersInGoodUtf8WhateverATagIsCalled)
{
    CommandAnswer answer;
    answer.tags = {{"\xff\n", CommandResult::Refused, CommandFailure::UnknownTag, "\xfe", std::nullopt}};
    const std::string payload = layout->answer(answer, Noon)->payload;
    EXPECT_TRUE(QString::fromUtf8(payload.c_str()).toUtf8().toStdString() == payload);
    EXPECT_EQ(payload.find('\n'), std::string::npos);
}

} // namespace
