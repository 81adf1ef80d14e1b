// One transaction at a time, over a line in virtual time.
#include "host/plan.h"
#include "host/poller.h"
#include "support/fake_link.h"

#include <set>

using namespace fgs;

namespace
{

class PollerTest : public DriverTest
{
protected:
    PollerTest()
    {
        settings.blockWords = 64;
        settings.defaultStation = 1;
        settings.retryLimit = 2;
        settings.writeMode = 2;
    }

    void watch(std::initializer_list<const char *> texts)
    {
        std::vector<Variable> variables;
        for (const char *text : texts)
            variables.push_back(parseVariable(QString::fromLatin1(text)));
        const Storage storage = storageFor(variables, 64);
        settings.stationMode = storage.perStation;
        QList<HOST_VAR> wishes = cyclicWishes(variables, storage);
        ReCreatReadVarList(&wishes);
    }

    /// Twelve blocks, six to a request.
    static void watchTwoRequestsOfOneShape()
    {
        for (int i = 0; i < 12; ++i) {
            RW_VAR var = variable(5, 100 + 10 * i, 4);
            AddListReadVar(&var);
        }
    }
    /// The values of the first ones of these blocks are the controller's.
    void expectBlocks(int first, int end)
    {
        for (int i = first; i < end; ++i)
            EXPECT_EQ(word(100 + 10 * i), wanted(100 + 10 * i)) << "block " << i;
    }

    /// One step, after which the counts must add up.
    Step step()
    {
        const Step made = poller.step();
        const Statistics &stats = poller.statistics();
        quint64 sum = 0;
        for (quint64 count : stats.outcomes)
            sum += count;
        EXPECT_EQ(stats.requests, sum + stats.underWay);
        EXPECT_EQ(stats.failures(), stats.retries + stats.abandoned + stats.of(Outcome::LinkLost));
        EXPECT_EQ(stats.requests, link.sent.size() + lostWhileSending);
        return made;
    }
    Outcome outcome() { return step().outcome; }

    void write(const char *address, const char *value)
    {
        QByteArray data = bytes(value);
        SetRegisterData(QString(), 5, QString::fromLatin1(address), 1, &data, int(data.size()) / 2, 0, 0);
    }

    /// Answers the first request as the test says and all others well.
    void answerFirst(const std::function<void(const QByteArray &)> &first)
    {
        link.onSend = [this, first](const QByteArray &request) {
            if (link.sent.size() == 1)
                first(request);
            else
                link.answer(request);
        };
    }

    static int word(int address) { return PLC_driver.usArea5[address]; }
    int wanted(int address) { return int(link.controller.at(1, 0x08, address)); }
    static Age age(const Poller &of, const char *text)
    {
        return of.freshness().of(parseVariable(QString::fromLatin1(text)));
    }

    FakeLink link;
    Timing timing;
    Poller poller{linkedDriver(), link, settings, timing};
    std::size_t lostWhileSending = 0;
};

TEST_F(PollerTest, StoresAGoodReply)
{
    watch({"5:100x4"});
    const Time start = link.now();
    const Step made = step();
    EXPECT_EQ(made.kind, Step::Exchanged);
    EXPECT_EQ(made.outcome, Outcome::Good);
    EXPECT_TRUE(made.ended);
    EXPECT_FALSE(made.isWrite);
    EXPECT_EQ(made.station, 1);
    EXPECT_EQ(hex(link.sent.at(0)), hex(frames::readRequest(1, {{5, 100, 4}})));
    for (int address = 100; address < 104; ++address)
        EXPECT_EQ(word(address), wanted(address)) << address;
    EXPECT_EQ(age(poller, "5:100x4").stored, start + 5ms);
    EXPECT_FALSE(age(poller, "5:100x5").isKnown());
    EXPECT_EQ(poller.statistics().roundTrips.max(), 5ms);
}

TEST_F(PollerTest, HasNothingToDoWithoutAList)
{
    EXPECT_EQ(step().kind, Step::Idle);
    EXPECT_TRUE(link.sent.empty());
}

TEST_F(PollerTest, ReadsAGroupOfSixWithEveryKind)
{
    watch({"0:0x24", "2:80x30", "5:100x4", "5:300x2", "10:7x3", "9:5"});
    EXPECT_EQ(outcome(), Outcome::Good);
    EXPECT_EQ(link.sent.at(0).at(2), 6);
    EXPECT_EQ(word(301), wanted(301));
    EXPECT_EQ(PLC_driver.uiArea10[9], link.controller.at(1, 0x13, 9));
    EXPECT_EQ(PLC_driver.usArea9[5], link.controller.at(1, 0x07, 5));
    EXPECT_TRUE(age(poller, "10:7x3").isKnown());
    EXPECT_TRUE(age(poller, "2:80x30").isKnown());
    EXPECT_FALSE(age(poller, "10:10").isKnown());
}

// ---- what surrounds the reply

struct Around {
    const char *name;
    const char *before, *after; ///< bytes; R stands for the request, F for a frame of station 2
};
void PrintTo(const Around &row, std::ostream *out)
{
    *out << row.name;
}

QByteArray filled(const char *text, const QByteArray &request)
{
    QByteArray all;
    for (const QByteArray &part : QByteArray(text).split(' '))
        all += part == "R"   ? request
               : part == "F" ? frames::readReply(2, {{5, 100, 4}}, {bytes("01 FE 01 08 04 01 FF 20")})
                             : QByteArray::fromHex(part);
    return all;
}

class Surrounded : public PollerTest, public ::testing::WithParamInterface<Around>
{
};

TEST_P(Surrounded, ReplyIsFoundAndTheNextTransactionIsGood)
{
    watch({"5:100x4"});
    answerFirst([this](const QByteArray &request) {
        link.arrive(1ms, filled(GetParam().before, request));
        link.arrive(5ms, link.controller.answer(request));
        link.arrive(5ms, filled(GetParam().after, request));
    });
    EXPECT_EQ(outcome(), Outcome::Good);
    EXPECT_EQ(word(103), wanted(103));
    EXPECT_EQ(outcome(), Outcome::Good);
    EXPECT_EQ(poller.statistics().roundTrips.max(), 5ms);
}

TEST_P(Surrounded, NothingButTheSurroundingsIsNoReply)
{
    watch({"5:100x4"});
    answerFirst([this](const QByteArray &request) { link.arrive(1ms, filled(GetParam().before, request)); });
    const Time start = link.now();
    EXPECT_NE(outcome(), Outcome::Good);
    EXPECT_EQ(link.now(), start + timing.timeout);
    EXPECT_EQ(word(100), 0);
    EXPECT_EQ(outcome(), Outcome::Good);
}

INSTANTIATE_TEST_SUITE_P(
    Line, Surrounded,
    ::testing::Values(
        Around{"noise ahead", "00 13 FF", ""}, Around{"one byte of noise behind", "", "00"},
        Around{"noise like a beginning", "01", ""}, Around{"noise like two beginnings", "01 FE 01 01", ""},
        Around{"echo", "R", ""}, Around{"echo twice", "R R", ""}, Around{"noise and echo", "55 R", ""},
        Around{"another station's frame", "F", ""}, Around{"two of them", "F F", ""},
        Around{"echo and another station's frame", "R F", "F"},
        Around{"another station's acknowledgement", "02 FF 20", ""}, Around{"an acknowledgement", "01 FF 20", ""},
        Around{"200 bytes behind", "", "R R R R R R R R R R"}, Around{"the request behind", "", "R"}));

TEST_F(PollerTest, BytesMayComeOneByOne)
{
    watch({"5:100x4"});
    link.onSend = [this](const QByteArray &request) {
        const QByteArray reply = link.controller.answer(request);
        for (int i = 0; i < reply.size(); ++i)
            link.arrive(std::chrono::milliseconds(i + 1), reply.mid(i, 1));
    };
    EXPECT_EQ(outcome(), Outcome::Good);
    EXPECT_EQ(poller.statistics().roundTrips.max(), 15ms);
}

// ---- what is no reply

TEST_F(PollerTest, SilenceEndsAtTheTimeLimitAndTheDriverGivesUpAfterItsRetries)
{
    watch({"5:100x4"});
    link.onSend = [](const QByteArray &) {};
    for (int attempt = 0; attempt < 3; ++attempt) {
        SCOPED_TRACE(attempt);
        const Time start = link.now();
        const Step made = step();
        EXPECT_EQ(made.outcome, Outcome::NoReply);
        EXPECT_EQ(made.ended, attempt == 2);
        EXPECT_EQ(link.now(), start + timing.timeout);
        EXPECT_EQ(link.sent.back(), link.sent.front());
    }
    EXPECT_EQ(poller.statistics().retries, 2u);
    EXPECT_EQ(poller.statistics().abandoned, 1u);
    EXPECT_FALSE(age(poller, "5:100x4").isKnown());
    EXPECT_EQ(age(poller, "5:100x4").tried, link.now());
    EXPECT_EQ(age(poller, "5:100x4").outcome, Outcome::NoReply);
}

TEST_F(PollerTest, AShortReplyIsIncomplete)
{
    watch({"5:100x4"});
    answerFirst(
        [this](const QByteArray &request) { link.arrive(5ms, link.controller.answer(request).chopped(4)); });
    const Step made = step();
    EXPECT_EQ(made.outcome, Outcome::Incomplete);
    EXPECT_EQ(made.received, 11);
    EXPECT_EQ(made.expected, 15);
    EXPECT_EQ(PLC_driver.RetVar.result, 0);
    EXPECT_EQ(word(100), 0);
    EXPECT_EQ(outcome(), Outcome::Good);
}

TEST_F(PollerTest, AgeTellsHowMuchOfAnAnswerCame)
{
    settings.retryLimit = 0;
    watch({"5:100x4"});
    link.onSend = [this](const QByteArray &request) { link.arrive(5ms, link.controller.answer(request).left(9)); };
    step();
    EXPECT_EQ(age(poller, "5:100x4").outcome, Outcome::Incomplete);
    EXPECT_EQ(age(poller, "5:100x4").received, 9);
    EXPECT_EQ(age(poller, "5:100x4").expected, 15);
}

TEST_F(PollerTest, BytesThatAreNoReplyAreGarbled)
{
    watch({"5:100x4"});
    answerFirst([this](const QByteArray &) { link.arrive(5ms, bytes("55 AA 55")); });
    EXPECT_EQ(outcome(), Outcome::Garbled);
}

TEST_F(PollerTest, AGoodFrameOfAnotherStationIsCalledSo)
{
    watch({"5:100x4"});
    answerFirst([this](const QByteArray &) {
        link.arrive(5ms, frames::readReply(2, {{5, 100, 4}}, {QByteArray(8, '\x55')}));
    });
    EXPECT_EQ(outcome(), Outcome::OtherStation);
    EXPECT_EQ(outcome(), Outcome::Good);
}

TEST_F(PollerTest, TheLongestReplyNeedsNoMoreMemoryThanTheOthers)
{
    static std::set<int> rooms;
    rooms.clear();
    DriverApi driver = linkedDriver();
    driver.DataCom = [](QByteArray *reply, int length) {
        rooms.insert(int(reply->capacity()));
        return DataCom(reply, length);
    };
    Poller observed(driver, link, settings, timing);
    watch({"5:100x4"});
    EXPECT_EQ(Outcome::Good, observed.step().outcome);
    link.onSend = [this](const QByteArray &) { link.arrive(5ms, QByteArray(100000, 'x')); };
    EXPECT_EQ(Outcome::Garbled, observed.step().outcome);
    link.onSend = [](const QByteArray &) {};
    EXPECT_EQ(Outcome::NoReply, observed.step().outcome);
    EXPECT_EQ(1u, rooms.size());
}

TEST_F(PollerTest, AWrongCheckCodeIsReportedAtOnce)
{
    watch({"5:100x4"});
    answerFirst([this](const QByteArray &request) {
        QByteArray reply = link.controller.answer(request);
        reply[7] = char(reply.at(7) ^ 1);
        link.arrive(5ms, reply);
    });
    const Time start = link.now();
    EXPECT_EQ(outcome(), Outcome::BadCheck);
    EXPECT_EQ(link.now(), start + 5ms);
    EXPECT_EQ(word(100), 0);
}

TEST_F(PollerTest, ADamagedHeaderIsAWrongCheckCode)
{
    watch({"5:100x4"});
    answerFirst([this](const QByteArray &request) {
        QByteArray reply = link.controller.answer(request);
        reply[4] = 9;
        link.arrive(5ms, reply);
    });
    EXPECT_EQ(outcome(), Outcome::BadCheck);
    EXPECT_EQ(word(100), 0);
}

struct Other {
    const char *name;
    int station;
    std::vector<frames::Block> blocks;
    Outcome outcome;
};
void PrintTo(const Other &row, std::ostream *out)
{
    *out << row.name;
}

class OtherAnswer : public PollerTest, public ::testing::WithParamInterface<Other>
{
};

TEST_P(OtherAnswer, IsNotHandedOver)
{
    watch({"5:100x4", "2:80x24"}); // the bits come first
    answerFirst([this](const QByteArray &) {
        std::vector<QByteArray> data;
        for (const frames::Block &block : GetParam().blocks)
            data.push_back(QByteArray(frames::dataBytes(block), '\x55'));
        link.arrive(5ms, frames::readReply(GetParam().station, GetParam().blocks, data));
    });
    const Time start = link.now();
    EXPECT_EQ(outcome(), GetParam().outcome);
    EXPECT_EQ(link.now(), start + timing.timeout);
    EXPECT_EQ(word(100), 0);
    EXPECT_EQ(PLC_driver.ucArea2[10], 0);
    EXPECT_EQ(outcome(), Outcome::Good);
    EXPECT_EQ(word(100), wanted(100));
}

INSTANTIATE_TEST_SUITE_P(
    Answers, OtherAnswer,
    ::testing::Values(
        Other{"right but for its station", 2, {{2, 80, 3}, {5, 100, 4}}, Outcome::OtherStation},
        Other{"another area of the same length", 1, {{3, 80, 3}, {5, 100, 4}}, Outcome::OtherReply},
        Other{"another second area of the same length", 1, {{2, 80, 3}, {6, 100, 4}}, Outcome::OtherReply},
        Other{"other counts of the same length", 1, {{2, 80, 5}, {5, 100, 3}}, Outcome::OtherReply},
        Other{"fewer entries", 1, {{2, 80, 3}}, Outcome::OtherReply},
        Other{"more words", 1, {{2, 80, 3}, {5, 100, 8}}, Outcome::OtherReply},
        Other{"fewer words", 1, {{2, 80, 3}, {5, 100, 3}}, Outcome::OtherReply}));

TEST_F(PollerTest, AGoodCheckCodeAndTheRightLengthAreNotEnough)
{
    watch({"5:100x4"});
    answerFirst([this](const QByteArray &) { // no such area, so no counts tell how long it is
        link.arrive(5ms, frames::sealed(bytes("01 FE 01 0A 04 55 55 55 55 55 55 55 55")));
    });
    EXPECT_EQ(outcome(), Outcome::OtherReply);
    EXPECT_EQ(word(100), 0);
    write("100", "34 12");
    link.onSend = [this](const QByteArray &) { link.arrive(5ms, bytes("55 FF 20")); };
    EXPECT_NE(outcome(), Outcome::Good) << "the driver looks at the last two bytes only";
}

TEST_F(PollerTest, AnEchoOfTheShapeOfTheReplyIsNeverTaken)
{
    RW_VAR var = variable(5, 100, 1); // one word: its reply is as long as the request and begins like it
    AddListReadVar(&var);
    answerFirst([this](const QByteArray &request) { link.arrive(1ms, request); });
    EXPECT_EQ(outcome(), Outcome::NoReply);
    EXPECT_EQ(word(100), 0);
    link.onSend = [this](const QByteArray &request) {
        link.arrive(1ms, bytes("00") + request);
        link.answer(request);
    };
    EXPECT_EQ(outcome(), Outcome::Good);
    EXPECT_EQ(word(100), wanted(100));
}

TEST_F(PollerTest, ALineThatNeverFallsSilentCostsTwoTimeLimitsAtMost)
{
    watch({"5:100x4"});
    link.onSend = [](const QByteArray &) {};
    for (int ms = 0; ms < 20000; ++ms)
        link.arrive(std::chrono::milliseconds(ms), bytes("01 FE 01 08"));
    for (int i = 0; i < 4; ++i) {
        SCOPED_TRACE(i);
        const Time start = link.now();
        EXPECT_EQ(outcome(), Outcome::Garbled);
        EXPECT_LE(link.now() - start, 2 * timing.timeout + 10ms);
    }
}

// ---- answers that come slowly

TEST_F(PollerTest, TheRepeatWaitsForTheRestOfASlowAnswer)
{
    watch({"5:100x4"});
    link.onSend = [this](const QByteArray &request) {
        const QByteArray reply = link.controller.answer(request);
        for (int i = 0; i < reply.size(); ++i) // ten of fifteen bytes come in time
            link.arrive((i + 1) * 95ms, reply.mid(i, 1));
    };
    EXPECT_EQ(outcome(), Outcome::Incomplete);
    const Step second = step();
    EXPECT_EQ(second.outcome, Outcome::Incomplete) << "not bytes that are no reply";
    EXPECT_EQ(second.received, 10);
    EXPECT_EQ(link.sentAt.at(1) - link.sentAt.at(0), (15 + 2) * 95ms);
}

TEST_F(PollerTest, AnAnswerThatBrokeOffIsRepeatedAtOnce)
{
    watch({"5:100x4"});
    answerFirst(
        [this](const QByteArray &request) { link.arrive(5ms, link.controller.answer(request).chopped(4)); });
    EXPECT_EQ(outcome(), Outcome::Incomplete);
    EXPECT_EQ(outcome(), Outcome::Good);
    EXPECT_EQ(link.sentAt.at(1) - link.sentAt.at(0), timing.timeout);
}

// ---- replies that come late

TEST_F(PollerTest, ALateReplyAnswersTheSameQuestion)
{
    watch({"5:100x4"});
    answerFirst([this](const QByteArray &request) { link.answer(request, timing.timeout + 20ms); });
    EXPECT_EQ(outcome(), Outcome::NoReply);
    const Time retried = link.now();
    EXPECT_EQ(outcome(), Outcome::Good);
    EXPECT_EQ(link.now(), retried + 5ms);
    EXPECT_EQ(outcome(), Outcome::Good);
    EXPECT_EQ(word(100), wanted(100));
}

/// Each answer takes longer than two time limits, so that what answers the last try is that to the first.
TEST_F(PollerTest, AnswersToEarlierTriesAreNotTakenForThoseToTheNextQuestion)
{
    watch({"5:100x4", "5:1000x4", "5:2000x4", "5:3000x4", "5:4000x4", "5:5000x4", "5:6000x4"});
    link.onSend = [this](const QByteArray &request) { link.answer(request, 2400ms); };
    for (int i = 0; i < 100; ++i)
        step();
    for (int address : {100, 1000, 2000, 3000, 4000, 5000, 6000})
        for (int i = 0; i < 4; ++i)
            EXPECT_EQ(word(address + i), wanted(address + i)) << address + i;
    EXPECT_EQ(poller.statistics().roundTrips.count(), 0u) << "no answer can be told to be that to its own try";
}

TEST_F(PollerTest, ALateReplyFromBeforeABroadcastIsNotTakenForOneAfterIt)
{
    watch({"5:100x4"});
    settings.retryLimit = 0;
    link.onSend = [this](const QByteArray &request) { link.answer(request, 1500ms); };
    EXPECT_EQ(outcome(), Outcome::NoReply);
    QByteArray data = bytes("34 12");
    SetRegisterData(QString(), 5, QStringLiteral("100"), 0, &data, 1, 0, 0);
    link.onSend = [this](const QByteArray &request) {
        if (request.at(0) != 0)
            link.answer(request);
        else
            link.controller.answer(frames::sealed(QByteArray(1, 1) + request.mid(1, request.size() - 3)));
    };
    while (link.sent.size() < 3)
        step();
    EXPECT_EQ(word(100), 0x1234);
}

TEST_F(PollerTest, ALateReplyIsNotTakenForTheAnswerToAnotherQuestionOfItsShape)
{
    settings.retryLimit = 0;
    settings.blockWords = 4;
    for (int i = 0; i < 12; ++i) { // two requests of six blocks of four words
        RW_VAR var = variable(5, 100 + 10 * i, 4);
        AddListReadVar(&var);
    }
    answerFirst([this](const QByteArray &request) { link.answer(request, timing.timeout + 500ms); });
    EXPECT_EQ(outcome(), Outcome::NoReply);
    const Time failed = link.now();
    EXPECT_EQ(outcome(), Outcome::Good);
    EXPECT_EQ(link.sentAt.at(1), failed + 500ms + timing.gap) << "as soon as the late reply has come";
    expectBlocks(6, 12);
    EXPECT_EQ(word(100), 0);
    EXPECT_EQ(poller.statistics().strayBytes, 65u);
}

TEST_F(PollerTest, AQuestionAskedTwiceMayBeAnsweredTwice)
{
    settings.retryLimit = 1;
    watchTwoRequestsOfOneShape();
    link.onSend = [this](const QByteArray &request) {
        link.answer(request, link.sent.size() <= 2 ? timing.timeout * 2 + 100ms : 5ms);
    };
    EXPECT_EQ(outcome(), Outcome::NoReply);
    EXPECT_EQ(outcome(), Outcome::NoReply);
    EXPECT_EQ(outcome(), Outcome::Good);
    EXPECT_EQ(link.sentAt.at(2), link.sentAt.at(1) + timing.timeout * 2 + 100ms + timing.gap);
    expectBlocks(6, 12);
}

TEST_F(PollerTest, AQuestionWithADamagedAnswerIsAnswered)
{
    settings.retryLimit = 0;
    watchTwoRequestsOfOneShape();
    answerFirst([this](const QByteArray &request) { link.arrive(5ms, link.controller.answer(request).left(20)); });
    EXPECT_EQ(outcome(), Outcome::Incomplete);
    EXPECT_EQ(outcome(), Outcome::Good);
    EXPECT_EQ(link.sentAt.at(1), link.sentAt.at(0) + timing.timeout) << "no late reply is waited for";
}

TEST_F(PollerTest, AReplyThatNeverComesIsWaitedForNoLongerThanItMayBeLate)
{
    settings.retryLimit = 0;
    for (int address : {100, 200, 300, 400, 500, 600, 700}) {
        RW_VAR var = variable(5, address, 4);
        AddListReadVar(&var);
    }
    answerFirst([](const QByteArray &) {});
    EXPECT_EQ(outcome(), Outcome::NoReply);
    const Time failed = link.now();
    EXPECT_EQ(outcome(), Outcome::Good);
    EXPECT_EQ(link.sentAt.at(1), failed + timing.late);
}

TEST_F(PollerTest, AQuestionOfAnotherShapeOrStationNeedNotWait)
{
    settings.retryLimit = 0;
    settings.stationMode = 1;
    RW_VAR vars[] = {variable(5, 100, 4, 1), variable(5, 100, 4, 2), variable(6, 10, 4, 1)};
    for (RW_VAR &var : vars)
        AddListReadVar(&var);
    answerFirst([this](const QByteArray &request) { link.answer(request, timing.timeout + 3ms); });
    EXPECT_EQ(outcome(), Outcome::NoReply);
    const Time failed = link.now();
    EXPECT_EQ(outcome(), Outcome::Good); // station 2, beside the late reply
    EXPECT_EQ(outcome(), Outcome::Good); // area 6
    EXPECT_LE(link.now(), failed + 20ms);
}

TEST_F(PollerTest, AQuestionAskedBeforeAWriteIsNotAnsweredAfterIt)
{
    watch({"5:100x4"});
    settings.retryLimit = 0;
    answerFirst([this](const QByteArray &request) { link.answer(request, timing.timeout + 100ms); });
    EXPECT_EQ(outcome(), Outcome::NoReply);
    write("100", "34 12");
    EXPECT_TRUE(step().isWrite);
    EXPECT_EQ(outcome(), Outcome::Good);
    EXPECT_EQ(word(100), 0x1234) << "the late reply still has the old value";
}

TEST_F(PollerTest, ASecondCopyOfAReplyIsThrownAwayBeforeTheNextQuestion)
{
    settings.blockWords = 4;
    watchTwoRequestsOfOneShape();
    answerFirst([this](const QByteArray &request) {
        const QByteArray reply = link.controller.answer(request);
        link.arrive(5ms, reply);
        link.arrive(6ms, reply.left(20));
        link.arrive(7ms, reply.mid(20));
    });
    EXPECT_EQ(outcome(), Outcome::Good);
    EXPECT_EQ(outcome(), Outcome::Good);
    EXPECT_EQ(link.sentAt.at(1) - link.sentAt.at(0), 7ms + timing.gap);
    expectBlocks(0, 12);
}

// ---- answers that nobody asked for

/// Two blocks of one shape, so that their answers cannot be told apart.
class Unasked : public PollerTest
{
protected:
    Unasked()
    {
        settings.blockWords = 4;
        for (int i = 0; i < 12; ++i) {
            RW_VAR var = variable(5, 100 + 10 * i, 4);
            AddListReadVar(&var);
        }
    }

    void doubleAnswers(Time later)
    {
        link.onSend = [this, later](const QByteArray &request) {
            link.answer(request);
            link.answer(request, 5ms + later);
        };
    }

    /// Whether all values that pass for good are those of their places.
    ::testing::AssertionResult goodValuesAreRight()
    {
        for (int address = 100; address < 220; address += 10) {
            const Age at = poller.freshness().of({5, address, 4, 1});
            if (at.isKnown() && !at.isStale() && word(address) != wanted(address))
                return ::testing::AssertionFailure() << "wrong value at " << address;
        }
        return ::testing::AssertionSuccess();
    }
};

class Doubled : public Unasked, public ::testing::WithParamInterface<int>
{
};

TEST_P(Doubled, AnswersAreNoticedAndValuesAreRightAgain)
{
    doubleAnswers(std::chrono::milliseconds(GetParam()));
    for (int i = 0; i < 40 && !poller.hearsUnaskedAnswers(); ++i)
        step();
    EXPECT_TRUE(poller.hearsUnaskedAnswers());
    EXPECT_GT(poller.statistics().unaskedAnswers, 0u);
    const bool comeInTheSilence = std::chrono::milliseconds(GetParam()) < UnaskedAnswers::LongSilence;
    for (int i = 0; i < 40; ++i) {
        EXPECT_TRUE((i < 20 && !comeInTheSilence) || goodValuesAreRight());
        EXPECT_EQ(outcome(), Outcome::Good);
    }
    EXPECT_FALSE(age(poller, "5:100x4").isStale());
    EXPECT_FALSE(age(poller, "5:160x4").isStale());
    EXPECT_TRUE(goodValuesAreRight());
}

INSTANTIATE_TEST_SUITE_P(Later, Doubled, ::testing::Values(1, 3, 4, 5, 7, 10, 15, 20, 30, 45, 80, 120));

TEST_F(Unasked, ACopyOfTheFirstAnswerIsToldOfAndDoesNoHarm)
{
    doubleAnswers(1ms);
    EXPECT_EQ(outcome(), Outcome::Good);
    EXPECT_FALSE(poller.hearsUnaskedAnswers());
    EXPECT_EQ(outcome(), Outcome::Good);
    EXPECT_EQ(poller.statistics().unaskedAnswers, 1u);
    EXPECT_TRUE(poller.hearsUnaskedAnswers());
    EXPECT_EQ(link.sentAt.at(1) - link.sentAt.at(0), 6ms + timing.gap);
    EXPECT_FALSE(age(poller, "5:100x4").isStale());
}

TEST_F(Unasked, AnotherAnswerPutsWhatCameBeforeInDoubtUntilItIsReadAgain)
{
    step();
    step();
    link.arrive(0ms, link.controller.answer(frames::readRequest(1, {{5, 1, 4}})));
    link.onSend = [this](const QByteArray &request) {
        EXPECT_EQ(age(poller, "5:100x4").outcome, Outcome::OtherReply);
        EXPECT_EQ(age(poller, "5:160x4").outcome, Outcome::OtherReply);
        link.answer(request);
    };
    step();
    EXPECT_FALSE(age(poller, "5:100x4").isStale());
    EXPECT_TRUE(age(poller, "5:160x4").isStale());
    EXPECT_EQ(link.sentAt.back() - link.sentAt.at(1), 5ms + UnaskedAnswers::LongSilence);
}

TEST_F(Unasked, NoiseAndOtherStationsAreNone)
{
    for (const char *stray : {"55 AA 01 FF 20", "02 FF 20", "01 FE 01 08"}) {
        EXPECT_EQ(outcome(), Outcome::Good);
        link.arrive(1ms, bytes(stray));
    }
    EXPECT_EQ(outcome(), Outcome::Good);
    EXPECT_EQ(poller.statistics().unaskedAnswers, 0u);
    EXPECT_GT(poller.statistics().strayBytes, 0u);
}

TEST_F(Unasked, AnAnswerThatIsOwedIsNone)
{
    answerFirst([this](const QByteArray &request) { link.answer(request, timing.timeout + 20ms); });
    EXPECT_EQ(outcome(), Outcome::NoReply);
    EXPECT_EQ(outcome(), Outcome::Good);
    link.arrive(0ms, link.controller.answer(link.sent.front()));
    EXPECT_EQ(outcome(), Outcome::Good);
    EXPECT_EQ(poller.statistics().unaskedAnswers, 0u);
}

TEST_F(Unasked, TheLineIsTrustedAgainAfterAWhile)
{
    step();
    link.arrive(0ms, link.controller.answer(frames::readRequest(1, {{5, 1, 4}})));
    step();
    link.pauseUntil(link.now() + UnaskedAnswers::AlertTime);
    EXPECT_FALSE(poller.hearsUnaskedAnswers());
    step();
    step();
    EXPECT_EQ(link.sentAt.at(3) - link.sentAt.at(2), 5ms + timing.gap);
}

// ---- writes

TEST_F(PollerTest, AWriteIsAcknowledged)
{
    write("100", "34 12");
    const Step made = step();
    EXPECT_TRUE(made.isWrite);
    EXPECT_TRUE(made.ended);
    EXPECT_EQ(made.outcome, Outcome::Good);
    EXPECT_EQ(wanted(100), 0x1234);
    EXPECT_FALSE(age(poller, "5:100").isKnown()) << "the image shows it, but nothing was read";
}

TEST_F(PollerTest, AnAcknowledgementInsideTheEchoIsNone)
{
    write("100", "FF 01 01 20"); // on the wire: 01 FF 20 01
    answerFirst([this](const QByteArray &request) { link.arrive(1ms, request); });
    EXPECT_EQ(outcome(), Outcome::NoReply);
    link.onSend = [this](const QByteArray &request) {
        link.arrive(1ms, request);
        link.answer(request);
    };
    EXPECT_EQ(outcome(), Outcome::Good);
}

TEST_F(PollerTest, AnAcknowledgementBehindNoiseProvesNothing)
{
    write("100", "34 12");
    answerFirst([this](const QByteArray &) { link.arrive(5ms, bytes("55 01 FF 20")); });
    EXPECT_EQ(outcome(), Outcome::Garbled);
    EXPECT_EQ(outcome(), Outcome::Good);
}

TEST_F(PollerTest, AnAcknowledgementOfAnotherStationIsPassedOver)
{
    write("100", "34 12");
    answerFirst([this](const QByteArray &request) {
        link.arrive(1ms, bytes("02 FF 20"));
        link.answer(request);
    });
    EXPECT_EQ(outcome(), Outcome::Good);
    write("101", "34 12");
    link.onSend = [this](const QByteArray &) { link.arrive(1ms, bytes("02 FF 20")); };
    EXPECT_EQ(outcome(), Outcome::OtherStation);
}

TEST_F(PollerTest, ARefusalNeedNotBeWaitedForAndIsAskedForAgain)
{
    write("100", "34 12");
    link.onSend = [this](const QByteArray &) { link.arrive(5ms, bytes("01 FF 21")); };
    for (int attempt = 0; attempt < 3; ++attempt) {
        SCOPED_TRACE(attempt);
        const Step made = step();
        EXPECT_EQ(made.outcome, Outcome::Refused);
        EXPECT_EQ(made.ended, attempt == 2);
        EXPECT_EQ(link.now(), link.sentAt.back() + 5ms);
    }
    EXPECT_EQ(step().kind, Step::Idle);
    EXPECT_EQ(poller.statistics().of(Outcome::Refused), 3u);
}

TEST_F(PollerTest, ADamagedAcknowledgementThatLooksLikeARefusalDoesNotDenyTheWrite)
{
    write("100", "34 12");
    answerFirst([this](const QByteArray &request) {
        link.controller.answer(request);
        link.arrive(5ms, bytes("01 FF 21"));
    });
    EXPECT_EQ(outcome(), Outcome::Refused);
    EXPECT_EQ(outcome(), Outcome::Good);
}

TEST_F(PollerTest, ARefusalFromAnotherStationOrToAReadIsNone)
{
    write("100", "34 12");
    answerFirst([this](const QByteArray &request) {
        link.arrive(1ms, bytes("02 FF 21"));
        link.arrive(2ms, link.controller.answer(request));
    });
    EXPECT_EQ(outcome(), Outcome::Garbled) << "an acknowledgement behind noise proves nothing";
    EXPECT_EQ(outcome(), Outcome::Good);
    watch({"5:100x4"});
    link.onSend = [this](const QByteArray &) { link.arrive(5ms, bytes("01 FF 21")); };
    EXPECT_EQ(outcome(), Outcome::Garbled);
}

TEST_F(PollerTest, ABroadcastIsFollowedByAPause)
{
    settings.defaultStation = 0;
    write("100", "34 12");
    const Time start = link.now();
    const Step made = step();
    EXPECT_EQ(made.outcome, Outcome::Good);
    EXPECT_TRUE(made.ended);
    EXPECT_EQ(link.now(), start + timing.turnaround);
    EXPECT_EQ(poller.statistics().roundTrips.count(), 0u);
}

// ---- an end of all waiting

TEST_F(PollerTest, NothingIsSentOnceTheLinkHasEnded)
{
    watch({"5:100x4"});
    Stop stop;
    link.endBy(&stop);
    stop.request();
    const Step made = step();
    EXPECT_EQ(made.kind, Step::Stopped);
    EXPECT_FALSE(made.sent);
    EXPECT_TRUE(link.sent.empty());
    EXPECT_FALSE(poller.isUnderWay());
}

TEST_F(PollerTest, AStopEndsTheWaitForAReplyAndLeavesTheRequestUnderWay)
{
    watch({"5:100x4"});
    link.onSend = [](const QByteArray &) {};
    link.endBy(nullptr, link.now() + 300ms);
    const Time start = link.now();
    const Step made = step();
    EXPECT_EQ(made.kind, Step::Stopped);
    EXPECT_TRUE(made.sent);
    EXPECT_FALSE(made.isWrite);
    EXPECT_EQ(made.station, 1);
    EXPECT_EQ(link.now(), start + 300ms);
    EXPECT_TRUE(poller.isUnderWay());
    EXPECT_EQ(poller.statistics().underWay, 1u);
    EXPECT_EQ(step().kind, Step::Stopped);
    EXPECT_EQ(link.sent.size(), 1u);
}

TEST_F(PollerTest, WhatHasArrivedBeforeAStopIsTaken)
{
    watch({"5:100x4"});
    Stop stop;
    link.endBy(&stop);
    link.onSend = [this, &stop](const QByteArray &request) {
        link.answer(request, 0ms);
        stop.request();
    };
    const Step made = step();
    EXPECT_EQ(made.kind, Step::Exchanged);
    EXPECT_EQ(made.outcome, Outcome::Good);
    EXPECT_EQ(word(100), wanted(100));
}

TEST_F(PollerTest, ARequestThatAStopCutOffIsSentAgainWhenTheLinkGoesOn)
{
    watch({"5:100x4"});
    link.onSend = [](const QByteArray &) {};
    link.endBy(nullptr, link.now() + 300ms);
    step();
    link.endBy(nullptr);
    link.onSend = [this](const QByteArray &request) { link.answer(request); };
    EXPECT_EQ(outcome(), Outcome::Good);
    EXPECT_EQ(link.sent.at(1), link.sent.at(0));
    EXPECT_EQ(poller.statistics().of(Outcome::NoReply), 1u);
}

TEST_F(PollerTest, ABroadcastThatAStopCutsShortIsSent)
{
    settings.defaultStation = 0;
    write("100", "34 12");
    link.endBy(nullptr, link.now() + 10ms);
    const Step made = step();
    EXPECT_EQ(made.kind, Step::Exchanged);
    EXPECT_EQ(made.outcome, Outcome::Good);
    EXPECT_TRUE(made.sent);
    EXPECT_TRUE(made.ended);
}

TEST_F(PollerTest, AStopEndsTheWaitForSilenceAndForALateReply)
{
    settings.retryLimit = 0;
    watchTwoRequestsOfOneShape();
    link.onSend = [](const QByteArray &) {};
    step();
    link.endBy(nullptr, link.now() + 100ms);
    const Step made = step();
    EXPECT_EQ(made.kind, Step::Stopped);
    EXPECT_FALSE(made.sent);
    EXPECT_EQ(link.sent.size(), 1u);
    link.endBy(nullptr, link.now() + 1ms); // less than the silence
    EXPECT_FALSE(step().sent);
    EXPECT_EQ(link.sent.size(), 1u);
}

TEST_F(PollerTest, AStopEndsTheTriesToOpenTheLink)
{
    watch({"5:100x4"});
    link.cut();
    link.refusals = 1000;
    link.endBy(nullptr, link.now() + 1050ms);
    Step made;
    while ((made = step()).kind == Step::NoLink)
        EXPECT_LT(link.now(), 1002s);
    EXPECT_EQ(made.kind, Step::Stopped);
    EXPECT_EQ(link.now(), 1001s + 50ms);
}

TEST_F(PollerTest, AJobThatIsGivenUpIsNotSentAgain)
{
    write("100", "34 12");
    answerFirst([this](const QByteArray &) { link.cut(); });
    EXPECT_EQ(step().outcome, Outcome::LinkLost);
    poller.giveUp();
    EXPECT_EQ(step().kind, Step::Idle);
    EXPECT_EQ(link.sent.size(), 1u);
}

// ---- the line

TEST_F(PollerTest, TriesToOpenALinkAreASecondApartAtMost)
{
    watch({"5:100x4"});
    link.cut();
    link.refusals = 100;
    while (link.openedAt.size() < 20)
        step();
    for (std::size_t i = 1; i < link.openedAt.size(); ++i)
        EXPECT_LE(link.openedAt[i] - link.openedAt[i - 1], 1s) << i;
}

TEST_F(PollerTest, AConnectionThatBringsNoByteForThreeRequestsIsOpenedAnew)
{
    watch({"5:100x4"});
    link.connection = true;
    link.onSend = [](const QByteArray &) {};
    for (int i = 0; i < 3 * 3; ++i) {
        SCOPED_TRACE(i);
        EXPECT_EQ(poller.statistics().reconnects, 0u) << i;
        EXPECT_EQ(outcome(), Outcome::NoReply);
    }
    EXPECT_TRUE(link.isOpen()) << "nothing else is to be asked";
    link.onSend = [this](const QByteArray &request) { link.answer(request); };
    EXPECT_EQ(outcome(), Outcome::Good);
    EXPECT_EQ(poller.statistics().reconnects, 1u);
}

TEST_F(PollerTest, AConnectionThatBringsAnyByteOrALineIsLeftOpen)
{
    watch({"5:100x4"});
    link.onSend = [](const QByteArray &) {};
    for (int i = 0; i < 10; ++i)
        step();
    EXPECT_EQ(poller.statistics().reconnects, 0u) << "no connection";
    link.arrive(1ms, bytes("02 FF 20"));
    step();
    link.connection = true;
    link.onSend = [this](const QByteArray &) {
        if (link.sent.size() % 2 == 0)
            link.arrive(5ms, bytes("02 FF 20"));
    };
    for (int i = 0; i < 24; ++i)
        step();
    EXPECT_EQ(poller.statistics().reconnects, 0u) << "another station is heard";
}

TEST_F(PollerTest, TheBytesHaveTheirTimeOnTheLine)
{
    link.perByte = 1ms;
    watch({"5:100x4"});
    link.onSend = [](const QByteArray &) {};
    const Time start = link.now();
    EXPECT_EQ(outcome(), Outcome::NoReply);
    EXPECT_EQ(link.now(), start + timing.timeout + (9 + 15) * 1ms);
}

TEST_F(PollerTest, TheSilenceBeforeARequestIsFourBytesLongAtLeast)
{
    link.perByte = 1ms;
    watch({"5:100x4"});
    step();
    const Time received = link.now();
    step();
    EXPECT_EQ(link.sentAt.at(1), received + 4ms);
}

TEST_F(PollerTest, ALostLinkCostsTheDriverNothing)
{
    watch({"5:100x4"});
    write("100", "34 12");
    answerFirst([this](const QByteArray &) { link.cut(); });
    link.refusals = 3;
    const Step made = step();
    EXPECT_EQ(made.outcome, Outcome::LinkLost);
    EXPECT_EQ(poller.statistics().retries, 0u) << "it was not repeated";
    EXPECT_FALSE(made.ended);
    const Time lost = link.now();
    while (step().kind == Step::NoLink)
        EXPECT_FALSE(link.isOpen());
    EXPECT_EQ(link.now() - lost, 500ms + 1000ms + 1000ms + 5ms)
        << "tries at once, then ever more rarely, but each second";
    EXPECT_EQ(link.sent.size(), 2u);
    EXPECT_EQ(link.sent.at(1), link.sent.at(0)) << "the write is sent again";
    EXPECT_EQ(settings.retryCount, 0);
    EXPECT_EQ(wanted(100), 0x1234);
    EXPECT_EQ(poller.statistics().reconnects, 1u);
    EXPECT_EQ(outcome(), Outcome::Good);
}

TEST_F(PollerTest, ALinkThatIsLostWhileNothingIsAskedIsOpenedAgain)
{
    watch({"5:100x4"});
    step();
    link.cut();
    EXPECT_EQ(outcome(), Outcome::Good);
    EXPECT_EQ(poller.statistics().reconnects, 1u);
}

TEST_F(PollerTest, TracesEveryFrame)
{
    QStringList lines;
    poller.setTrace([&lines](const TraceEntry &entry) { lines << describe(entry); });
    watch({"5:0x2"});
    link.onSend = [this](const QByteArray &) {
        link.arrive(5ms, bytes("55") + frames::readReply(1, {{5, 0, 2}}, {bytes("12 34 56 78")}));
        link.arrive(6ms, bytes("AA"));
    };
    step();
    step();
    ASSERT_GE(lines.size(), 3);
    EXPECT_EQ(lines.at(0).toStdString(), "> 01 FE 01 08 02 00 00 80 7E  station 1, read area 5 0x2 (wire 0x08:0)");
    EXPECT_EQ(lines.at(1).toStdString(),
              "< 55 01 FE 01 08 02 12 34 56 78 9A D4  1 bytes skipped; station 1, area 5 x2: 1234 5678");
    EXPECT_EQ(lines.at(2).toStdString(), "< AA  thrown away: came without a question");
}

TEST_F(PollerTest, ASingleReadOfWordsLeavesNoMark)
{
    watch({"5:100x4"});
    step();
    const Time stored = age(poller, "5:100x4").stored;
    RW_VAR var = variable(6, 10, 4); // the driver stores its reply under the last grouped read
    AddListOnceReadVar(&var, 1);
    EXPECT_EQ(outcome(), Outcome::Good);
    EXPECT_EQ(age(poller, "5:100x4").stored, stored);
    EXPECT_FALSE(age(poller, "6:10x4").isKnown());
}

} // namespace
