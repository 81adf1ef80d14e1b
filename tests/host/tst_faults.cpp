// Long runs over a bad line in virtual time: no wrong value, no stop, counts that add up.
#include "host/host.h"
#include "support/fake_link.h"

#include <random>

using namespace fgs;

namespace
{

/// A line with one fault in every `oneIn` replies.
class BadLine
{
public:
    BadLine(FakeLink &theLink, unsigned seed, int theOneIn) : link(theLink), random(seed), oneIn(theOneIn)
    {
        link.onSend = [this](const QByteArray &request) { answer(request); };
    }

    std::map<std::string, int> counts;

private:
    int below(int limit) { return std::uniform_int_distribution<int>(0, limit - 1)(random); }
    Time ms(int from, int to) { return std::chrono::milliseconds(from + below(to - from)); }

    QByteArray noise(int most)
    {
        QByteArray bytes;
        for (int size = 1 + below(most); size > 0; --size)
            bytes.append(char(below(256)));
        return bytes;
    }

    QByteArray withWrongBit(QByteArray reply)
    {
        const int at = below(int(reply.size()));
        reply[at] = char(reply.at(at) ^ (1 << below(8)));
        return reply;
    }

    static QByteArray ofStation(int station, const QByteArray &request)
    {
        QByteArray frame = request.chopped(2);
        frame[0] = char(station);
        return frames::sealed(frame);
    }

    void answer(const QByteArray &request)
    {
        static const std::vector<std::pair<const char *, void (BadLine::*)(const QByteArray &, const QByteArray &)>>
            faults = {
                {"silence", &BadLine::silence},
                {"late", &BadLine::late},
                {"wrong bit", &BadLine::wrongBit},
                {"cut short", &BadLine::cutShort},
                {"longer", &BadLine::longer},
                {"noise ahead", &BadLine::noiseAhead},
                {"echo", &BadLine::echo},
                {"only an echo", &BadLine::onlyEcho},
                {"doubled", &BadLine::doubled},
                {"in pieces", &BadLine::inPieces},
                {"lost byte", &BadLine::lostByte},
                {"inserted byte", &BadLine::insertedByte},
                {"stranger ahead", &BadLine::strangerAhead},
                {"wrong station", &BadLine::wrongStation},
                {"other counts", &BadLine::otherCounts},
                {"babble", &BadLine::babble},
                {"link lost", &BadLine::linkLost},
            };
        const QByteArray reply = link.controller.answer(request);
        if (below(oneIn) != 0)
            return link.arrive(ms(1, 20), reply);
        const auto &fault = faults[std::size_t(below(int(faults.size())))];
        ++counts[fault.first];
        (this->*fault.second)(request, reply);
    }

    void silence(const QByteArray &, const QByteArray &) {}
    void late(const QByteArray &, const QByteArray &reply) { link.arrive(ms(150, 2000), reply); }
    void wrongBit(const QByteArray &, const QByteArray &reply) { link.arrive(5ms, withWrongBit(reply)); }
    void cutShort(const QByteArray &, const QByteArray &reply)
    {
        link.arrive(5ms, reply.left(below(int(reply.size()))));
    }
    void longer(const QByteArray &, const QByteArray &reply) { link.arrive(5ms, reply + noise(40)); }
    void noiseAhead(const QByteArray &, const QByteArray &reply) { link.arrive(5ms, noise(40) + reply); }
    void echo(const QByteArray &request, const QByteArray &reply)
    {
        link.arrive(1ms, request);
        link.arrive(5ms, reply);
    }
    void onlyEcho(const QByteArray &request, const QByteArray &) { link.arrive(1ms, request); }
    void doubled(const QByteArray &, const QByteArray &reply)
    {
        link.arrive(5ms, reply);
        link.arrive(6ms, reply);
    }
    void inPieces(const QByteArray &, const QByteArray &reply)
    {
        for (int i = 0; i < reply.size(); ++i)
            link.arrive(Time(5ms) + std::chrono::microseconds(50 * i), reply.mid(i, 1));
    }
    void lostByte(const QByteArray &, const QByteArray &reply)
    {
        link.arrive(5ms, QByteArray(reply).remove(below(int(reply.size())), 1));
    }
    void insertedByte(const QByteArray &, const QByteArray &reply)
    {
        link.arrive(5ms, QByteArray(reply).insert(below(int(reply.size())), char(below(256))));
    }
    void strangerAhead(const QByteArray &request, const QByteArray &reply)
    {
        FakeController strangers;
        link.arrive(2ms, strangers.answer(ofStation(77, request)));
        link.arrive(5ms, reply);
    }
    void wrongStation(const QByteArray &request, const QByteArray &)
    {
        FakeController strangers;
        link.arrive(5ms, strangers.answer(ofStation(77, request)));
    }
    void otherCounts(const QByteArray &request, const QByteArray &)
    {
        link.arrive(5ms, frames::readReply(request.at(0), {{5, 0, 3}}, {noise(1).repeated(6)}));
    }
    void babble(const QByteArray &, const QByteArray &)
    {
        for (int i = 0; i < 400; ++i)
            link.arrive(std::chrono::milliseconds(i), noise(8));
    }
    void linkLost(const QByteArray &, const QByteArray &) { link.cut(); }

    FakeLink &link;
    std::mt19937 random;
    const int oneIn;
};

class Faults : public DriverTest, public ::testing::WithParamInterface<int>
{
protected:
    Faults()
    {
        options.timing.timeout = 100ms;
        options.timing.firstReconnect = 10ms;
        options.blockWords = 16;
    }

    void addVariables(std::initializer_list<const char *> texts)
    {
        for (const char *text : texts)
            variables.push_back(parseVariable(QString::fromLatin1(text)));
    }

    quint32 wanted(const Variable &variable, int i) const
    {
        return link.controller.at(variable.station, areaOf(variable.area)->code, variable.address + i);
    }

    void expectRightValues(const Host &host, const std::vector<Variable> &of)
    {
        for (const Variable &variable : of) {
            SCOPED_TRACE(textOf(variable).toStdString());
            if (!host.ageOf(variable).isKnown())
                continue;
            const std::vector<quint32> values = host.values(variable);
            ASSERT_EQ(values.size(), std::size_t(variable.count));
            for (int i = 0; i < variable.count; ++i)
                ASSERT_EQ(values[std::size_t(i)], wanted(variable, i))
                    << textOf(variable).toStdString() << " at " << i;
        }
    }

    static void expectCountsAddUp(const Statistics &stats)
    {
        quint64 sum = 0;
        for (quint64 count : stats.outcomes)
            sum += count;
        ASSERT_EQ(stats.requests, sum);
        ASSERT_EQ(stats.failures(), stats.retries + stats.abandoned + stats.of(Outcome::LinkLost));
    }

    FakeLink link;
    HostOptions options;
    std::vector<Variable> variables;
};

TEST_P(Faults, NeverBecomeValues)
{
    // Many blocks of one shape, so that every late or doubled reply has its chance.
    for (int i = 0; i < 36; ++i)
        variables.push_back(parseVariable(QStringLiteral("5:%1x16@%2").arg(100 * i).arg(i < 30 ? 1 : 2)));
    addVariables({"0:0x248@1", "2:500x77@2", "10:3x9@1", "12:7@1", "5:9000@2"});
    BadLine line(link, unsigned(GetParam()), 3);
    Host host(linkedDriver(), link, variables, options);
    host.poll(variables);
    for (int i = 0; i < 4000 && !HasFatalFailure(); ++i) {
        host.step();
        expectCountsAddUp(host.statistics());
        if (i % 10 == 0)
            expectRightValues(host, variables);
    }
    EXPECT_EQ(line.counts.size(), 17u);
    EXPECT_GT(host.statistics().of(Outcome::Good), 1500u);
    for (const Variable &variable : variables)
        EXPECT_LT(link.now() - host.ageOf(variable).stored, 200s) << textOf(variable).toStdString();
}

TEST_P(Faults, NeverLetAWriteBeTakenBackOrLost)
{
    addVariables({"5:0x20", "2:64x24", "10:0x4", "5:1000x16", "5:2000x16"});
    BadLine line(link, unsigned(GetParam()), 4);
    options.retries = 6;
    Host host(linkedDriver(), link, variables, options);
    host.poll(variables);
    quint32 number = 1;
    for (int round = 0; round < 150 && !HasFatalFailure(); ++round) {
        SCOPED_TRACE(round);
        const Variable &variable = variables[std::size_t(round) % 3];
        std::vector<quint32> values;
        for (int i = 0; i < variable.count; ++i)
            values.push_back(areaOf(variable.area)->kind == AreaKind::Bit ? (number++ * 7 >> 3) & 1
                                                                          : number++ & 0xFFFF);
        ASSERT_TRUE(host.write(variable, values));
        const int lostBefore = host.writesLost();
        while (host.writesQueued())
            host.step();
        const Time written = link.now();
        if (host.writesLost() > lostBefore)
            continue;
        for (int i = 0; i < variable.count; ++i)
            ASSERT_EQ(wanted(variable, i), values[std::size_t(i)]) << "acknowledged but not written";
        while (host.ageOf(variable).stored <= written)
            host.step();
        ASSERT_EQ(host.values(variable), values) << "read back";
        expectCountsAddUp(host.statistics());
    }
    EXPECT_LT(host.writesLost(), 60);
}

INSTANTIATE_TEST_SUITE_P(Seeds, Faults, ::testing::Range(1, 6));

TEST_F(Faults, ADayWithoutALinkIsNoBusyLoop)
{
    addVariables({"5:0x4"});
    Host host(linkedDriver(), link, variables, options);
    host.poll(variables);
    host.step();
    link.cut();
    link.refusals = 1 << 30;
    const Time end = link.now() + std::chrono::hours(24);
    int steps = 0;
    for (; link.now() < end; ++steps)
        host.step();
    EXPECT_LE(steps, 24 * 3600 * 12) << "ten waits of a tenth of a second, and a try to open the link";
    link.refusals = 0;
    while (host.statistics().of(Outcome::Good) < 2)
        host.step();
    EXPECT_EQ(host.statistics().reconnects, 1u);
}

} // namespace
