// fgs write against a controller of the tests' own: a row for each assignment, and the truth in it.
#include "on_links.h"
#include "rows.h"
#include "support/texts.h"

#include <gtest/gtest.h>
#include <QtCore/QJsonArray>

namespace
{

#define FEW " --timeout 1000 --late 50 --retries 1"

/// A script whose memory is not changed: writes are answered with reply and not carried out.
Script untouchedWith(const QByteArray &reply)
{
    return [reply](const Request &request, const QByteArray &good) {
        return request.write ? Reply{reply, false, false} : Reply{good};
    };
}

struct Written {
    const char *name;
    Script script;
    const char *content;
    const char *result;
    const char *values;
    QJsonValue verified;
    int code;
};
void PrintTo(const Written &row, std::ostream *out)
{
    *out << row.name;
}

class OneWrite : public ::testing::TestWithParam<Written>
{
protected:
    void SetUp() override { NEEDS_SERIAL_PORTS(); }
    static Result written(const char *command)
    {
        OwnController controller(GetParam().script, OwnController::On::Pty); // a TCP connection may count as dead
        controller.hold(1, 5, 100, 5);
        controller.hold(1, 5, 101, 6);
        return runFgs(command, controller.link());
    }
};

TEST_P(OneWrite, HasItsRow)
{
    const Result result = written("write L 5:100=1234,4321" FEW);
    EXPECT_EQ(placesOf(result), Texts{"5:100x2@1"});
    EXPECT_EQ(contentsOf(result), Texts{GetParam().content});
    EXPECT_EQ(result.code, GetParam().code) << result.messages.toStdString();
}

TEST_P(OneWrite, HasItsObject)
{
    const Result result = written("write L 5:100=1234,4321 --json" FEW);
    EXPECT_EQ(result.code, GetParam().code);
    ASSERT_EQ(readings(result).size(), 1u);
    const QJsonObject object = readings(result)[0];
    EXPECT_EQ(textsOf({object}, "result"), Texts{GetParam().result});
    EXPECT_EQ(valuesOf(object), GetParam().values);
    EXPECT_EQ(object.value(QStringLiteral("assigned")), QJsonValue(QJsonArray{1234, 4321}));
    EXPECT_TRUE(object.contains(QStringLiteral("verified")));
    EXPECT_EQ(object.value(QStringLiteral("verified")), GetParam().verified);
}

/// Answers writes so, which are carried out.
Script acknowledging(const QByteArray &reply)
{
    return [reply](const Request &request, const QByteArray &good) { return Reply{request.write ? reply : good}; };
}

const QJsonValue NotKnown = QJsonValue::Null;
INSTANTIATE_TEST_SUITE_P(
    Results, OneWrite,
    ::testing::Values(
        Written{"good", obey, "1234 4321  written and verified", "verified", "1234,4321", true, 0},
        Written{"acknowledged and not done", untouchedWith("\x01\xFF\x20"),
                "5 6  written, but the controller holds other values (asked: 1234 4321)", "different", "5,6", false,
                7},
        Written{"reads are silent", forReads([](const Request &, const QByteArray &) { return Silence; }),
                "-  written, but not read back: no reply", "written", "null", NotKnown, 4},
        Written{"reads have a bad check code",
                forReads([](const Request &, const QByteArray &good) { return badlyChecked(good); }),
                "-  written, but not read back: wrong check code", "written", "null", NotKnown, 6},
        Written{"acknowledgement lost", acknowledging(QByteArray()),
                "1234 4321  not acknowledged (no reply); the controller holds the new values", "notAcknowledged",
                "1234,4321", true, 4},
        Written{"write lost", untouchedWith(QByteArray()),
                "5 6  not acknowledged (no reply); the controller holds other values (asked: 1234 4321)",
                "notAcknowledged", "5,6", false, 4},
        Written{"silent", [](const Request &, const QByteArray &) { return Ignorance; },
                "-  not acknowledged (no reply), and not read back: no reply", "notAcknowledged", "null", NotKnown,
                4},
        Written{"acknowledgement of another station", acknowledging("\x02\xFF\x20"),
                "1234 4321  not acknowledged (answer of another station); the controller holds the new values",
                "notAcknowledged", "1234,4321", true, 6},
        Written{"a part of an acknowledgement", acknowledging("\x01\xFF"),
                "1234 4321  not acknowledged (incomplete: 2 of 3 bytes within 1000 ms; try --timeout or --block); "
                "the controller holds the new values",
                "notAcknowledged", "1234,4321", true, 6},
        Written{"noise", acknowledging("UUU"),
                "1234 4321  not acknowledged (bytes that are no reply); the controller holds the new values",
                "notAcknowledged", "1234,4321", true, 6}));

Reply refusing(const Request &request, const QByteArray &good)
{
    return request.write ? refuse(request) : Reply{good};
}

TEST(RefusedWrite, IsCalledSo)
{
    OwnController controller(refusing);
    controller.hold(1, 5, 100, 5);
    const Result result = runFgs("write L 5:100=7" FEW, controller.link());
    EXPECT_EQ(result.code, 5);
    const Texts contents = contentsOf(result);
    ASSERT_EQ(contents.size(), 1u);
    EXPECT_TRUE(contents[0] == "5  refused by the controller" || contents[0] == "-  refused by the controller")
        << contents[0];
}

TEST(RefusedWrite, EndsTheCommandWithARowForEach)
{
    OwnController controller(fromWrite(2, refusing));
    const Result result = runFgs("write L 5:100=7 5:200=8 5:300=9 --json" FEW, controller.link());
    EXPECT_EQ(result.code, 5);
    EXPECT_EQ(textsOf(readings(result), "variable"), (Texts{"5:100@1", "5:200@1", "5:300@1"}));
    EXPECT_EQ(textsOf(readings(result), "result"), (Texts{"verified", "refused", "notSent"}));
    for (const Request &request : controller.writes())
        EXPECT_FALSE(request.touches(5, 300));
}

TEST(LostAcknowledgement, HasItsRowBetweenTheOthers)
{
    OwnController controller([](const Request &request, const QByteArray &good) {
        return request.write && request.touches(5, 200) ? Silence : Reply{good};
    });
    const Result result = runFgs("write L 5:100=1 5:200=2 5:300=3" FEW, controller.link());
    EXPECT_EQ(result.code, 4);
    EXPECT_EQ(placesOf(result), (Texts{"5:100@1", "5:200@1", "5:300@1"}));
    EXPECT_EQ(contentsOf(result),
              (Texts{"1  written and verified",
                     "2  not acknowledged (no reply); the controller holds the new values", "-  not sent"}));
}

// A bit goes out in a frame of its own.
TEST(LongAssignment, IsOneResult)
{
    OwnController controller(fromWrite(
        2, [](const Request &request, const QByteArray &good) { return request.write ? Ignorance : Reply{good}; }));
    for (int address : {5, 6, 7})
        controller.hold(1, 2, address, 0);
    const Result result = runFgs("write L 2:5=1,1,1" FEW, controller.link());
    EXPECT_EQ(result.code, 4);
    EXPECT_EQ(contentsOf(result),
              Texts{"1 0 0  not acknowledged (no reply); the controller holds other values (asked: 1 1 1)"});
}

class OnBothLinks : public OnLinks
{
};
ON_BOTH_LINKS(OnBothLinks);

TEST_P(OnBothLinks, ManyAssignmentsAreVerifiedInTheOrderGiven)
{
    OwnController controller(obey, GetParam());
    const Result result = runFgs("write L 10:5=4294967295 5:100=1,0xFFFF 1:17@2=1,0,1 5:7@2=12", controller.link());
    EXPECT_EQ(result.code, 0) << result.messages.toStdString();
    EXPECT_EQ(placesOf(result), (Texts{"10:5@1", "5:100x2@1", "1:17x3@2", "5:7@2"}));
    EXPECT_EQ(contentsOf(result), (Texts{"4294967295  written and verified", "1 65535  written and verified",
                                         "1 0 1  written and verified", "12  written and verified"}));
    EXPECT_EQ(controller.held(2, 1, 017), 1u);
    EXPECT_EQ(controller.held(1, 10, 5), 4294967295u);
}

TEST(LongWrites, KeepTheirValues)
{
    OwnController controller;
    QStringList numbers;
    for (int i = 0; i < 1000; ++i)
        numbers << QString::number(i * 65 + 1);
    const Result result = runFgs(
        {QStringLiteral("write"), controller.link(), QStringLiteral("5:3=") + numbers.join(QLatin1Char(','))});
    EXPECT_EQ(result.code, 0);
    EXPECT_EQ(contentsOf(result), Texts{numbers.join(QLatin1Char(' ')).toStdString() + "  written and verified"});
}

TEST(Broadcast, IsSentAndItsResultIsNotKnown)
{
    OwnController controller;
    const Result result = runFgs("write L 5:0@0=1 5:1@0=2", controller.link());
    EXPECT_EQ(result.code, 0);
    EXPECT_EQ(contentsOf(result), (Texts{"-  sent, result not known", "-  sent, result not known"}));
    EXPECT_EQ(controller.writes().size(), 2u);
    EXPECT_EQ(controller.reads().size(), 0u);
    const Result json = runFgs("write L 5:0@0=1 --json", controller.link());
    ASSERT_EQ(readings(json).size(), 1u);
    EXPECT_EQ(textsOf(readings(json), "result"), Texts{"unknown"});
    EXPECT_TRUE(readings(json)[0].value(QStringLiteral("verified")).isNull());
}

// ---- signals

struct Signal {
    int number;
    int code;
};
class Signalled : public ::testing::TestWithParam<Signal>
{
};
INSTANTIATE_TEST_SUITE_P(Both, Signalled, ::testing::Values(Signal{SIGINT, 130}, Signal{SIGTERM, 143}),
                         [](const auto &each) { return each.param.number == SIGINT ? "CtrlC" : "Term"; });

Reply carriedOutSilently(const Request &, const QByteArray &)
{
    return Silence;
}

TEST_P(Signalled, NothingMoreIsSent)
{
    for (const char *format : {"", " --json"}) {
        SCOPED_TRACE(format);
        OwnController controller(fromWrite(2, carriedOutSilently));
        const std::string command = "write L 5:100=1 5:200=2 5:300=3 --timeout 3600000";
        Program write((command + format).c_str(), controller.link());
        controller.waitForRequests(2);
        write.interrupt(GetParam().number);
        const Result result = write.wait();
        EXPECT_EQ(result.code, GetParam().code);
        EXPECT_EQ(controller.log().size(), 2u);
        EXPECT_EQ(controller.reads().size(), 0u);
        if (*format) {
            EXPECT_EQ(textsOf(readings(result), "result"), (Texts{"written", "unknown", "notSent"}));
            EXPECT_TRUE(result.summary().contains(QStringLiteral("end")));
        } else {
            EXPECT_EQ(contentsOf(result), (Texts{"-  written, but not read back: interrupted",
                                                 "-  sent, result not known", "-  not sent"}));
            EXPECT_TRUE(contains(result.messages, QLatin1String(" requests in ")));
        }
    }
}

TEST_P(Signalled, ReadingBackEndsToo)
{
    OwnController controller(forReads(carriedOutSilently));
    Program write("write L 5:100=1 5:200=2 --timeout 3600000", controller.link());
    controller.waitFor([](const Log &log) { return !log.empty() && !log.back().write; });
    const size_t before = controller.log().size();
    write.interrupt(GetParam().number);
    const Result result = write.wait();
    EXPECT_EQ(result.code, GetParam().code);
    EXPECT_EQ(controller.log().size(), before);
    EXPECT_EQ(contentsOf(result),
              (Texts{"-  written, but not read back: interrupted", "-  written, but not read back: interrupted"}));
}

// ---- hang-ups

/// Three assignments, the second cut off by a hang-up after it was done or before.
Script cutOff(bool carriedOut)
{
    return [carriedOut](const Request &request, const QByteArray &good) {
        return request.write && request.touches(5, 200) ? Reply{QByteArray(), carriedOut, true} : Reply{good};
    };
}

TEST(HungUp, WhatWasInFlightIsReadBackWhenTheLinkReturns)
{
    OwnController controller(cutOff(true));
    const Result result = runFgs("write L 5:100=1 5:200=2 5:300=3", controller.link());
    EXPECT_EQ(result.code, 3);
    EXPECT_EQ(contentsOf(result),
              (Texts{"1  written and verified", "2  sent, result not known; the controller holds the new values",
                     "-  not sent"}));
    EXPECT_EQ(controller.writes().size(), 2u);
    EXPECT_EQ(controller.connections(), 2);
}

TEST(HungUp, WhatTheControllerHoldsIsSaid)
{
    OwnController controller(cutOff(false));
    controller.hold(1, 5, 200, 77);
    const Result result = runFgs("write L 5:100=1 5:200=2 5:300=3 --json", controller.link());
    EXPECT_EQ(result.code, 3);
    EXPECT_EQ(textsOf(readings(result), "result"), (Texts{"verified", "unknown", "notSent"}));
    ASSERT_EQ(readings(result).size(), 3u);
    EXPECT_EQ(valuesOf(readings(result)[1]), "77");
    EXPECT_EQ(readings(result)[1].value(QStringLiteral("verified")), QJsonValue(false));
    EXPECT_EQ(controller.writes().size(), 2u);
}

TEST_P(OnBothLinks, AHangUpForGoodIsNotKnown)
{
    OwnController controller(fromWrite(2, carriedOutSilently), GetParam());
    Program write("write L 5:100=1 5:200=2 5:300=3 --timeout 3600000", controller.link());
    controller.waitForRequests(2);
    controller.shutDoor();
    const Result result = write.wait();
    EXPECT_EQ(result.code, 3);
    EXPECT_EQ(contentsOf(result),
              (Texts{"-  written, but not read back: link lost", "-  sent, result not known", "-  not sent"}));
}

/// The registers are those of the type, and so is what is read back.
TEST(TypedWrite, IsWrittenAndShownAsItsType)
{
    OwnController controller;
    const Result result = runFgs({QStringLiteral("write"), controller.link(), QStringLiteral("5:100:f32=12.5"),
                                  QStringLiteral("5:110:s32h=-2"), QStringLiteral("5:120x3:text=a, b")});
    EXPECT_EQ(result.code, 0) << result.messages.toStdString();
    EXPECT_EQ(contentsOf(result),
              (Texts{"12.5  written and verified", "-2  written and verified", "a, b  written and verified"}));
    EXPECT_EQ(controller.held(1, 5, 100), 0u);
    EXPECT_EQ(controller.held(1, 5, 101), 0x4148u);
    EXPECT_EQ(controller.held(1, 5, 110), 0xFFFFu);
    EXPECT_EQ(controller.held(1, 5, 111), 0xFFFEu);
    EXPECT_EQ(controller.held(1, 5, 120), 0x2C61u);
    EXPECT_EQ(controller.held(1, 5, 122), 0u);
}

} // namespace
