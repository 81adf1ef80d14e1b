// What fgs shows while somebody tells fgs-sim what goes wrong.
#include "programs.h"
#include "rows.h"
#include "support/serial_ports.h"
#include "support/temporary_folder.h"
#include "support/texts.h"

#include <gtest/gtest.h>

namespace
{

class Controlled : public testing::Test
{
protected:
    explicit Controlled(const char *link)
        : simulator(QString::fromLatin1(link).split(QLatin1Char(' ')) +
                    QStringList{QStringLiteral("--stations"), QStringLiteral("1,2"), QStringLiteral("--values"),
                                QStringLiteral("pattern"), QStringLiteral("--control=") + socket})
    {
    }
    void tell(const char *command) const
    {
        const QStringList words = QString::fromLatin1(command).split(QLatin1Char(' '));
        Program ctl(QStringLiteral("fgs-sim"),
                    QStringList{QStringLiteral("ctl"), QStringLiteral("--socket"), socket} + words);
        const Result result = ctl.wait();
        EXPECT_EQ(result.code, 0) << command << ": " << result.messages.toStdString();
    }
    /// Takes messages until this one comes; false if there is none.
    static bool says(Program &program, const char *message)
    {
        for (QString next; !(next = program.message()).isEmpty();)
            if (next == QLatin1String(message))
                return true;
        return false;
    }

    TemporaryFolder folder;
    const QString socket = QString::fromStdString(folder.path / "socket");
    Simulator simulator;
};

class OnTcp : public Controlled
{
protected:
    OnTcp() : Controlled("--tcp 0") {}
};

class Remotely : public Controlled
{
protected:
    Remotely() : Controlled("--tcp 0 --remote") {}
    Result write(const char *arguments)
    {
        return runFgs(
            wordsOf(QStringLiteral("write L --remote --late 200 ") + QLatin1String(arguments), simulator.link()));
    }
};

class OnPty : public Controlled
{
protected:
    OnPty() : Controlled("--pty") {}
    void SetUp() override { NEEDS_SERIAL_PORTS(); }
};

std::string word(int address)
{
    return std::to_string(patternValue(1, 5, address));
}

} // namespace

TEST_F(OnTcp, AMissingAddressIsNamedAndTakenBack)
{
    tell("missing 5:20000@1");
    Program poll("poll L 5:0 5:300 5:20000 5:900 --timeout 600 --late 0", simulator.link());
    EXPECT_TRUE(says(poll, "fgs: 5:20000@1 does not answer; its neighbours do; left out"));
    tell("present 5:20000");
    EXPECT_TRUE(says(poll, "fgs: 5:20000@1 answers again"));
    poll.interrupt();
    EXPECT_EQ(poll.wait().code, 130);
}

TEST_F(OnTcp, ARefusedWriteHasItsExitCode)
{
    tell("refuse 5:10x2");
    const Result refused = runFgs("write L 5:11=1 --timeout 3600000", simulator.link());
    EXPECT_EQ(refused.code, 5);
    EXPECT_EQ(contentsOf(refused), Texts{word(11) + "  refused by the controller"});
    tell("accept 5:11");
    EXPECT_EQ(runFgs("write L 5:11=1 --timeout 3600000", simulator.link()).code, 0);
}

TEST_F(OnTcp, AStationThatIsSwitchedOffIsToldDownAndUpAgain)
{
    tell("station 2 off");
    Program poll("poll L 5:0 5:0@2 --timeout 600 --late 0 --retries 0", simulator.link());
    EXPECT_TRUE(says(poll, "fgs: station 2 does not answer"));
    tell("station 2 on");
    EXPECT_TRUE(says(poll, "fgs: station 2 answers again"));
    poll.interrupt();
    EXPECT_EQ(poll.wait().code, 130);
}

TEST_F(OnPty, AnUnpluggedLineIsSilenceForEveryStation)
{
    tell("unplug");
    EXPECT_EQ(runFgs("read L 5:0 5:0@2 --timeout 100 --retries 0", simulator.link()).code, 4);
    tell("plug");
    EXPECT_EQ(runFgs("read L 5:0 5:0@2 --timeout 3600000", simulator.link()).code, 0);
}

/// There a line that says nothing is taken for a lost connection.
TEST_F(OnTcp, AnUnpluggedLineIsALostConnection)
{
    tell("unplug");
    EXPECT_EQ(runFgs("read L 5:0 5:0@2 --timeout 100 --retries 0", simulator.link()).code, 3);
    tell("plug");
    EXPECT_EQ(runFgs("read L 5:0 5:0@2 --timeout 3600000", simulator.link()).code, 0);
}

TEST_F(OnTcp, AChosenFaultIsRepaired)
{
    tell("fault bit of the check, low byte x1");
    const Result result = runFgs("read L 5:0 --timeout 2000", simulator.link());
    EXPECT_EQ(result.code, 0);
    EXPECT_EQ(contentsOf(result), Texts{word(0)});
    EXPECT_TRUE(result.messages.contains(QLatin1String("wrong check code"))) << result.messages.toStdString();
}

TEST_F(Remotely, FaultsStrikeAcknowledgements)
{
    tell("fault bit of the check, low byte x1 @1");
    Result result = write("5:100=7 --timeout 3600000");
    EXPECT_EQ(result.code, 0) << result.messages.toStdString();
    EXPECT_EQ(contentsOf(result), Texts{"7  written and verified"}) << "it was repeated";
    tell("fault silence x1 @1");
    result = write("5:100=8 --retries 0 --timeout 3000");
    EXPECT_EQ(contentsOf(result), Texts{"8  not acknowledged (no reply); the controller holds the new values"});
    tell("fault another station's frame only x1 @1");
    result = write("5:100=9 --retries 0 --timeout 3600000");
    EXPECT_EQ(contentsOf(result), Texts{"9  written and verified"}) << "no remote reply tells whose it is";
}

TEST_F(OnTcp, ALostLinkIsOpenedAgainByAPoll)
{
    Program poll("poll L 5:0 --timeout 2000", simulator.link());
    EXPECT_EQ(rowOf(poll.line()).content, word(0));
    tell("fault link lost");
    EXPECT_NE(poll.message(), "");
    tell("set 5:0@1=4711");
    for (QString next = poll.line(); !next.isEmpty() && rowOf(next).content != "4711"; next = poll.line()) {
    }
    poll.interrupt();
    EXPECT_EQ(poll.wait().code, 130);
}
