// A fault from the field as a test at the desk: a trace of a bad line, answered again by fgs-sim.
#include "programs.h"
#include "support/serial_ports.h"
#include "support/texts.h"

#include <gtest/gtest.h>

#include <fstream>
#include <QtCore/QTemporaryDir>

namespace
{

/// Requests and what became of each, in their order, as a trace has them.
std::vector<std::string> outcomes(const QString &trace)
{
    std::vector<std::string> all;
    for (const QJsonObject &each : runFgs({QStringLiteral("decode"), QStringLiteral("--json"), trace}).objects()) {
        const QJsonObject request = each.value(QStringLiteral("request")).toObject();
        if (!request.isEmpty())
            all.push_back(request.value(QStringLiteral("bytes")).toString().toStdString() + " " +
                          each.value(QStringLiteral("outcome")).toString().toStdString());
    }
    return all;
}

class ReplayTest : public ::testing::Test
{
protected:
    QString path(const char *name) const { return folder.filePath(QLatin1String(name)); }

    /// An answer has a second, also on a busy machine; tst_replay has late ones, in virtual time.
    Result poll(const QString &link, const char *name) const
    {
        return runFgs(
            wordsOf(QStringLiteral("poll L 5:100x4 0:17 10:5 5:300x30 5:600x40 12:0x8 --block 16 --count 8 "
                                   "--timeout 1000 --late 0 --json --trace ") +
                        path(name),
                    link));
    }

    const QTemporaryDir folder;
};

/// The counts of outcomes in a summary.
QJsonObject counts(const Result &result)
{
    return result.summary().value(QStringLiteral("outcomes")).toObject();
}

} // namespace

TEST_F(ReplayTest, GivesTheSameOutcomesFromEitherSide)
{
    NEEDS_SERIAL_PORTS();
    Result first;
    {
        Simulator faulty(wordsOf(
            QStringLiteral("--faults 4 --fault late=6 --late-by 3000 --seed 11 --trace ") + path("plc"), {}));
        first = poll(faulty.link(), "first");
        faulty.endAndCountRequests();
    }
    const std::vector<std::string> recorded = outcomes(path("first"));
    const QJsonObject count = counts(first);
    EXPECT_GT(int(recorded.size()) - count.value(QStringLiteral("good")).toInt(), 2) << "hardly a faulty run";
    for (const char *side : {"first", "plc"}) {
        Simulator replaying({QStringLiteral("--replay"), path(side)});
        const Result again = poll(replaying.link(), "again");
        EXPECT_EQ(outcomes(path("again")), recorded) << side;
        EXPECT_EQ(counts(again), count) << side;
        EXPECT_EQ(again.code, first.code) << side;
    }
}

TEST_F(ReplayTest, AnswersRemoteFrames)
{
    const auto remotePoll = [this](const QString &link, const char *name) {
        return runFgs(wordsOf(QStringLiteral("poll L --remote 5:100x4 0:17 10:5 5:300x30 --count 12 --timeout 1000 "
                                             "--late 0 --json --trace ") +
                                  path(name),
                              link));
    };
    Result first;
    {
        Simulator faulty(wordsOf(QStringLiteral("--tcp 0 --remote --fault crc=10 --fault short=5 --seed 3"), {}));
        first = remotePoll(faulty.link(), "first");
        faulty.endAndCountRequests();
    }
    EXPECT_GT(counts(first).value(QStringLiteral("badCheck")).toInt(), 0);
    Simulator replaying({QStringLiteral("--tcp"), QStringLiteral("0"), QStringLiteral("--replay"), path("first")});
    const Result again = remotePoll(replaying.link(), "again");
    EXPECT_EQ(outcomes(path("again")), outcomes(path("first")));
    EXPECT_EQ(counts(again), counts(first));
}

TEST_F(ReplayTest, CountsWhatItDoesNotHave)
{
    Simulator simulator({QStringLiteral("--tcp"), QStringLiteral("0"), QStringLiteral("--set"),
                         QStringLiteral("5:100x2=fixed:77")});
    EXPECT_EQ(runFgs({QStringLiteral("read"), simulator.link(), QStringLiteral("5:100x4"),
                      QStringLiteral("--trace"), path("one")})
                  .code,
              0);
    Program replaying(QStringLiteral("fgs-sim"),
                      {QStringLiteral("--tcp"), QStringLiteral("0"), QStringLiteral("--replay"), path("one"),
                       QStringLiteral("--replay-fast")});
    const QString link = replaying.line();
    const Result known = runFgs({QStringLiteral("read"), link, QStringLiteral("5:100x4")});
    EXPECT_EQ(known.code, 0);
    EXPECT_TRUE(contains(known.out, QStringLiteral("77 77")));
    EXPECT_EQ(runFgs({QStringLiteral("read"), link, QStringLiteral("5:200x4"), QStringLiteral("--timeout"),
                      QStringLiteral("50"), QStringLiteral("--retries"), QStringLiteral("0"),
                      QStringLiteral("--late"), QStringLiteral("0")})
                  .code,
              4);
    replaying.interrupt();
    const Result end = replaying.wait();
    EXPECT_TRUE(contains(end.messages, QStringLiteral("replay: answered as recorded 1, not in the recording ")));
    EXPECT_FALSE(end.messages.contains(QLatin1String("not in the recording 0")));
}

namespace
{

Result refusalOf(const QStringList &arguments)
{
    Program program(QStringLiteral("fgs-sim"), arguments);
    return program.wait();
}

} // namespace

TEST_F(ReplayTest, OfWhatIsNoTraceIsRefused)
{
    const QString replay = QStringLiteral("--replay");
    const Result missing = refusalOf({replay, path("nothing")});
    EXPECT_EQ(missing.code, 1);
    EXPECT_TRUE(contains(missing.messages, QStringLiteral("cannot be read: No such file or directory")));
    std::ofstream(path("text").toStdString()) << "01 FE\n";
    const Result text = refusalOf({replay, path("text")});
    EXPECT_EQ(text.code, 1);
    EXPECT_TRUE(contains(text.messages, QStringLiteral("has no requests to answer among its 0 frames; offset 0")));
    EXPECT_TRUE(contains(text.messages, QStringLiteral("record one with fgs --trace")));
    const Result both = refusalOf({replay, path("text"), QStringLiteral("--faults"), QStringLiteral("3")});
    EXPECT_EQ(both.code, 2);
    EXPECT_TRUE(contains(both.messages, QStringLiteral("--faults")));
}
