// Ctrl-C, SIGTERM and --for end fgs, whatever it waits for.
#include "full_queue.h"
#include "own_controller.h"
#include "rows.h"
#include "support/texts.h"

#include <gtest/gtest.h>

namespace
{

struct Signal {
    int number;
    int code;
};
class Signalled : public ::testing::TestWithParam<Signal>
{
protected:
    static Result ended(Program &program)
    {
        program.interrupt(GetParam().number);
        const Result result = program.wait();
        EXPECT_EQ(result.code, GetParam().code) << result.messages.toStdString();
        return result;
    }
};
INSTANTIATE_TEST_SUITE_P(Both, Signalled, ::testing::Values(Signal{SIGINT, 130}, Signal{SIGTERM, 143}),
                         [](const auto &each) { return each.param.number == SIGINT ? "CtrlC" : "Term"; });

Script silentFromRequest(int nth)
{
    return [nth, seen = 0](const Request &, const QByteArray &good) mutable {
        return ++seen >= nth ? Silence : Reply{good};
    };
}

TEST_P(Signalled, AReadThatWaitsForAReplySaysWhatIsKnown)
{
    OwnController controller(silentFromRequest(2));
    QString command = QStringLiteral("read L --timeout 3600000");
    for (int i = 0; i < 20; ++i)
        command += QStringLiteral(" 5:%1").arg(i * 300);
    Program read(command.toLatin1().constData(), controller.link());
    controller.waitForRequests(2);
    const Texts contents = contentsOf(ended(read));
    const Log log = controller.log();
    ASSERT_EQ(log.size(), 2u);
    ASSERT_EQ(contents.size(), 20u);
    for (int i = 0; i < 20; ++i)
        EXPECT_EQ(contents[size_t(i)], log[0].touches(5, i * 300)   ? std::to_string(controller.held(1, 5, i * 300))
                                       : log[1].touches(5, i * 300) ? "-  under way"
                                                                    : "-  not asked yet")
            << i;
}

TEST_P(Signalled, AReadInJsonSaysItToo)
{
    OwnController controller(silentFromRequest(1));
    Program read("read L --json --timeout 3600000 5:0 5:0@2", controller.link());
    controller.waitForRequests(1);
    const Result result = ended(read);
    EXPECT_EQ(textsOf(readings(result), "reason"), (Texts{"underWay", "notAskedYet"}));
    EXPECT_TRUE(isWall(result.summary().value(QStringLiteral("end")).toString()));
}

/// As under nohup, or in the background of a script.
TEST(IgnoredFromTheStart, ASignalStaysSo)
{
    OwnController controller;
    std::signal(SIGINT, SIG_IGN);
    Program poll("poll L 5:0", controller.link());
    std::signal(SIGINT, SIG_DFL);
    EXPECT_EQ(rowOf(poll.line()).place, "5:0@1");
    poll.interrupt(SIGINT);
    controller.waitForRequests(controller.log().size() + 3);
    poll.interrupt(SIGTERM);
    EXPECT_EQ(poll.wait().code, 143);
}

TEST_P(Signalled, APollThatWaitsForAReply)
{
    OwnController controller(silentFromRequest(2));
    Program poll("poll L 5:0 --timeout 3600000", controller.link());
    EXPECT_EQ(rowOf(poll.line()).place, "5:0@1");
    controller.waitForRequests(2);
    const Result result = ended(poll);
    EXPECT_TRUE(contains(result.messages, QLatin1String(" requests in ")));
}

TEST_P(Signalled, APollThatWaitsForTheNextRound)
{
    OwnController controller;
    Program poll("poll L 5:0 --interval 3600000 --json", controller.link());
    EXPECT_TRUE(contains(poll.line(), QLatin1String("5:0@1")));
    EXPECT_TRUE(isWall(ended(poll).summary().value(QStringLiteral("end")).toString()));
}

TEST_P(Signalled, APollThatWaitsForItsLink)
{
    OwnController controller;
    Program poll("poll L 5:0", controller.link());
    EXPECT_EQ(rowOf(poll.line()).place, "5:0@1");
    controller.shutDoor();
    while (!poll.message().startsWith(QLatin1String("fgs: link lost: "))) {
    }
    ended(poll);
}

TEST_P(Signalled, AReadThatConnects)
{
    const FullQueue queue;
    Program read("read L 5:0 5:1@2", queue.link());
    queue.waitForCaller();
    const Result result = ended(read);
    EXPECT_EQ(contentsOf(result), (Texts{"-  not asked yet", "-  not asked yet"}));
    EXPECT_FALSE(contains(result.messages, QLatin1String("cannot open link")));
}

TEST_P(Signalled, AWriteThatConnects)
{
    const FullQueue queue;
    Program write("write L 5:0=1 5:1@2=2", queue.link());
    queue.waitForCaller();
    EXPECT_EQ(contentsOf(ended(write)), (Texts{"-  not sent", "-  not sent"}));
}

TEST_P(Signalled, APollThatConnects)
{
    const FullQueue queue;
    Program poll("poll L 5:0 --json", queue.link());
    queue.waitForCaller();
    EXPECT_TRUE(isWall(ended(poll).summary().value(QStringLiteral("end")).toString()));
}

TEST(For, EndsAPollThatWaitsForAReply)
{
    OwnController controller(silentFromRequest(1));
    const Result result = runFgs("poll L 5:0 --timeout 3600000 --for 0.5 --json", controller.link());
    EXPECT_TRUE(result.code == 4 || result.code == 8) << result.code;
    EXPECT_TRUE(isWall(result.summary().value(QStringLiteral("end")).toString()));
}

TEST(For, EndsAPollThatWaitsForTheNextRound)
{
    OwnController controller;
    const Result result = runFgs("poll L 5:0 --interval 3600000 --for 3", controller.link());
    EXPECT_EQ(result.code == 0, !result.lines().isEmpty()) << result.code;
    EXPECT_LE(controller.log().size(), 1u);
}

TEST(For, EndsAPollThatConnects)
{
    const FullQueue queue;
    EXPECT_EQ(runFgs("poll L 5:0 --for 0.5", queue.link()).code, 3);
}

} // namespace
