// fgs read against a controller of the tests' own: what is shown is what was sent, and what is asked for ends.
#include "on_links.h"
#include "rows.h"
#include "support/texts.h"

#include <gtest/gtest.h>
#include <QtCore/QJsonArray>

namespace
{

/// Fails unless the object has all values of the controller.
void expectHeldValues(const OwnController &controller, const QJsonObject &object)
{
    const auto number = [&object](const char *name) { return object.value(QLatin1String(name)).toInt(); };
    const QJsonArray values = object.value(QStringLiteral("values")).toArray();
    ASSERT_EQ(values.size(), number("count"));
    int wrong = 0;
    for (int i = 0; i < values.size(); ++i)
        wrong += values.at(i).toDouble() !=
                 controller.held(number("station"), number("area"), number("wireAddress") + i);
    EXPECT_EQ(wrong, 0) << object.value(QStringLiteral("variable")).toString().toStdString();
}

void expectWholeRead(OwnController &controller, const char *command, size_t variables, size_t mostRequests)
{
    const Result result = runFgs(command, controller.link());
    EXPECT_EQ(result.code, 0) << result.messages.toStdString();
    const std::vector<QJsonObject> objects = readings(result);
    ASSERT_EQ(objects.size(), variables);
    for (const QJsonObject &object : objects)
        expectHeldValues(controller, object);
    EXPECT_LE(controller.log().size(), mostRequests);
}

// A block of bits has at most 248 of them, a request at most six blocks: 265 blocks for each area.
TEST(BigReads, End)
{
    OwnController controller;
    expectWholeRead(controller, "read L 1:0x65535 2:0x65535 3:0x65535 4:0x65535 --json", 4, 4 * 265);
}

TEST(BigReads, EndWithSmallBlocksToo)
{
    OwnController controller;
    expectWholeRead(controller, "read L 1:0x65535 --block 4 --json", 1, 65536 / 32);
}

TEST(BigReads, EndWithEveryKind)
{
    OwnController controller;
    expectWholeRead(controller, "read L 5:0x65535 10:0x65535 9:0x65535@2 --json", 3, 3 * 1025);
}

TEST(BigReads, HaveTheirLineAsText)
{
    OwnController controller;
    const Result result = runFgs("read L 2:0x65535", controller.link());
    EXPECT_EQ(result.code, 0);
    ASSERT_EQ(rowsOf(result).size(), 1u);
    EXPECT_EQ(rowsOf(result)[0].wire, "wire 0x02:0..65534");
    EXPECT_EQ(rowsOf(result)[0].content.size(), 2u * 65535 - 1);
}

QString scattered(int area, int count)
{
    QString line = QStringLiteral("read L --json");
    for (int i = 0; i < count; ++i)
        line += QStringLiteral(" %1:%2").arg(area).arg(i * 300);
    return line;
}

TEST(FewRequests, ServeScatteredBits)
{
    for (int area : {2, 3, 4, 11, 5}) {
        OwnController controller;
        expectWholeRead(controller, scattered(area, 20).toLatin1().constData(), 20, 4);
    }
}

TEST(FewRequests, ServeAllAreas)
{
    OwnController controller;
    expectWholeRead(controller, "read L 0:0 1:1 2:2 3:3 4:4 5:5 6:6 7:7 8:8 9:9 10:10 11:11 12:4 13:5 --json", 14,
                    3);
}

TEST(ReadLines, ShowPlaceKindRangeAndValues)
{
    OwnController controller;
    controller.hold(1, 5, 100, 1234);
    controller.hold(1, 5, 101, 4321);
    controller.hold(2, 0, 15, 1);
    controller.hold(1, 10, 5, 4294967295u);
    const Result result = runFgs("read L 5:100x2 0:17@2 10:5 5:0x64", controller.link());
    EXPECT_EQ(result.code, 0);
    const std::vector<Row> rows = rowsOf(result);
    ASSERT_EQ(rows.size(), 4u);
    const auto text = [&rows](size_t i) { return rows[i].place + "|" + rows[i].kind + "|" + rows[i].wire; };
    EXPECT_EQ(text(0), "5:100x2@1|word|wire 0x08:100..101");
    EXPECT_EQ(text(1), "0:17@2|bit|wire 0x00:15");
    EXPECT_EQ(text(2), "10:5@1|double word|wire 0x13:5");
    EXPECT_EQ(text(3), "5:0x64@1|word|wire 0x08:0..63");
    EXPECT_EQ(rows[0].content + "|" + rows[1].content + "|" + rows[2].content, "1234 4321|1|4294967295");
    EXPECT_EQ(rows[0].seconds, "");
}

TEST(ReadObjects, TellEverything)
{
    OwnController controller;
    controller.hold(1, 5, 100, 1234);
    controller.hold(1, 5, 101, 4321);
    const Result result = runFgs("read L 5:100x2 --json", controller.link());
    ASSERT_EQ(readings(result).size(), 1u);
    const QJsonObject object = readings(result)[0];
    QJsonObject expected = {{QStringLiteral("variable"), QStringLiteral("5:100x2@1")},
                            {QStringLiteral("area"), 5},
                            {QStringLiteral("kind"), QStringLiteral("word")},
                            {QStringLiteral("station"), 1},
                            {QStringLiteral("wireCode"), 8},
                            {QStringLiteral("wireAddress"), 100},
                            {QStringLiteral("count"), 2},
                            {QStringLiteral("values"), QJsonArray{1234, 4321}},
                            {QStringLiteral("quality"), QStringLiteral("good")},
                            {QStringLiteral("time"), object.value(QStringLiteral("time"))},
                            {QStringLiteral("ageMs"), object.value(QStringLiteral("ageMs"))}};
    EXPECT_EQ(object, expected) << result.out.toStdString();
    EXPECT_TRUE(isWall(object.value(QStringLiteral("time")).toString()));
    EXPECT_GE(object.value(QStringLiteral("ageMs")).toDouble(-1), 0);
    EXPECT_TRUE(isWall(result.summary().value(QStringLiteral("start")).toString()));
    EXPECT_TRUE(isWall(result.summary().value(QStringLiteral("end")).toString()));
    EXPECT_EQ(result.summary().value(QStringLiteral("linkLost")), QJsonValue(0));
}

struct Shape {
    const char *variable;
    const char *format;
    quint32 value;
    const char *json;
    const char *text;
};
void PrintTo(const Shape &row, std::ostream *out)
{
    *out << row.variable << ' ' << row.format << ' ' << row.json;
}

class Formats : public ::testing::TestWithParam<Shape>
{
};

TEST_P(Formats, AreTheSameNumberInTextAndJson)
{
    const Shape &shape = GetParam();
    OwnController controller;
    for (int area : {2, 5, 10})
        controller.hold(1, area, 7, shape.value);
    const QString command =
        QStringLiteral("read L %1 --format %2").arg(QLatin1String(shape.variable), QLatin1String(shape.format));
    EXPECT_EQ(contentsOf(runFgs(command.toLatin1().constData(), controller.link())), Texts{shape.text});
    const Result json = runFgs((command + QLatin1String(" --json")).toLatin1().constData(), controller.link());
    const QString values = QStringLiteral("\"values\":[%1]").arg(QLatin1String(shape.json));
    EXPECT_TRUE(contains(json.lines().value(0), values)) << json.out.toStdString();
    EXPECT_EQ(readings(json).size(), 1u);
}

INSTANTIATE_TEST_SUITE_P(Values, Formats,
                         ::testing::Values(Shape{"2:7", "hex", 1, "1", "1"},
                                           Shape{"5:7", "hex", 0x04D2, "\"0x04d2\"", "0x04d2"},
                                           Shape{"10:7", "hex", 0x1234ABCD, "\"0x1234abcd\"", "0x1234abcd"},
                                           Shape{"5:7", "signed", 0xFFFF, "-1", "-1"},
                                           Shape{"10:7", "dec", 0xFFFFFFFF, "4294967295", "4294967295"},
                                           Shape{"10:7", "signed", 0x80000000, "-2147483648", "-2147483648"},
                                           Shape{"10:7", "float", 0x41480000, "12.5", "12.5"},
                                           Shape{"10:7", "float", 0x80000000, "-0.0", "-0"},
                                           Shape{"10:7", "float", 0x7F800000, "\"inf\"", "inf"},
                                           Shape{"10:7", "float", 0xFF800000, "\"-inf\"", "-inf"},
                                           Shape{"10:7", "float", 0x7FC00000, "\"nan\"", "nan"},
                                           Shape{"5:7", "float", 12, "12", "12"}));

// ---- what comes instead of an answer

struct Fault {
    const char *name;
    Script script;
    const char *content;
    const char *reason;
    int code;
};
void PrintTo(const Fault &row, std::ostream *out)
{
    *out << row.name;
}

class BadAnswers : public ::testing::TestWithParam<Fault>
{
};

#define FEW "--timeout 1000 --late 50 --retries 1"

TEST_P(BadAnswers, AreCalledWhatTheyAre)
{
    OwnController controller(GetParam().script);
    const Result text = runFgs("read L 5:100x10 " FEW, controller.link());
    EXPECT_EQ(contentsOf(text), Texts{GetParam().content});
    EXPECT_EQ(text.code, GetParam().code);
    const Result json = runFgs("read L 5:100x10 --json " FEW, controller.link());
    EXPECT_EQ(json.code, GetParam().code);
    ASSERT_EQ(readings(json).size(), 1u);
    EXPECT_EQ(textsOf(readings(json), "reason"), Texts{GetParam().reason});
    EXPECT_EQ(textsOf(readings(json), "quality"), Texts{"unknown"});
    EXPECT_EQ(valuesOf(readings(json)[0]), "null");
    EXPECT_FALSE(readings(json)[0].contains(QStringLiteral("ageMs")));
}

Script always(Reply reply)
{
    return [reply](const Request &, const QByteArray &) { return reply; };
}

INSTANTIATE_TEST_SUITE_P(
    Kinds, BadAnswers,
    ::testing::Values(
        Fault{"silence", always(Silence), "-  no reply", "noReply", 4},
        Fault{"a part", [](const Request &, const QByteArray &good) { return Reply{good.left(12)}; },
              "-  incomplete: 12 of 27 bytes within 1000 ms; try --timeout or --block", "incomplete", 6},
        Fault{"another check code", [](const Request &, const QByteArray &good) { return badlyChecked(good); },
              "-  wrong check code", "badCheck", 6},
        Fault{"another station", [](const Request &, const QByteArray &good) { return answerOf(2, good); },
              "-  answer of another station", "otherStation", 6},
        Fault{"another question", always({wordsReply(1, 6, 10)}), "-  answer to another question", "otherReply", 6},
        Fault{"noise", always({QByteArray(20, 'U')}), "-  bytes that are no reply", "garbled", 6}));

TEST(BrokenOff, CountsItsBytesInJson)
{
    OwnController controller([](const Request &, const QByteArray &good) { return Reply{good.left(12)}; });
    const Result result = runFgs("read L 5:100x10 --json " FEW, controller.link());
    ASSERT_EQ(readings(result).size(), 1u);
    EXPECT_EQ(readings(result)[0].value(QStringLiteral("received")), QJsonValue(12));
    EXPECT_EQ(readings(result)[0].value(QStringLiteral("expected")), QJsonValue(27));
}

// ---- 'no reply' only for what was asked

class OnBothLinks : public OnLinks
{
};
ON_BOTH_LINKS(OnBothLinks);

TEST_P(OnBothLinks, ASilentStationIsNotSaidToBeSilentWhereItWasNotAsked)
{
    OwnController controller(
        [](const Request &request, const QByteArray &good) { return request.station == 2 ? Silence : Reply{good}; },
        GetParam());
    QString command = QStringLiteral("read L 5:0 " FEW);
    for (int i = 0; i < 20; ++i)
        command += QStringLiteral(" 5:%1@2").arg(i * 300);
    const Result result = runFgs(command.toLatin1().constData(), controller.link());
    EXPECT_EQ(result.code, 8);
    const Log log = controller.log();
    const Texts contents = contentsOf(result);
    ASSERT_EQ(contents.size(), 21u);
    int unasked = 0;
    for (int i = 0; i < 20; ++i) {
        SCOPED_TRACE(i);
        const bool asked = std::any_of(log.begin(), log.end(), [i](const Request &request) {
            return request.station == 2 && request.touches(5, i * 300);
        });
        unasked += !asked;
        EXPECT_EQ(contents[size_t(i) + 1], asked ? "-  no reply" : "-  not asked: the station does not answer");
    }
    EXPECT_GT(unasked, 0) << "a station that gives no answer at all is not asked for everything";
}

TEST_P(OnBothLinks, ASilentPlaceIsNamedAndItsNeighboursAreRead)
{
    OwnController controller(silentAt(5, 20000, 20000), GetParam());
    const char command[] = "read L 5:0 5:300 5:600 5:20000 5:900 10:5 --timeout 1000 --late 0";
    const Result text = runFgs(command, controller.link());
    EXPECT_EQ(text.code, 8);
    const auto value = [&controller](int area, int address) {
        return std::to_string(controller.held(1, area, address));
    };
    EXPECT_EQ(contentsOf(text),
              (Texts{value(5, 0), value(5, 300), value(5, 600), "-  5:20000@1 does not answer; its neighbours do",
                     value(5, 900), value(10, 5)}));
    const Result json = runFgs((std::string(command) + " --json").c_str(), controller.link());
    ASSERT_EQ(readings(json).size(), 6u);
    const QJsonObject culprit = readings(json)[3];
    EXPECT_EQ(culprit.value(QStringLiteral("reason")), QJsonValue(QStringLiteral("placeSilent")));
    EXPECT_EQ(culprit.value(QStringLiteral("places")), QJsonValue(QJsonArray{QStringLiteral("5:20000@1")}));
    EXPECT_EQ(valuesOf(culprit), "null");
}

TEST_P(OnBothLinks, ASilentPlaceIsNamedInTheMiddleOfAVariable)
{
    OwnController controller(silentAt(5, 20010, 20010), GetParam());
    const Result result = runFgs("read L 5:0 5:20000x20 --timeout 1000 --late 0", controller.link());
    EXPECT_EQ(result.code, 8);
    EXPECT_EQ(contentsOf(result),
              (Texts{std::to_string(controller.held(1, 5, 0)), "-  5:20010@1 does not answer; its neighbours do"}));
}

TEST_P(OnBothLinks, SilentPlacesInOneVariableAreAllNamed)
{
    OwnController controller(
        [](const Request &request, const QByteArray &good) {
            return request.touches(5, 20003) || request.touches(5, 20010) ? Silence : Reply{good};
        },
        GetParam());
    const Result result = runFgs("read L 5:0 5:20000x20 --timeout 1000 --late 0", controller.link());
    EXPECT_EQ(contentsOf(result), (Texts{std::to_string(controller.held(1, 5, 0)),
                                         "-  5:20003@1, 5:20010@1 do not answer; their neighbours do"}));
}

TEST_P(OnBothLinks, ASilentGapTakesNothingFromItsNeighbours)
{
    OwnController controller(silentAt(5, 10, 19), GetParam());
    const Result result = runFgs("read L 5:0x10 5:20x10 --json --timeout 1000 --late 0", controller.link());
    EXPECT_EQ(result.code, 0) << result.out.toStdString();
    ASSERT_EQ(readings(result).size(), 2u);
    for (const QJsonObject &object : readings(result))
        expectHeldValues(controller, object);
}

// ---- the link goes

class LostOnTheWay : public OnLinks
{
};
ON_BOTH_LINKS(LostOnTheWay);

TEST_P(LostOnTheWay, WhatHadComeIsPrinted)
{
    OwnController controller(obey, GetParam());
    controller.follow(
        [seen = 0](const Request &, const QByteArray &good) mutable { return ++seen > 1 ? Silence : Reply{good}; });
    QString command = QStringLiteral("read L --timeout 3600000");
    for (int i = 0; i < 20; ++i)
        command += QStringLiteral(" 5:%1").arg(i * 300);
    Program read(command.toLatin1().constData(), controller.link());
    controller.waitForRequests(2);
    const Log log = controller.log();
    controller.shutDoor();
    const Result result = read.wait();
    EXPECT_EQ(result.code, 3);
    const Texts contents = contentsOf(result);
    ASSERT_EQ(contents.size(), 20u);
    for (int i = 0; i < 20; ++i) {
        SCOPED_TRACE(i);
        const std::string value = std::to_string(controller.held(1, 5, i * 300));
        const std::string expected = log[0].touches(5, i * 300) ? value : "-  link lost";
        EXPECT_EQ(contents[size_t(i)].substr(0, contents[size_t(i)].find("  (stale")), expected);
    }
}

// ---- answers that come twice

Reply twice(const Request &, const QByteArray &good)
{
    return {good + good};
}

TEST(DoubledAnswers, AreToldOfAndDoNotSpoilTheValues)
{
    OwnController controller(twice);
    for (int address = 0; address < 768; ++address)
        controller.hold(1, 5, address, quint32(address));
    const Result json = runFgs("read L 5:0x768 --json", controller.link());
    EXPECT_EQ(json.code, 0);
    EXPECT_EQ(textsOf(events(json), "event"), Texts{"unaskedAnswers"});
    ASSERT_EQ(readings(json).size(), 1u);
    expectHeldValues(controller, readings(json)[0]);
    EXPECT_GT(json.summary().value(QStringLiteral("unaskedAnswers")).toInt(), 0);
    const Result text = runFgs("read L 5:0x768", controller.link());
    EXPECT_TRUE(text.messages.contains(QStringLiteral("bytes arrive that nobody asked for")));
    EXPECT_TRUE(text.messages.contains(QStringLiteral(" answers that nobody asked for")));
}

TEST(DeadStation, CostsItsTriesAndOneSample)
{
    OwnController controller([](const Request &, const QByteArray &) { return Silence; });
    const Result result =
        runFgs("read L 5:0x100 10:0x100 2:0x300 --timeout 50 --late 0 --block 16", controller.link());
    EXPECT_EQ(result.code, 4);
    EXPECT_EQ(controller.log().size(), 4u);
}

} // namespace
