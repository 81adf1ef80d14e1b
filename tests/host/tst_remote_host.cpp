// A host on the remote path: reading, writing, and what it can know of a reply that repeats nothing of its
// question.
#include "host/host.h"
#include "host/remote_frame.h"
#include "host/text_error.h"
#include "sim/controller.h"
#include "sim/crc.h"
#include "sim/remote_frame.h"
#include "support/fake_link.h"

using namespace fgs;

namespace
{

const int LinkNo = 7;

std::vector<Variable> parse(const std::vector<const char *> &texts)
{
    std::vector<Variable> variables;
    for (const char *text : texts)
        variables.push_back(parseVariable(QString::fromLatin1(text)));
    return variables;
}

/// The simulated far end, which shares no code with driver and host. The head of its replies is another one each
/// time: nobody may look at it.
class FarEnd
{
public:
    explicit FarEnd(const std::vector<unsigned> &stations)
        : controller(stations, fgssim::Memory(fgssim::Motion(stations, {}, fgssim::Values::Pattern, 1)),
                     fgssim::RemoteFraming)
    {
    }

    QByteArray answer(const QByteArray &request)
    {
        const fgssim::Bytes frame(request.begin(), request.end());
        EXPECT_EQ(fgssim::RemoteFraming.extent(frame).length, frame.size());
        EXPECT_EQ(fgssim::RemoteFraming.checkFault(frame), "");
        EXPECT_EQ(frame.at(3), LinkNo);
        const fgssim::Response response = controller.handle(frame);
        EXPECT_EQ(response.cause, "");
        if (response.reply.empty())
            return {};
        fgssim::Bytes body(response.reply.begin(), response.reply.end() - 2);
        for (std::size_t i = 0; i < 3; ++i)
            body[i] = fgssim::Byte(++head * 37);
        fgssim::appendCrc(body);
        return QByteArray(reinterpret_cast<const char *>(body.data()), int(body.size()));
    }

    fgssim::Controller controller;

private:
    unsigned head = 0;
};

quint32 patternValue(int station, int area, int address)
{
    const quint32 key = quint32(station) << 24 | quint32(area) << 16 | quint32(address);
    return (key * 2654435761u) >> (32 - bitsOf(areaOf(area)->kind));
}

class RemoteHost : public DriverTest
{
protected:
    RemoteHost()
    {
        options.remoteLink = LinkNo;
        link.onSend = [this](const QByteArray &request) { link.arrive(5ms, farEnd.answer(request)); };
    }

    Host &start(const std::vector<const char *> &texts)
    {
        variables = parse(texts);
        host = std::make_unique<Host>(linkedDriver(), link, variables, options);
        host->setTrace([this](const TraceEntry &entry) { lines << describe(entry); });
        return *host;
    }
    Host &poll(const std::vector<const char *> &texts)
    {
        start(texts).poll(variables);
        return *host;
    }

    bool areSettled() const
    {
        return std::all_of(variables.begin(), variables.end(),
                           [this](const Variable &variable) { return host->isSettled(variable); });
    }
    void untilSettled()
    {
        for (int i = 0; i < 10000 && !areSettled(); ++i)
            host->step();
        EXPECT_TRUE(areSettled());
    }

    ::testing::AssertionResult allValuesAreRight() const
    {
        for (const Variable &variable : variables) {
            const std::vector<quint32> values = host->values(variable);
            if (!host->ageOf(variable).isKnown() || values.size() != std::size_t(variable.count))
                return ::testing::AssertionFailure() << textOf(variable).toStdString() << " is not known";
            for (int i = 0; i < variable.count; ++i)
                if (values[std::size_t(i)] != patternValue(variable.station, variable.area, variable.address + i))
                    return ::testing::AssertionFailure() << textOf(variable).toStdString() << " at " << i;
        }
        return ::testing::AssertionSuccess();
    }

    FarEnd farEnd{{1, 2, 3, 255}};
    FakeLink link;
    HostOptions options;
    std::vector<Variable> variables;
    std::unique_ptr<Host> host;
    QStringList lines;
};

const std::vector<const char *> EveryArea = {"0:17x9",    "1:0",     "2:11990x10", "3:5", "4:100x33",
                                             "5:9990x10", "6:255",   "7:0x2",      "8:9", "9:100x100",
                                             "10:250x6",  "11:1119", "12:0x8",     "13:7"};

TEST_F(RemoteHost, ReadsEveryAreaIntoTheFixedImage)
{
    poll(EveryArea);
    EXPECT_EQ(PLC_driver.settings->stationMode, 0);
    untilSettled();
    EXPECT_TRUE(allValuesAreRight());
}

TEST_F(RemoteHost, ReadsEveryAreaOfSeveralStations)
{
    std::vector<const char *> texts = EveryArea;
    texts.insert(texts.end(), {"5:60000x300@2", "2:65500x36@255", "10:65535@3", "0:177777@3", "11:65529x7@2",
                               "10:5x3@3", "11:8x8@3", "11:1000x600@3"});
    poll(texts);
    EXPECT_EQ(PLC_driver.settings->stationMode, 1);
    untilSettled();
    EXPECT_TRUE(allValuesAreRight());
}

TEST_F(RemoteHost, GoesRoundForEver)
{
    poll({"5:0x4", "5:500x4", "2:0x8@1", "10:0x2"});
    for (int i = 0; i < 40; ++i)
        host->step();
    EXPECT_EQ(link.sent.size(), 40u);
    for (std::size_t i = 4; i < 40; ++i)
        EXPECT_EQ(link.sent[i], link.sent[i - 4]);
}

TEST_F(RemoteHost, SendsTheFrameOfTheDocuments)
{
    options.remoteLink = 3;
    link.onSend = [](const QByteArray &) {};
    poll({"5:100x2"});
    host->step();
    QByteArray documented = bytes("16 00 00 03 01 00 05 00 00 00 64 00 02 FF FF FF FF 00 00 00 00");
    documented.append('\x81');
    EXPECT_EQ(hex(link.sent.at(0)), hex(documented)) << "that of the protocol page, but for the host type 2";
}

TEST_F(RemoteHost, WritesEveryKindAndReadsItBack)
{
    start({"2:70x3", "5:100x3", "10:20x2", "11:5"});
    EXPECT_TRUE(host->write(variables[0], {1, 0, 1}));
    EXPECT_TRUE(host->write(variables[1], {0x1234, 0x5678, 0xFFFF}));
    EXPECT_TRUE(host->write(variables[2], {0x12345678, 0xFEDCBA98}));
    EXPECT_TRUE(host->write(variables[3], {1}));
    EXPECT_EQ(host->writesQueued(), 6) << "bits one by one";
    while (host->writesQueued() > 0)
        host->step();
    EXPECT_EQ(host->writesLost(), 0);
    fillImage(0);
    host->poll(variables);
    untilSettled();
    EXPECT_EQ(host->values(variables[0]), (std::vector<quint32>{1, 0, 1}));
    EXPECT_EQ(host->values(variables[1]), (std::vector<quint32>{0x1234, 0x5678, 0xFFFF}));
    EXPECT_EQ(host->values(variables[2]), (std::vector<quint32>{0x12345678, 0xFEDCBA98}));
    EXPECT_EQ(host->values(variables[3]), (std::vector<quint32>{1}));
}

TEST_F(RemoteHost, NoWriteIsLongerThanItsLengthByteTells)
{
    options.blockWords = MaxBlockWords;
    start({"5:0x1000", "10:0x300"});
    std::vector<quint32> words(1000), doubleWords(300);
    for (std::size_t i = 0; i < words.size(); ++i)
        words[i] = quint32(i);
    for (std::size_t i = 0; i < doubleWords.size(); ++i)
        doubleWords[i] = quint32(i) * 70000;
    EXPECT_TRUE(host->write(variables[0], words));
    EXPECT_TRUE(host->write(variables[1], doubleWords));
    while (host->writesQueued() > 0)
        host->step();
    for (const QByteArray &frame : link.sent)
        EXPECT_EQ(int(frame.at(0)) & 0xFF, int(frame.size()));
    EXPECT_EQ(link.sent.size(), 9u + 6u) << "116 words, or 58 double words, a request";
    host->poll(variables);
    untilSettled();
    EXPECT_EQ(host->values(variables[0]), words);
    EXPECT_EQ(host->values(variables[1]), doubleWords);
}

TEST_F(RemoteHost, SendsAWriteToAllStationsWithoutWaiting)
{
    start({"5:10@0", "5:10@1", "5:10@2"});
    EXPECT_TRUE(host->write(variables[0], {4711}));
    const Step step = host->step();
    EXPECT_TRUE(step.ended);
    EXPECT_EQ(step.outcome, Outcome::Good);
    host->poll({variables[1], variables[2]});
    while (!host->isSettled(variables[1]) || !host->isSettled(variables[2]))
        host->step();
    EXPECT_EQ(host->values(variables[1]), (std::vector<quint32>{4711}));
    EXPECT_EQ(host->values(variables[2]), (std::vector<quint32>{4711}));
}

TEST_F(RemoteHost, RefusesToWriteReadOnlyAreas)
{
    start({"8:0", "0:0"});
    EXPECT_THROW(host->write(variables[0], {1}), TextError);
    EXPECT_THROW(host->write(variables[1], {1}), TextError);
}

TEST_F(RemoteHost, ReadsBitsOnce)
{
    start({"2:100x3000", "11:17", "5:0x4"}).poll({variables[2]});
    host->readSoon({variables[0], variables[1]});
    for (int i = 0; i < 100 && !(host->ageOf(variables[0]).isKnown() && host->ageOf(variables[1]).isKnown()); ++i)
        host->step();
    untilSettled();
    EXPECT_TRUE(allValuesAreRight());
    const std::size_t before = link.sent.size();
    host->step();
    host->step();
    EXPECT_EQ(link.sent[before], link.sent[before + 1]) << "nothing but the polled block is left";
}

TEST_F(RemoteHost, ABitThatIsReadOnceOfASilentStationIsForgotten)
{
    options.retries = 0;
    options.timing.late = 0ms;
    start({"2:0@9", "2:800x80@1", "5:0x4@1"}).poll({variables[2]});
    host->readSoon({variables[0], variables[1]});
    for (int i = 0; i < 30; ++i)
        host->step();
    EXPECT_FALSE(host->ageOf(variables[0]).isKnown());
    EXPECT_TRUE(host->ageOf(variables[1]).isKnown());
}

// ---- what a reply is

/// Answers the next requests with these instead of the good reply, in turn; then well.
class RemoteReplies : public RemoteHost
{
protected:
    using Damage = std::function<QByteArray(const QByteArray &request, const QByteArray &good)>;

    void replyNext(const Damage &damage) { script.push_back(damage); }

    RemoteReplies()
    {
        link.onSend = [this](const QByteArray &request) {
            const QByteArray good = farEnd.answer(request);
            if (script.empty())
                return link.arrive(5ms, good);
            const Damage damage = script.front();
            script.erase(script.begin());
            link.arrive(5ms, damage(request, good));
        };
    }

    Outcome outcomeOf(const Damage &damage)
    {
        if (!host)
            poll({"5:100x4", "5:900x4"});
        replyNext(damage);
        return host->step().outcome;
    }

    std::vector<Damage> script;
};

TEST_F(RemoteReplies, AreTakenByLengthAndCheckCode)
{
    EXPECT_EQ(outcomeOf([](const QByteArray &, const QByteArray &good) { return good; }), Outcome::Good);
    EXPECT_EQ(outcomeOf([](const QByteArray &, const QByteArray &) { return QByteArray(); }), Outcome::NoReply);
    EXPECT_EQ(outcomeOf([](const QByteArray &, const QByteArray &good) { return good.left(6); }),
              Outcome::Incomplete);
    EXPECT_EQ(outcomeOf([](const QByteArray &, QByteArray good) {
                  good[4] = char(good.at(4) ^ 1);
                  return good;
              }),
              Outcome::BadCheck);
    EXPECT_EQ(outcomeOf([](const QByteArray &, const QByteArray &good) { return QByteArray(100, 'x') + good; }),
              Outcome::Garbled);
    for (int i = 0; i < 4; ++i)
        host->step();
    EXPECT_TRUE(allValuesAreRight());
}

TEST_F(RemoteReplies, GiveTheDriversRemoteCodes)
{
    options.retries = 0;
    options.timing.late = 0ms;
    outcomeOf([](const QByteArray &, const QByteArray &good) { return good; });
    EXPECT_EQ(PLC_driver.RetVar.result, 1) << "stored";
    outcomeOf([](const QByteArray &, const QByteArray &) { return QByteArray(); });
    EXPECT_EQ(PLC_driver.RetVar.result, 141);
    outcomeOf([](const QByteArray &, const QByteArray &good) { return good.left(6); });
    EXPECT_EQ(PLC_driver.RetVar.result, 171);
    outcomeOf([](const QByteArray &, QByteArray good) {
        good[4] = char(good.at(4) ^ 1);
        return good;
    });
    EXPECT_EQ(PLC_driver.RetVar.result, 111);
    host->write(variables[0], {1, 2, 3, 4});
    outcomeOf([](const QByteArray &, const QByteArray &good) { return good; });
    EXPECT_EQ(PLC_driver.RetVar.result, 100) << "good, and nothing to store";
}

TEST_F(RemoteReplies, AreFoundBehindEchoesAndALittleNoise)
{
    EXPECT_EQ(outcomeOf([](const QByteArray &request, const QByteArray &good) { return request + good; }),
              Outcome::Good);
    EXPECT_EQ(outcomeOf([](const QByteArray &request, const QByteArray &good) { return request + request + good; }),
              Outcome::Good);
    EXPECT_EQ(outcomeOf([](const QByteArray &, const QByteArray &good) { return QByteArray(1, '\0') + good; }),
              Outcome::Good);
    EXPECT_EQ(outcomeOf([](const QByteArray &, const QByteArray &good) {
                  return QByteArray(ReplyFinder::MostNoise, 'x') + good;
              }),
              Outcome::Good);
    EXPECT_EQ(outcomeOf([](const QByteArray &request, const QByteArray &) { return request; }), Outcome::NoReply);
    EXPECT_TRUE(allValuesAreRight());
}

TEST_F(RemoteReplies, ABrokenOneIsNotWaitedForUntilTheTimeLimit)
{
    options.timing.timeout = 10s;
    const Time begin = link.now();
    EXPECT_EQ(outcomeOf([](const QByteArray &, QByteArray good) {
                  good[4] = char(good.at(4) ^ 1);
                  return good;
              }),
              Outcome::BadCheck);
    EXPECT_LE(link.now() - begin, 1s) << "of virtual time";
}

TEST_F(RemoteReplies, ALateOneIsWaitedForBeforeAnythingWithAReplyOfItsLength)
{
    options.retries = 0;
    options.timing.timeout = 100ms;
    options.timing.late = 1s;
    poll({"5:100x4@1", "5:900x4@2", "5:2000x9@3"});
    QByteArray late;
    replyNext([&late](const QByteArray &, const QByteArray &good) {
        late = good;
        return QByteArray();
    });
    host->step();
    link.arrive(500ms, late);
    untilSettled();
    EXPECT_TRUE(host->ageOf(variables[1]).isKnown());
    EXPECT_EQ(host->values(variables[1]).at(0), patternValue(2, 5, 900));
    EXPECT_GE(link.sentAt[1] - link.sentAt[0], 600ms) << "another station's, but nobody could tell";
}

TEST_F(RemoteReplies, ALateOneDoesNotHoldUpOtherLengths)
{
    options.retries = 0;
    options.timing.timeout = 100ms;
    options.timing.late = 10s;
    poll({"5:100x4@1", "5:2000x9@3"});
    replyNext([](const QByteArray &, const QByteArray &) { return QByteArray(); });
    host->step();
    host->step();
    EXPECT_LE(link.sentAt[1] - link.sentAt[0], 1s) << "of virtual time";
}

TEST_F(RemoteReplies, ThatComeTwiceAreNoticed)
{
    poll({"5:100x4", "5:900x4"});
    bool isAlert = false;
    host->setEvents([&](const LineEvent &event) { isAlert = isAlert || event.kind == LineEvent::UnaskedAnswers; });
    QByteArray copy;
    replyNext([&copy](const QByteArray &, const QByteArray &good) {
        copy = good;
        return good;
    });
    replyNext([&copy](const QByteArray &, const QByteArray &good) { return copy + good; });
    for (int i = 0; i < 4; ++i)
        host->step();
    EXPECT_TRUE(isAlert);
    untilSettled();
    for (int i = 0; i < 4; ++i)
        host->step();
    EXPECT_TRUE(allValuesAreRight());
}

// ---- stations and places that do not answer

TEST_F(RemoteHost, ASilentStationRestsAndComesBack)
{
    options.retries = 0;
    options.timing.timeout = 100ms;
    options.timing.late = 200ms;
    poll({"5:0x4@1", "5:0x4@9"});
    for (int i = 0; i < 20 && !host->rests(9); ++i)
        host->step();
    EXPECT_TRUE(host->rests(9));
    EXPECT_TRUE(host->ageOf(variables[0]).isKnown());
    FarEnd revived({1, 9});
    link.onSend = [&](const QByteArray &request) { link.arrive(5ms, revived.answer(request)); };
    for (int i = 0; i < 10000 && host->rests(9); ++i)
        host->step();
    untilSettled();
    EXPECT_TRUE(allValuesAreRight());
}

void namesTheSilentPlace(FakeLink &link, FarEnd &farEnd, int area, int first, int last)
{
    link.onSend = [&link, &farEnd, area, first, last](const QByteArray &request) {
        const fgssim::Bytes frame(request.begin(), request.end());
        const fgssim::Entry entry = fgssim::parseRemoteRequest(frame).entries.front();
        const bool touches =
            entry.area->number == area && int(entry.address) <= last && first < int(entry.address + entry.count);
        if (!touches)
            link.arrive(5ms, farEnd.answer(request));
    };
}

TEST_F(RemoteHost, APlaceThatDoesNotAnswerIsFoundAndLeftOut)
{
    namesTheSilentPlace(link, farEnd, 5, 117, 117);
    options.timing.late = 0ms;
    poll({"5:100x40", "5:500x4"});
    untilSettled();
    EXPECT_EQ(host->silentPlaces(variables[0]).size(), 1u);
    EXPECT_EQ(host->silentPlaces(variables[0]).front().address, 117);
    EXPECT_EQ(host->silentPlaces(variables[0]).front().count, 1);
    const Variable rest = parseVariable(QStringLiteral("5:118x22"));
    EXPECT_TRUE(host->ageOf(rest).isKnown());
}

TEST_F(RemoteHost, InArea11APairOfBytesIsFound)
{
    namesTheSilentPlace(link, farEnd, 11, 160, 160);
    options.timing.late = 0ms;
    poll({"11:0x400", "5:500x4"});
    untilSettled();
    int bits = 0;
    for (const Variable &place : host->silentPlaces(variables[0]))
        bits += place.count;
    EXPECT_GE(bits, 8);
    EXPECT_LE(bits, 16) << "the byte, and perhaps the one that cannot be asked for without it";
    EXPECT_TRUE(host->ageOf(parseVariable(QStringLiteral("11:176x224"))).isKnown());
    EXPECT_TRUE(host->ageOf(parseVariable(QStringLiteral("11:0x144"))).isKnown());
}

// ---- words

TEST_F(RemoteHost, FramesAreToldInWords)
{
    start({"5:100x2", "2:16x8", "11:16x16", "10:5", "1:17"});
    host->write(variables[0], {0x1234, 0x5678});
    host->write(variables[3], {0x12345678});
    host->write(variables[4], {1});
    while (host->writesQueued() > 0)
        host->step();
    host->poll(variables);
    untilSettled();
    const auto has = [this](const char *text) { return lines.filter(QLatin1String(text)).size() > 0; };
    EXPECT_TRUE(has("link 7, station 1, remote write area 5 100x2 = 1234 5678"));
    EXPECT_TRUE(has("link 7, station 1, remote write area 10 5x1 = 12345678"));
    EXPECT_TRUE(has("link 7, station 1, remote write area 1 17x1 = 1"));
    EXPECT_TRUE(has("station 1, write done (reply begins "));
    EXPECT_TRUE(has("link 7, station 1, remote read area 5 100x2"));
    EXPECT_TRUE(has("station 1, area 5 100x2: 1234 5678 (reply begins "));
    EXPECT_TRUE(has("link 7, station 1, remote read area 11 16x16"));
    EXPECT_TRUE(has("station 1, area 10 5x1: 12345678 (reply begins "))
        << lines.join(QLatin1Char('\n')).toStdString();
}

} // namespace
