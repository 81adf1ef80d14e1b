// Commands from the network: what is refused and why, what is ordered, and the one answer for each id.
#include "gateway/command.h"
#include "gateway_settings.h"

#include <gtest/gtest.h>
#include <set>

using namespace fgs;
using namespace std::chrono_literals;

namespace fgs
{

void PrintTo(CommandFailure failure, std::ostream *out)
{
    *out << keyOf(failure);
}
void PrintTo(CommandResult result, std::ostream *out)
{
    *out << keyOf(result);
}

} // namespace fgs

namespace
{

using Failure = CommandFailure;
using Result = CommandResult;

const Epoch Noon = 1700000000000;

/// Tags 0 to 8.
GatewaySettings ovenSettings()
{
    GatewaySettings settings = gatewaySettings(
        {"oven"}, {writableTag(gatewayTag("sp", "5:100:s16", {0.1}), {0, 250, 0.5}),
                   writableTag(gatewayTag("heats", "2:5:bit"), {0, 1, 0}),
                   writableTag(gatewayTag("recipe", "5:200x2:text"), {}),
                   writableTag(gatewayTag("zones", "5:300x3:u16"), {10, 100, 0}),
                   writableTag(gatewayTag("gain", "10:4:f32"), {-1e30, 1e30, 0}),
                   writableTag(gatewayTag("far", "5:100@12:u16"), {0, 70000, 0}), // more than a word holds
                   gatewayTag("temp", "5:1:s16"), writableTag(gatewayTag("odd", "5:400:s16"), {-7, 100, 10}),
                   writableTag(gatewayTag("pieces", "5:500x2:u32"), {0, 100000, 0})});
    settings.commands.mostPerMinute = 100000;
    return settings;
}

class Desk : public ::testing::Test
{
protected:
    Desk()
    {
        line.isUp = true;
        line.stations = {{1, true}, {12, true}};
    }

    void start(bool isReadOnly = false, Epoch begun = 0)
    {
        desk = std::make_unique<CommandDesk>(settings, orders, isReadOnly, begun);
    }

    CommandDesk &running()
    {
        if (!desk)
            start();
        return *desk;
    }

    void take(const std::string &json, bool isRetained = false)
    {
        running().take(json, isRetained, line, now, steady);
    }
    /// {"id":"ID","ts":now,"set":{...}}
    void set(const std::string &id, const std::string &tags) { take(commandText(id, tags)); }
    std::string commandText(const std::string &id, const std::string &tags) const
    {
        return R"({"id":")" + id + R"(","ts":)" + std::to_string(now) + R"(,"set":{)" + tags + "}}";
    }

    void pass(milliseconds time)
    {
        steady += time;
        now += time.count();
        running().step(now, steady);
    }

    /// The only answer that is due; it is dropped.
    CommandAnswer answer()
    {
        if (running().answers().size() != 1) {
            ADD_FAILURE() << running().answers().size() << " answers";
            return {};
        }
        const CommandAnswer answer = running().answers().front();
        running().dropAnswer();
        return answer;
    }
    bool isSilent() { return running().answers().empty(); }

    /// That it was refused so, counted so, and ordered nothing.
    CommandAnswer refusal(Failure failure)
    {
        const quint64 count = running().failures(failure);
        const CommandAnswer last = answer();
        EXPECT_EQ(last.result, Result::Refused) << last.message;
        EXPECT_EQ(last.failure, failure) << last.message;
        EXPECT_FALSE(last.message.empty());
        EXPECT_GE(count, 1u);
        EXPECT_FALSE(orders.hasOrders());
        return last;
    }
    CommandAnswer refusalOf(const std::string &tags, Failure failure)
    {
        set("id" + std::to_string(++lastId), tags);
        return refusal(failure);
    }
    /// What is ordered for a tag.
    std::vector<quint32> ordered(const std::string &tags)
    {
        set("id" + std::to_string(++lastId), tags);
        EXPECT_TRUE(isSilent()) << running().answers().front().message;
        std::optional<Order> order = orders.take();
        if (!order || order->assignments.size() != 1) {
            ADD_FAILURE() << "not one assignment";
            return {};
        }
        finish(*order, {WriteResult::Verified});
        running().dropAnswer();
        return order->assignments[0].values;
    }

    static WriteReport reportOf(const Assignment &assignment, WriteResult result)
    {
        WriteReport report = notSent(assignment);
        report.result = result;
        if (result == WriteResult::Verified || result == WriteResult::Different) {
            report.held.quality = Quality::Good;
            report.held.values = assignment.values;
            report.held.values[0] += result == WriteResult::Different;
        }
        return report;
    }
    /// As the line does.
    void finish(const Order &order, const std::vector<WriteResult> &results)
    {
        OrderEnd end;
        end.number = order.number;
        for (std::size_t i = 0; i < results.size(); ++i) {
            end.reports.push_back(reportOf(order.assignments[i], results[i]));
            end.heldTimes.push_back(now - 7 - Epoch(i));
        }
        orders.finish(end);
        running().step(now, steady);
    }
    void finishNext(const std::vector<WriteResult> &results)
    {
        const std::optional<Order> order = orders.take();
        ASSERT_TRUE(order);
        finish(*order, results);
    }

    GatewaySettings settings = ovenSettings();
    OrderDesk orders;
    LineState line;
    Epoch now = Noon;
    milliseconds steady{5000};
    int lastId = 0;
    std::unique_ptr<CommandDesk> desk;
};

// ---- what is ordered

TEST_F(Desk, OrdersWhatIsAllowedAndAnswersWithWhatIsHeld)
{
    set("a", R"("sp":123.5,"heats":true)");
    EXPECT_TRUE(isSilent());
    const std::optional<Order> order = orders.take();
    ASSERT_TRUE(order);
    EXPECT_EQ(order->tags, (std::vector<std::size_t>{0, 1}));
    ASSERT_EQ(order->assignments.size(), 2u);
    EXPECT_EQ(order->assignments[0].tag.variable.address, 100);
    EXPECT_EQ(order->assignments[0].values, std::vector<quint32>{1235});
    EXPECT_EQ(order->assignments[1].values, std::vector<quint32>{1});
    EXPECT_TRUE(isSilent());
    now += 50;
    finish(*order, {WriteResult::Verified, WriteResult::Verified});
    const CommandAnswer last = answer();
    EXPECT_EQ(last.id, "a");
    EXPECT_FALSE(last.isNumbered);
    EXPECT_EQ(last.result, Result::Verified);
    EXPECT_EQ(last.failure, Failure::None);
    EXPECT_EQ(last.time, Noon + 50);
    ASSERT_EQ(last.tags.size(), 2u);
    EXPECT_EQ(last.tags[0].name, "sp");
    EXPECT_EQ(last.tags[0].result, Result::Verified);
    ASSERT_TRUE(last.tags[0].held);
    EXPECT_EQ(last.tags[0].held->tag.variable.address, 100);
    EXPECT_EQ(last.tags[0].held->values, std::vector<quint32>{1235});
    EXPECT_EQ(last.tags[0].held->time, Noon + 43) << "of the reply";
    EXPECT_EQ(last.tags[1].held->time, Noon + 42);
    EXPECT_EQ(running().commands(), 1u);
}

TEST_F(Desk, TakesValuesOfEachType)
{
    EXPECT_EQ(ordered(R"("sp":0)"), std::vector<quint32>{0});
    EXPECT_EQ(ordered(R"("sp":250.0)"), std::vector<quint32>{2500});
    EXPECT_EQ(ordered(R"("sp":1e1)"), std::vector<quint32>{100});
    EXPECT_EQ(ordered(R"("heats":true)"), std::vector<quint32>{1});
    EXPECT_EQ(ordered(R"("heats":false)"), std::vector<quint32>{0});
    EXPECT_EQ(ordered(R"("heats":1)"), std::vector<quint32>{1});
    EXPECT_EQ(ordered(R"("heats":0)"), std::vector<quint32>{0});
    EXPECT_EQ(ordered(R"("recipe":"AB")"), (std::vector<quint32>{0x4241, 0}));
    EXPECT_EQ(ordered(R"("recipe":"ABCD")"), (std::vector<quint32>{0x4241, 0x4443}));
    EXPECT_EQ(ordered(R"("recipe":"")"), (std::vector<quint32>{0, 0}));
    EXPECT_EQ(ordered(R"("recipe":"\\x07")"), (std::vector<quint32>{7, 0}));
    EXPECT_EQ(ordered(R"("zones":[10,50,100])"), (std::vector<quint32>{10, 50, 100}));
    EXPECT_EQ(ordered(R"("gain":0.1)"), std::vector<quint32>{bitsOfFloat(0.1f)});
    EXPECT_EQ(ordered(R"("gain":-3)"), std::vector<quint32>{bitsOfFloat(-3)});
    EXPECT_EQ(ordered(R"("odd":-7)"), std::vector<quint32>{0xFFF9});
    EXPECT_EQ(ordered(R"("odd":3)"), std::vector<quint32>{3});
}

TEST_F(Desk, TakesOneValueOfSeveral)
{
    EXPECT_EQ(ordered(R"("zones/0":10)"), std::vector<quint32>{10});
    EXPECT_EQ(ordered(R"("pieces/0":5)"), (std::vector<quint32>{5, 0}));
    set("a", R"("pieces/1":70000,"zones/0":20,"zones/2":30)");
    const std::optional<Order> order = orders.take();
    ASSERT_TRUE(order);
    ASSERT_EQ(order->assignments.size(), 3u);
    EXPECT_EQ(order->tags, (std::vector<std::size_t>{8, 3, 3}));
    EXPECT_EQ(textOf(order->assignments[0].tag.variable).toStdString(), "5:502x2@1");
    EXPECT_EQ(order->assignments[0].values, (std::vector<quint32>{0x1170, 1}));
    EXPECT_EQ(textOf(order->assignments[1].tag.variable).toStdString(), "5:300@1");
    EXPECT_EQ(textOf(order->assignments[2].tag.variable).toStdString(), "5:302@1");
    finish(*order, {WriteResult::Verified, WriteResult::Verified, WriteResult::Verified});
    const CommandAnswer last = answer();
    ASSERT_EQ(last.tags.size(), 3u);
    EXPECT_EQ(last.tags[0].name, "pieces/1");
    EXPECT_EQ(last.tags[1].name, "zones/0");
    EXPECT_EQ(last.tags[2].held->values, std::vector<quint32>{30});
}

TEST_F(Desk, RefusesOneValueOfSeveralByTheRulesOfAll)
{
    for (const char *tags :
         {R"("zones/3":10)", R"("zones/":10)", R"("zones/-1":10)", R"("zones/00":10)", R"("zones/0/0":10)",
          R"("zones/99999999999999999999":10)", R"("/0":10)", R"("sp/0":10)", R"("recipe/0":"A")", R"("temp/0":1)"})
        refusalOf(tags, Failure::UnknownTag);
    EXPECT_NE(refusalOf(R"("zones/3":10)", Failure::UnknownTag).message.find("zones/0 to zones/2"),
              std::string::npos);
    refusalOf(R"("zones/1":9)", Failure::OutOfRange);
    refusalOf(R"("zones/1":10.5)", Failure::OffStep);
    refusalOf(R"("zones/1":[10])", Failure::WrongType);
    EXPECT_EQ(refusalOf(R"("zones":[10,20,30],"zones/1":20)", Failure::NotJson).tags.at(0).name, "zones/1");
    EXPECT_EQ(refusalOf(R"("zones/1":20,"zones":[10,20,30])", Failure::NotJson).tags.at(0).name, "zones");
    line.stations[1] = false;
    EXPECT_EQ(refusalOf(R"("zones/1":20)", Failure::StationDown).tags.at(0).name, "zones/1");
}

// ---- refusals, in the order of the checks

TEST_F(Desk, RefusesRetainedCommandsBeforeItReadsThem)
{
    take(commandText("a", R"("sp":1)"), true);
    EXPECT_EQ(refusal(Failure::Retained).id, "");
    take("no JSON", true);
    refusal(Failure::Retained);
    set("a", R"("sp":1)"); // the id was not taken
    EXPECT_TRUE(orders.hasOrders());
}

TEST_F(Desk, RefusesWhatIsTooLarge)
{
    settings.commands.longestMessage = 100;
    const std::string command = R"({"id":1,"rebirth":true})";
    take(command + std::string(100 - command.size(), ' '));
    EXPECT_EQ(answer().result, Result::Rebirth);
    take(R"({"id":2,"rebirth":true})" + std::string(101 - command.size(), ' '));
    refusal(Failure::TooLarge);
}

TEST_F(Desk, RefusesMoreTagsThanItTakes)
{
    std::string tags;
    for (int i = 0; i <= 256; ++i)
        tags += (i ? "," : "") + ("\"t" + std::to_string(i) + "\":1");
    refusalOf(tags, Failure::TooLarge);
    EXPECT_EQ(refusalOf(tags.substr(0, tags.rfind(',')), Failure::UnknownTag).tags.size(), 256u);
}

TEST_F(Desk, RefusesWhatIsNoCommand)
{
    const char *const texts[] = {"",
                                 " ",
                                 "x",
                                 "{",
                                 "[]",
                                 "null",
                                 "\"a\"",
                                 "5",
                                 "{\"id\":\"\xff\"}",
                                 R"({"id":"a"} {})",
                                 R"({"id":"a","ts":1700000000000,"set":{"sp":1e999}})",
                                 R"({"id":"a","ts":1700000000000,"set":{"sp":[[1]]}})",
                                 R"({"id":"a","ts":1700000000000,"set":{"sp":{"x":{}}}})",
                                 R"({"id":"a","id":"b","rebirth":true})",
                                 R"({"id":"a","ts":1700000000000,"set":{"sp":1,"sp":2}})",
                                 R"({"id":"a","rebirth":true,"rebirth":true})"};
    for (const char *text : texts) {
        take(text);
        EXPECT_EQ(refusal(Failure::NotJson).id, "") << text;
    }
    EXPECT_EQ(running().failures(Failure::NotJson), std::size(texts));
}

TEST_F(Desk, RefusesWhatItsLayoutCannotRead)
{
    running().refuse("no payload", now);
    const CommandAnswer last = refusal(Failure::NotJson);
    EXPECT_EQ(last.id, "");
    EXPECT_EQ(last.time, now);
    EXPECT_EQ(last.message, "no payload");
    EXPECT_EQ(running().commands(), 1u);
}

TEST_F(Desk, RefusesCommandsOfTheWrongShapeByTheirId)
{
    const char *const members[] = {R"("ts":1700000000000)",
                                   R"("ts":1700000000000,"set":{})",
                                   R"("ts":1700000000000,"set":[1])",
                                   R"("ts":1700000000000,"set":null)",
                                   R"("ts":"noon","set":{"sp":1})",
                                   R"("ts":true,"set":{"sp":1})",
                                   R"("set":{"sp":1})",
                                   R"("rebirth":false)",
                                   R"("rebirth":1)",
                                   R"("rebirth":"true")",
                                   R"("rebirth":true,"ts":1700000000000,"set":{"sp":1})",
                                   R"("rebirth":true,"more":1)"};
    for (const char *text : members) {
        const std::string id = "id" + std::to_string(++lastId);
        take("{\"id\":\"" + id + "\"," + text + "}");
        EXPECT_EQ(refusal(Failure::NotJson).id, id) << text;
    }
    EXPECT_FALSE(running().takeRebirth());
}

TEST_F(Desk, NamesAnUnknownKeyWithASuggestion)
{
    take(R"({"id":"a","ts":1700000000000,"sett":{"sp":1}})");
    const std::string message = refusal(Failure::NotJson).message;
    EXPECT_NE(message.find("'sett'"), std::string::npos) << message;
    EXPECT_NE(message.find("did you mean 'set'?"), std::string::npos) << message;
}

TEST_F(Desk, RefusesCommandsWithoutAnIdOrWithABadOne)
{
    const std::string rest = R"("ts":1700000000000,"set":{"sp":1}})";
    const std::string tooLong = "\"" + std::string(65, 'x') + "\"";
    take("{" + rest);
    EXPECT_EQ(refusal(Failure::NoId).id, "");
    for (const std::string &id :
         {std::string(R"("")"), tooLong, std::string(R"("a\n")"), std::string(R"("\u0000")"), std::string("1.5"),
          std::string("true"), std::string("null"), std::string("[1]"), std::string("{}")}) {
        take("{\"id\":" + id + "," + rest);
        EXPECT_EQ(refusal(Failure::NoId).id, "") << id;
    }
}

TEST_F(Desk, AsksForTheIdBeforeAllElseThatIsMissing)
{
    for (const char *text : {"{}", R"({"set":{"sp":1}})", R"({"ts":"noon","set":{"sp":1}})",
                             R"({"ts":1700000000000})", R"({"rebirth":1})", R"({"set":{}})"}) {
        take(text);
        EXPECT_NE(refusal(Failure::NoId).message.find("id is missing"), std::string::npos) << text;
    }
    take(R"({"Id":"a","set":{"sp":1}})");
    EXPECT_NE(refusal(Failure::NotJson).message.find("did you mean 'id'?"), std::string::npos);
    EXPECT_EQ(orders.waiting(), 0U);
}

TEST_F(Desk, TakesIdsOfTextAndNumber)
{
    const std::string longest(64, 'x');
    const std::string ids[] = {"\"" + longest + "\"", R"("Schütz 1")", "0", "-5", "18446744073709551615", R"("0")"};
    for (const std::string &id : ids) {
        take("{\"id\":" + id + ",\"rebirth\":true}");
        const CommandAnswer last = answer();
        EXPECT_EQ(last.result, Result::Rebirth) << id;
        EXPECT_EQ(last.isNumbered ? last.id : "\"" + last.id + "\"", id);
    }
}

TEST_F(Desk, RefusesByAge)
{
    const auto send = [this](const std::string &id, Epoch sent) {
        take(R"({"id":")" + id + R"(","ts":)" + std::to_string(sent) + R"(,"set":{"sp":1}})");
    };
    send("old", now - 30001);
    EXPECT_EQ(refusal(Failure::TooOld).id, "old");
    send("future", now + 30001);
    EXPECT_NE(refusal(Failure::TooOld).message.find("future"), std::string::npos);
    send("verylong", 0);
    refusal(Failure::TooOld);
    take(R"({"id":"float","ts":-1e300,"set":{"sp":1}})");
    refusal(Failure::TooOld);
    take(R"({"id":"rebirth","ts":0,"rebirth":true})");
    refusal(Failure::TooOld);
    EXPECT_FALSE(running().takeRebirth());
    send("justold", now - 30000);
    send("justnot", now + 30000);
    EXPECT_TRUE(isSilent());
    EXPECT_EQ(orders.waiting(), 1u); // the newer one took the place of the other
}

/// The one before may have carried it out, and nobody knows its ids any more.
TEST_F(Desk, RefusesWhatWasSentBeforeItBegan)
{
    const std::string before = commandText("a", R"("sp":1)");
    now += 1;
    start(false, now);
    take(before);
    const CommandAnswer last = refusal(Failure::TooOld);
    EXPECT_EQ(last.id, "a");
    EXPECT_NE(last.message.find("before this gateway began"), std::string::npos) << last.message;
    take(R"({"id":"r","ts":)" + std::to_string(now - 1) + R"(,"rebirth":true})");
    EXPECT_EQ(answer().result, Result::Rebirth);
    ordered(R"("sp":1)");
    settings.commands.longestAge = 0s;
    take(R"({"id":"b","ts":)" + std::to_string(now - 1) + R"(,"set":{"sp":2}})");
    EXPECT_TRUE(orders.hasOrders());
}

TEST_F(Desk, HasBegunByTheClockAsItIsNow)
{
    start(false, now);
    now -= 60000; // set back
    ordered(R"("sp":1)");
}

TEST_F(Desk, LooksAtNoAgeIfTheLimitIsZero)
{
    settings.commands.longestAge = 0s;
    take(R"({"id":"a","ts":0,"set":{"sp":1}})");
    EXPECT_EQ(orders.waiting(), 1u);
    take(R"({"id":"b","set":{"heats":true}})");
    EXPECT_EQ(orders.waiting(), 2u);
    take(R"({"id":"c","ts":"x","set":{"heats":true}})");
    EXPECT_EQ(answer().failure, Failure::NotJson);
}

TEST_F(Desk, WritesNothingIfReadOnly)
{
    start(true);
    refusalOf(R"("sp":1)", Failure::ReadOnly);
    refusalOf(R"("nonsense":1)", Failure::ReadOnly);
    take(R"({"id":"r","rebirth":true})");
    EXPECT_EQ(answer().result, Result::Rebirth);
}

TEST_F(Desk, RefusesUnknownTagsWithASuggestion)
{
    const CommandAnswer last = refusalOf(R"("hets":1)", Failure::UnknownTag);
    ASSERT_EQ(last.tags.size(), 1u);
    EXPECT_EQ(last.tags[0].name, "hets");
    EXPECT_EQ(last.tags[0].result, Result::Refused);
    EXPECT_EQ(last.tags[0].failure, Failure::UnknownTag);
    EXPECT_NE(last.tags[0].message.find("did you mean 'heats'?"), std::string::npos) << last.tags[0].message;
    refusalOf(R"("":1)", Failure::UnknownTag);
    refusalOf(R"("SP":1)", Failure::UnknownTag);
}

TEST_F(Desk, RefusesTagsThatNobodyMayWrite)
{
    EXPECT_EQ(refusalOf(R"("temp":1)", Failure::NotAllowed).tags.at(0).name, "temp");
    refusalOf(R"("temp":"x")", Failure::NotAllowed);
}

TEST_F(Desk, RefusesValuesOfTheWrongType)
{
    for (const char *tags : {R"("sp":"1")",
                             R"("sp":true)",
                             R"("sp":null)",
                             R"("sp":[1])",
                             R"("sp":{})",
                             R"("heats":"true")",
                             R"("heats":2)",
                             R"("heats":0.5)",
                             R"("heats":null)",
                             R"("heats":[true])",
                             R"("recipe":1)",
                             R"("recipe":["A"])",
                             R"("recipe":true)",
                             R"("recipe":"ä")",
                             R"("recipe":"\n")",
                             R"("recipe":"\u0000")",
                             R"("zones":10)",
                             R"("zones":[])",
                             R"("zones":[10,20])",
                             R"("zones":[10,20,30,40])",
                             R"("zones":[10,20,"30"])",
                             R"("zones":"10,20,30")",
                             R"("gain":"nan")"})
        EXPECT_EQ(refusalOf(tags, Failure::WrongType).tags.size(), 1u) << tags;
}

TEST_F(Desk, RefusesValuesOutOfRange)
{
    for (const char *tags :
         {R"("sp":-0.5)", R"("sp":250.5)", R"("sp":1e300)", R"("zones":[9,10,10])", R"("zones":[10,10,101])",
          R"("gain":2e30)", R"("far":65536)", R"("recipe":"ABCDE")", R"("odd":-8)"})
        EXPECT_EQ(refusalOf(tags, Failure::OutOfRange).tags.size(), 1u) << tags;
}

TEST_F(Desk, RefusesValuesBetweenTwoSteps)
{
    for (const char *tags : {R"("sp":0.1)", R"("sp":0.25)", R"("odd":0)", R"("odd":13.5)",
                             R"("zones":[10,10.5,11])", R"("far":0.5)", R"("gain":16777217)"})
        EXPECT_EQ(refusalOf(tags, Failure::OffStep).tags.size(), 1u) << tags;
    const std::string message = refusalOf(R"("odd":5)", Failure::OffStep).message;
    EXPECT_NE(message.find("3 and 13"), std::string::npos) << message; // counted from -7
}

TEST_F(Desk, RefusesValuesOffTheRawStep)
{
    settings.tags[0].write->step = 0;
    const std::string message = refusalOf(R"("sp":12.34)", Failure::OffStep).message;
    EXPECT_NE(message.find("12.3 and 12.4"), std::string::npos) << message;
}

TEST_F(Desk, NamesEachWrongTagAndOrdersNone)
{
    const CommandAnswer last =
        refusalOf(R"("sp":999,"heats":true,"temp":1,"nonsense":2,"zones":5)", Failure::UnknownTag);
    std::map<std::string, Failure> wrong;
    for (const TagAnswer &tag : last.tags) {
        wrong[tag.name] = tag.failure;
        EXPECT_EQ(tag.result, Result::Refused);
        EXPECT_FALSE(tag.message.empty());
    }
    EXPECT_EQ(wrong, (std::map<std::string, Failure>{{"sp", Failure::OutOfRange},
                                                     {"temp", Failure::NotAllowed},
                                                     {"nonsense", Failure::UnknownTag},
                                                     {"zones", Failure::WrongType}}));
    EXPECT_EQ(running().failures(Failure::UnknownTag), 1u); // a command counts once
    EXPECT_EQ(running().failures(Failure::OutOfRange), 0u);
}

TEST_F(Desk, RefusesMoreThanTheRate)
{
    settings.commands.mostPerMinute = 3;
    const auto send = [this] { set("id" + std::to_string(++lastId), R"("sp":1)"); };
    for (int i = 0; i < 3; ++i)
        send();
    EXPECT_EQ(orders.waiting(), 1u);
    running().step(now, steady);
    while (!isSilent())
        running().dropAnswer(); // superseded
    orders.take();
    refusalOf(R"("nonsense":1)", Failure::UnknownTag); // looked at before
    refusalOf(R"("sp":1)", Failure::TooMany);
    pass(19999ms);
    refusalOf(R"("sp":1)", Failure::TooMany);
    pass(1ms); // a third of a minute
    send();
    EXPECT_EQ(orders.waiting(), 1u);
    orders.take();
    refusalOf(R"("sp":1)", Failure::TooMany);
}

TEST_F(Desk, KeepsNoMoreThanAMinutesRateForLater)
{
    settings.commands.mostPerMinute = 2;
    pass(24h);
    for (int i = 0; i < 2; ++i)
        ordered(R"("sp":1)");
    refusalOf(R"("sp":1)", Failure::TooMany);
}

TEST_F(Desk, RefusesRebirthsBeyondTheRate)
{
    settings.commands.mostPerMinute = 1;
    take(R"({"id":1,"rebirth":true})");
    EXPECT_EQ(answer().result, Result::Rebirth);
    EXPECT_TRUE(running().takeRebirth());
    take(R"({"id":2,"rebirth":true})");
    refusal(Failure::TooMany);
    EXPECT_FALSE(running().takeRebirth());
}

TEST_F(Desk, RefusesWhileTheLinkIsDown)
{
    line.isUp = false;
    line.stations = {{1, false}};
    EXPECT_TRUE(refusalOf(R"("sp":1)", Failure::LinkDown).tags.empty());
    refusalOf(R"("sp":999)", Failure::OutOfRange); // looked at before
    take(R"({"id":1,"rebirth":true})");
    EXPECT_EQ(answer().result, Result::Rebirth);
}

TEST_F(Desk, RefusesWhileAStationIsDown)
{
    line.stations[12] = false;
    const CommandAnswer last = refusalOf(R"("sp":1,"far":1)", Failure::StationDown);
    ASSERT_EQ(last.tags.size(), 1u);
    EXPECT_EQ(last.tags[0].name, "far");
    EXPECT_EQ(last.tags[0].failure, Failure::StationDown);
    line.stations.erase(12); // not answered yet
    refusalOf(R"("far":1)", Failure::StationDown);
    ordered(R"("sp":1)");
}

TEST_F(Desk, RefusesWhenTooManyWait)
{
    // One tag under way each, for what waits would be superseded.
    std::vector<Order> underWay;
    int sent = 0;
    for (; sent < 100000 && isSilent(); ++sent) {
        set("w" + std::to_string(sent), R"("sp":1)");
        if (const std::optional<Order> order = orders.take())
            underWay.push_back(*order);
    }
    refusal(Failure::TooMany);
    EXPECT_EQ(underWay.size(), std::size_t(sent - 1));
    finish(underWay.back(), {WriteResult::Verified});
    EXPECT_EQ(answer().result, Result::Verified);
    ordered(R"("sp":1)"); // there is room again
}

// ---- what became of it

struct Fate {
    WriteResult written;
    Result result;
    Failure failure;
};

TEST_F(Desk, AnswersForEachEndOfAWrite)
{
    const Fate fates[] = {{WriteResult::Verified, Result::Verified, Failure::None},
                          {WriteResult::Different, Result::Failed, Failure::Different},
                          {WriteResult::Written, Result::Failed, Failure::NotRead},
                          {WriteResult::Refused, Result::Failed, Failure::DeviceRefused},
                          {WriteResult::NotAcknowledged, Result::Failed, Failure::NotAcknowledged},
                          {WriteResult::Unknown, Result::Failed, Failure::NotAcknowledged},
                          {WriteResult::NotSent, Result::Failed, Failure::NotSent}};
    for (const Fate &fate : fates) {
        const quint64 before = running().failures(fate.failure);
        set(keyOf(fate.written), R"("sp":1)");
        finishNext({fate.written});
        const CommandAnswer last = answer();
        EXPECT_EQ(last.id, keyOf(fate.written));
        EXPECT_EQ(last.result, fate.result);
        EXPECT_EQ(last.failure, fate.failure);
        ASSERT_EQ(last.tags.size(), 1u);
        EXPECT_EQ(last.tags[0].result, fate.result);
        EXPECT_EQ(last.tags[0].failure, fate.failure);
        EXPECT_EQ(last.tags[0].message.empty(), fate.failure == Failure::None);
        const bool isHeld = fate.written == WriteResult::Verified || fate.written == WriteResult::Different;
        EXPECT_EQ(last.tags[0].held.has_value(), isHeld);
        EXPECT_EQ(running().failures(fate.failure), before + (fate.failure != Failure::None));
    }
}

TEST_F(Desk, AnswersThatTheLinkWasLostBeforeAnythingWasSent)
{
    set("a", R"("sp":1,"heats":true)");
    const std::optional<Order> order = orders.take();
    ASSERT_TRUE(order);
    OrderEnd end;
    end.number = order->number;
    end.isLinkLost = true;
    orders.finish(end);
    pass(0ms);
    const CommandAnswer last = answer();
    EXPECT_EQ(last.result, Result::Failed);
    EXPECT_EQ(last.failure, Failure::LinkDown);
    ASSERT_EQ(last.tags.size(), 2u);
    EXPECT_EQ(last.tags[1].failure, Failure::LinkDown);
    EXPECT_NE(last.message.find("the link to the controllers was lost"), std::string::npos) << last.message;
}

TEST_F(Desk, AnswersForEachTagOfAFailedCommand)
{
    set("a", R"("sp":1,"heats":true,"recipe":"A")");
    finishNext({WriteResult::Verified, WriteResult::Refused, WriteResult::NotSent});
    const CommandAnswer last = answer();
    EXPECT_EQ(last.result, Result::Failed);
    EXPECT_EQ(last.failure, Failure::DeviceRefused); // the cause of what was not sent
    ASSERT_EQ(last.tags.size(), 3u);
    EXPECT_EQ(last.tags[0].result, Result::Verified);
    EXPECT_EQ(last.tags[1].failure, Failure::DeviceRefused);
    EXPECT_EQ(last.tags[2].failure, Failure::NotSent);
    EXPECT_EQ(running().failures(Failure::DeviceRefused), 1u);
    EXPECT_EQ(running().failures(Failure::NotSent), 0u);
}

TEST_F(Desk, AnswersThatANewerCommandTookThePlace)
{
    set("old", R"("sp":1,"heats":true)");
    set("new", R"("sp":2,"heats":false)");
    running().step(now, steady);
    const CommandAnswer last = answer();
    EXPECT_EQ(last.id, "old");
    EXPECT_EQ(last.result, Result::Superseded);
    EXPECT_EQ(last.failure, Failure::None);
    ASSERT_EQ(last.tags.size(), 2u);
    EXPECT_EQ(last.tags[0].result, Result::Superseded);
    EXPECT_EQ(last.tags[1].result, Result::Superseded);
    finishNext({WriteResult::Verified, WriteResult::Verified});
    EXPECT_EQ(answer().id, "new");
    EXPECT_FALSE(orders.hasOrders());
}

TEST_F(Desk, AnswersForTheRestOfACommandThatIsPartlySuperseded)
{
    set("old", R"("sp":1,"heats":true)");
    set("new", R"("sp":2)");
    running().step(now, steady);
    EXPECT_TRUE(isSilent());
    finishNext({WriteResult::Verified}); // of the old one, the bit only
    const CommandAnswer last = answer();
    EXPECT_EQ(last.id, "old");
    EXPECT_EQ(last.result, Result::Verified);
    ASSERT_EQ(last.tags.size(), 2u);
    EXPECT_EQ(last.tags[0].result, Result::Superseded);
    EXPECT_FALSE(last.tags[0].held);
    EXPECT_EQ(last.tags[1].result, Result::Verified);
}

TEST_F(Desk, TakesBackWhatHasNotBegunInTime)
{
    set("a", R"("sp":1)");
    pass(29999ms);
    EXPECT_TRUE(isSilent());
    EXPECT_TRUE(orders.hasOrders());
    pass(1ms);
    const CommandAnswer last = answer();
    EXPECT_EQ(last.result, Result::Expired);
    EXPECT_EQ(last.failure, Failure::TooOld);
    EXPECT_EQ(last.tags.at(0).result, Result::Expired);
    EXPECT_EQ(running().failures(Failure::TooOld), 1u);
    EXPECT_FALSE(orders.hasOrders());
    pass(24h);
    EXPECT_TRUE(isSilent());
}

TEST_F(Desk, TellsWhenSomethingHasWaitedTooLong)
{
    EXPECT_EQ(running().nextLimit(), milliseconds::max());
    set("a", R"("sp":1)");
    pass(1000ms);
    take(R"({"id":"b","ts":)" + std::to_string(now - 20000) + R"(,"set":{"heats":1}})");
    set("c", R"("gain":1)");
    EXPECT_EQ(running().nextLimit(), steady + 10000ms);
    const std::optional<Order> order = orders.take();
    pass(10000ms);
    EXPECT_EQ(answer().id, "b");
    EXPECT_EQ(running().nextLimit(), steady + 19000ms);
    pass(19000ms);
    EXPECT_EQ(running().nextLimit(), steady + 1000ms) << "the first one has begun";
    pass(1000ms);
    EXPECT_EQ(answer().id, "c");
    EXPECT_EQ(running().nextLimit(), milliseconds::max());
    ASSERT_TRUE(order);
    finish(*order, {WriteResult::Verified});
    EXPECT_EQ(answer().id, "a");
}

TEST_F(Desk, CountsTheAgeFromTheSendersTime)
{
    take(R"({"id":"a","ts":)" + std::to_string(now - 20000) + R"(,"set":{"sp":1}})");
    take(R"({"id":"b","ts":)" + std::to_string(now + 20000) +
         R"(,"set":{"heats":1}})"); // no more time for a fast one
    pass(9999ms);
    EXPECT_TRUE(isSilent());
    pass(1ms);
    EXPECT_EQ(answer().id, "a");
    pass(20000ms);
    EXPECT_EQ(answer().id, "b");
}

TEST_F(Desk, LetsWhatHasBegunGoOn)
{
    set("a", R"("sp":1)");
    const std::optional<Order> order = orders.take();
    ASSERT_TRUE(order);
    pass(24h);
    EXPECT_TRUE(isSilent());
    finish(*order, {WriteResult::NotSent});
    EXPECT_EQ(answer().failure, Failure::NotSent);
}

TEST_F(Desk, TakesBackWithoutALimitOfAgeToo)
{
    settings.commands.longestAge = 0s;
    set("a", R"("sp":1)");
    pass(29999ms);
    EXPECT_TRUE(isSilent());
    pass(1ms);
    EXPECT_EQ(answer().result, Result::Expired);
}

// ---- other settings

TEST_F(Desk, GoesOnWhereItWasWithOtherSettings)
{
    set("old", R"("heats":true)");
    const std::optional<Order> first = orders.take();
    set("due", R"("heats":1,"sp":999)");
    set("waits", R"("gain":1)");
    ASSERT_TRUE(first);
    const GatewaySettings others =
        gatewaySettings({"oven"}, {writableTag(gatewayTag("pump", "2:7:bit"), {0, 1, 0}),
                                   writableTag(gatewayTag("speed", "5:9:u16"), {0, 100, 0})});
    running().changeSettings(others, true);
    EXPECT_EQ(answer().id, "due");
    EXPECT_FALSE(orders.hasOrders());
    pass(0ms);
    EXPECT_EQ(running().answers().front().failure, Failure::NotSent);
    EXPECT_EQ(running().answers().front().tags.at(0).name, "gain");
    EXPECT_EQ(answer().id, "waits");
    set("new", R"("speed":77)");
    const std::optional<Order> second = orders.take();
    ASSERT_TRUE(second);
    EXPECT_NE(second->number, first->number);
    finish(*first, {WriteResult::Verified});
    CommandAnswer last = answer();
    EXPECT_EQ(last.id, "old");
    ASSERT_EQ(last.tags.size(), 1u);
    EXPECT_EQ(last.tags[0].name, "heats");
    EXPECT_EQ(last.tags[0].held->tag.variable.address, 5);
    EXPECT_EQ(last.tags[0].held->values, std::vector<quint32>{1});
    finish(*second, {WriteResult::Verified});
    last = answer();
    EXPECT_EQ(last.id, "new");
    EXPECT_EQ(last.tags.at(0).held->values, std::vector<quint32>{77});
    set("old", R"("pump":true)"); // known still
    EXPECT_EQ(answer().tags.at(0).name, "heats");
    EXPECT_FALSE(orders.hasOrders());
    EXPECT_EQ(running().commands(), 5u);
    EXPECT_EQ(running().failures(Failure::OutOfRange), 1u);
    refusalOf(R"("sp":1)", Failure::UnknownTag);
}

TEST_F(Desk, LeavesWhatWaitsWhereItIsIfTheTagsAreTheSame)
{
    set("a", R"("sp":1)");
    const GatewaySettings others = settings;
    running().changeSettings(others, false);
    finishNext({WriteResult::Verified});
    EXPECT_EQ(answer().result, Result::Verified);
}

TEST_F(Desk, CountsWhatWasSpentAgainstAnotherRate)
{
    settings.commands.mostPerMinute = 3;
    for (int i = 0; i < 3; ++i)
        ordered(R"("sp":1)");
    GatewaySettings others = settings;
    others.commands.mostPerMinute = 2;
    running().changeSettings(others, false);
    refusalOf(R"("sp":1)", Failure::TooMany);
    others.commands.mostPerMinute = 4;
    running().changeSettings(others, false);
    ordered(R"("sp":1)");
    refusalOf(R"("sp":1)", Failure::TooMany);
}

// ---- ids

TEST_F(Desk, GivesARepeatedIdTheSameAnswerWithoutAWrite)
{
    set("a", R"("sp":1)");
    finishNext({WriteResult::Different});
    const CommandAnswer first = answer();
    pass(5s);
    set("a", R"("sp":2)");
    const CommandAnswer again = answer();
    EXPECT_FALSE(orders.hasOrders());
    EXPECT_EQ(again.id, first.id);
    EXPECT_EQ(again.result, first.result);
    EXPECT_EQ(again.failure, first.failure);
    EXPECT_EQ(again.message, first.message);
    EXPECT_EQ(again.time, first.time);
    ASSERT_EQ(again.tags.size(), 1u);
    EXPECT_EQ(again.tags[0].held->values, first.tags[0].held->values);
    EXPECT_EQ(running().commands(), 2u);
    EXPECT_EQ(running().failures(Failure::Different), 1u);
}

TEST_F(Desk, GivesARefusedIdTheSameAnswerOnceItWouldBeTaken)
{
    line.isUp = false;
    set("a", R"("sp":1)");
    EXPECT_EQ(answer().failure, Failure::LinkDown);
    line.isUp = true;
    set("a", R"("sp":1)");
    EXPECT_EQ(answer().failure, Failure::LinkDown);
    take(R"({"id":"a","nonsense":1})");
    EXPECT_EQ(answer().failure, Failure::LinkDown);
    EXPECT_FALSE(orders.hasOrders());
    EXPECT_EQ(running().failures(Failure::LinkDown), 1u);
}

TEST_F(Desk, AcceptsAnIdThatIsUnderWayWithoutASecondWrite)
{
    set("a", R"("sp":1)");
    for (int i = 0; i < 3; ++i) {
        set("a", R"("sp":1)");
        EXPECT_EQ(orders.waiting(), 1u);
    }
    EXPECT_EQ(answer().result, Result::Accepted); // once, until it is dropped
    set("a", R"("sp":1)");
    EXPECT_EQ(answer().result, Result::Accepted);
    finishNext({WriteResult::Verified});
    EXPECT_EQ(answer().result, Result::Verified);
    EXPECT_FALSE(orders.hasOrders());
}

TEST_F(Desk, AnswersOnceWhatWaitsToBeSent)
{
    set("a", R"("sp":999)");
    for (int i = 0; i < 5000; ++i)
        set("a", R"("sp":999)");
    EXPECT_EQ(running().answers().size(), 1u);
    EXPECT_EQ(running().answersDropped(), 0u);
}

TEST_F(Desk, TellsNumbersAndTextsApart)
{
    take(R"({"id":5,"rebirth":true})");
    EXPECT_TRUE(running().takeRebirth());
    EXPECT_TRUE(answer().isNumbered);
    take(R"({"id":"5","rebirth":true})");
    EXPECT_TRUE(running().takeRebirth());
    EXPECT_FALSE(answer().isNumbered);
    take(R"({"id":5,"rebirth":true})");
    EXPECT_FALSE(running().takeRebirth());
    EXPECT_TRUE(answer().isNumbered);
}

TEST_F(Desk, KnowsTheLastThousandIds)
{
    const auto ask = [this](int id) {
        take(R"({"id":)" + std::to_string(id) + R"(,"rebirth":true})");
        EXPECT_EQ(answer().result, Result::Rebirth);
        return running().takeRebirth();
    };
    for (int id = 0; id < 1000; ++id)
        EXPECT_TRUE(ask(id));
    for (int id = 0; id < 1000; ++id)
        EXPECT_FALSE(ask(id)) << id;
}

TEST_F(Desk, StaysBoundedWithTenThousandIds)
{
    set("kept", R"("heats":true)"); // under way all the time
    const std::optional<Order> order = orders.take();
    for (int id = 0; id < 10000; ++id)
        take(R"({"id":)" + std::to_string(id) + R"(,"ts":0,"set":{"sp":1}})");
    EXPECT_EQ(running().answers().size(), 1000u);
    EXPECT_EQ(running().answersDropped(), 9000u);
    EXPECT_EQ(running().answers().front().id, "0"); // may be on its way
    EXPECT_EQ(running().answers()[1].id, "9001");
    EXPECT_EQ(running().answers().back().id, "9999");
    EXPECT_EQ(running().failures(Failure::TooOld), 10000u);
    EXPECT_EQ(running().commands(), 10001u);
    while (!isSilent())
        running().dropAnswer();
    set("kept", R"("heats":true)");
    EXPECT_EQ(answer().result, Result::Accepted);
    EXPECT_FALSE(orders.hasOrders());
    ASSERT_TRUE(order);
    finish(*order, {WriteResult::Verified});
    EXPECT_EQ(answer().id, "kept");
    take(R"({"id":0,"rebirth":true})"); // long forgotten
    EXPECT_EQ(answer().result, Result::Rebirth);
}

// ---- rebirth

TEST_F(Desk, AnswersARebirthAndTellsOfItOnce)
{
    EXPECT_FALSE(running().takeRebirth());
    take(R"({"id":"r","rebirth":true})");
    const CommandAnswer last = answer();
    EXPECT_EQ(last.id, "r");
    EXPECT_EQ(last.result, Result::Rebirth);
    EXPECT_EQ(last.failure, Failure::None);
    EXPECT_TRUE(running().takeRebirth());
    EXPECT_FALSE(running().takeRebirth());
    EXPECT_FALSE(orders.hasOrders());
}

TEST_F(Desk, NamesNothingUnprintableInItsMessages)
{
    take(R"({"id":"a","\n\u001b[31m":1})");
    EXPECT_EQ(refusal(Failure::NotJson).message.find_first_of("\n\x1b"), std::string::npos);
    const std::string message =
        refusalOf(R"("\n\u001b[31m)" + std::string(5000, 'x') + R"(":1)", Failure::UnknownTag).message;
    EXPECT_EQ(message.find_first_of("\n\x1b"), std::string::npos);
    EXPECT_LT(message.size(), 200u);
}

} // namespace
