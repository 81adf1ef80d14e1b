// The commands against a simulated controller, over a pseudo-terminal and TCP.
#include "programs.h"
#include "rows.h"
#include "support/serial_ports.h"
#include "support/texts.h"

#include <cstdlib>
#include <gtest/gtest.h>
#include <QtCore/QJsonArray>
#include <QtCore/QRegularExpression>

namespace
{

const QStringList Patience = {QStringLiteral("--timeout"), QStringLiteral("3600000")};

class OnLink : public ::testing::TestWithParam<const char *>
{
protected:
    void SetUp() override
    {
        if (GetParam() == std::string("--pty"))
            NEEDS_SERIAL_PORTS();
    }
    static QStringList simulatorArguments(const QString &more)
    {
        return (QString::fromLatin1(GetParam()) + more).split(QLatin1Char(' '), Qt::SkipEmptyParts);
    }
    /// The program's arguments, L standing for the link. An answer is waited for as long as it takes, unless they
    /// say otherwise.
    Result run(const char *arguments)
    {
        QStringList list = QString::fromLatin1(arguments).split(QLatin1Char(' '));
        list.replaceInStrings(QRegularExpression(QStringLiteral("^L$")), simulator.link());
        if (!list.contains(QStringLiteral("--timeout")))
            list << Patience;
        return runFgs(list);
    }
    /// The exit code when nothing can be written to stdout.
    int codeOnFullDisk(const char *arguments)
    {
        std::string command;
        for (const std::string &word : commandOf(TARN_BINARY_DIR "/fgs"))
            command += word + ' ';
        command += QString::fromLatin1(arguments).replace(QLatin1Char('L'), simulator.link()).toStdString();
        return WEXITSTATUS(std::system((command + " >/dev/full 2>/dev/null").c_str()));
    }

    Simulator simulator{simulatorArguments(QStringLiteral(" --stations 1,2 --values pattern"))};
};

INSTANTIATE_TEST_SUITE_P(Links, OnLink, ::testing::Values("--pty", "--tcp 0"));

TEST_P(OnLink, OutputThatIsLostIsAFailure)
{
    for (const char *arguments : {"read L 5:100", "write L 5:100=1", "poll L 5:100 --count 1", "--help"})
        EXPECT_EQ(codeOnFullDisk(arguments), 1) << arguments;
}

std::string word(int station, int address)
{
    return std::to_string(patternValue(station, 5, address));
}

TEST_P(OnLink, ReadsEveryKind)
{
    const Result result = run("read L 5:100x2 0:17@2 10:5 --quiet");
    EXPECT_EQ(result.code, 0);
    EXPECT_EQ(result.messages.toStdString(), "");
    EXPECT_EQ(placesOf(result), (Texts{"5:100x2@1", "0:17@2", "10:5@1"}));
    EXPECT_EQ(contentsOf(result), (Texts{word(1, 100) + " " + word(1, 101), std::to_string(patternValue(2, 0, 15)),
                                         std::to_string(patternValue(1, 10, 5))}));
}

TEST_P(OnLink, WritesAndReadsBack)
{
    const Result written = run("write L 5:100=1,0xFFFF 1:17@2=1,0,1 10:5=-1 5:7@2=12 --format signed");
    EXPECT_EQ(written.code, 0) << written.messages.toStdString();
    EXPECT_EQ(contentsOf(written), (Texts{"1 -1  written and verified", "1 0 1  written and verified",
                                          "-1  written and verified", "12  written and verified"}));
    EXPECT_EQ(contentsOf(run("read L 5:100x2 1:17x3@2 10:5 5:7@2 --quiet --format signed")),
              (Texts{"1 -1", "1 0 1", "-1", "12"}));
}

TEST_P(OnLink, WritesAThousandBitsAndManyDoubleWords)
{
    QStringList bits, doubles;
    for (int i = 0; i < 1000; ++i)
        bits << QString::number(i % 3 == 0);
    for (int i = 0; i < 100; ++i)
        doubles << QString::number(i * 1000003);
    const Result written = runFgs(QStringList{QStringLiteral("write"), simulator.link(),
                                              QStringLiteral("2:5=") + bits.join(QLatin1Char(',')),
                                              QStringLiteral("10:3=") + doubles.join(QLatin1Char(','))} +
                                  Patience);
    EXPECT_EQ(written.code, 0) << written.messages.toStdString();
    EXPECT_EQ(contentsOf(run("read L 2:5x1000 10:3x100 --quiet")),
              (Texts{bits.join(QLatin1Char(' ')).toStdString(), doubles.join(QLatin1Char(' ')).toStdString()}));
}

TEST_P(OnLink, PollsRoundsAndSumsUp)
{
    const Result result = run("poll L 5:0x300 5:9000x2 2:7x500 10:0x20@2 --count 5 --interval 5");
    EXPECT_EQ(result.code, 0) << result.messages.toStdString();
    EXPECT_EQ(result.lines().size(), 4) << "nothing changes: a line a variable";
    const auto sent = QRegularExpression(QStringLiteral("^([0-9]+) requests in [0-9.]+ s: ([0-9]+) good, 0 failed; "
                                                        "0 repeated, 0 given up\nround trip: min .* ms"))
                          .match(result.messages);
    EXPECT_TRUE(sent.hasMatch()) << result.messages.toStdString();
    EXPECT_EQ(sent.captured(1), sent.captured(2));
    EXPECT_EQ(simulator.endAndCountRequests(), sent.captured(1).toInt());
}

TEST_P(OnLink, SpeaksJson)
{
    const Result result = run("read L 0:17x2@2 5:100@9 --timeout 2000 --retries 0 --json");
    EXPECT_EQ(result.code, 8);
    const std::vector<QJsonObject> objects = result.objects();
    ASSERT_EQ(objects.size(), 3u);
    EXPECT_EQ(objects[0].value(QStringLiteral("variable")).toString(), QStringLiteral("0:17x2@2"));
    EXPECT_EQ(objects[0].value(QStringLiteral("wireAddress")).toInt(), 15);
    EXPECT_EQ(objects[0].value(QStringLiteral("values")).toArray(),
              (QJsonArray{int(patternValue(2, 0, 15)), int(patternValue(2, 0, 16))}));
    EXPECT_TRUE(objects[1].value(QStringLiteral("values")).isNull());
    EXPECT_EQ(objects[1].value(QStringLiteral("reason")).toString(), QStringLiteral("noReply"));
    expectCountsAddUp(result.summary());
}

TEST_P(OnLink, ShowsFrames)
{
    const Result result = run("read L 5:100x2 --frames");
    const QStringList lines = result.messages.split(QLatin1Char('\n'));
    ASSERT_GE(lines.size(), 2);
    EXPECT_TRUE(lines.at(0).endsWith(
        QLatin1String(" > 01 FE 01 08 02 64 00 AA BE  station 1, read area 5 100x2 (wire 0x08:100)")))
        << lines.at(0).toStdString();
    EXPECT_TRUE(contains(lines.at(1), QLatin1String(" < 01 FE 01 08 02 ")));
}

TEST_P(OnLink, EndsWithDistinctCodes)
{
    EXPECT_EQ(run("read L 5:0").code, 0);
    EXPECT_EQ(run("read L 5:0@9 --timeout 20").code, 4);
    EXPECT_EQ(run("read L 5:0 5:0@9 --timeout 2000 --retries 0").code, 8);
    EXPECT_EQ(run("poll L 5:0@9 --timeout 20 --count 2").code, 4);
    EXPECT_EQ(run("write L 5:0@9=1 --timeout 20").code, 4);
    EXPECT_EQ(run("write L 5:0@0=1").code, 0);
    EXPECT_EQ(run("read L 5:0@0").code, 2);
}

TEST_P(OnLink, AnInterruptedPollStillSumsUp)
{
    Program poll(QStringLiteral("fgs"),
                 QStringList{QStringLiteral("poll"), simulator.link(), QStringLiteral("5:0x10")} + Patience);
    EXPECT_TRUE(contains(poll.line(), QLatin1String("5:0x10@1")));
    poll.interrupt();
    const Result result = poll.wait();
    EXPECT_EQ(result.code, 130);
    EXPECT_TRUE(contains(result.messages, QLatin1String(" requests in ")));
}

TEST_P(OnLink, ASimulatorsFirstLineIsALink)
{
    Program sim(QStringLiteral("fgs-sim"), simulatorArguments(QStringLiteral(" --log quiet")));
    EXPECT_EQ(runFgs("read L 5:0", sim.line()).code, 0);
}

TEST_P(OnLink, MovingValuesGiveALineAChange)
{
    Simulator moving(simulatorArguments(QStringLiteral(" --tick 20 --set 5:0=ramp:0..9/1")));
    Program poll(QStringLiteral("fgs"), QStringList{QStringLiteral("poll"), moving.link(), QStringLiteral("5:0"),
                                                    QStringLiteral("--quiet")} +
                                            Patience);
    int last = poll.line().section(QLatin1Char(' '), -1).toInt();
    for (int i = 0; i < 10; ++i) {
        SCOPED_TRACE(i);
        const int value = poll.line().section(QLatin1Char(' '), -1).toInt();
        EXPECT_NE(value, last);
        last = value;
    }
}

// ---- without a simulator

struct Wrong {
    const char *arguments;
    int code;
    const char *message; ///< its beginning
};
void PrintTo(const Wrong &row, std::ostream *out)
{
    *out << row.arguments;
}

class WrongUse : public ::testing::TestWithParam<Wrong>
{
};

TEST_P(WrongUse, NamesTheArgumentAndTheRemedy)
{
    const Result result =
        runFgs(QString::fromLatin1(GetParam().arguments).split(QLatin1Char(' '), Qt::SkipEmptyParts));
    EXPECT_EQ(result.code, GetParam().code);
    EXPECT_EQ(result.out.toStdString(), "");
    EXPECT_EQ(result.messages.toStdString().find(GetParam().message), 0u) << result.messages.toStdString();
}

#define TAIL "; fgs help and fgs help COMMAND tell the rest\n"
INSTANTIATE_TEST_SUITE_P(
    Arguments, WrongUse,
    ::testing::Values(
        Wrong{
            "", 2,
            "fgs: a command is missing; commands are read, write, poll, plan, scan, doctor, decode and help" TAIL},
        Wrong{"read", 2, "fgs: LINK is required" TAIL}, Wrong{"read /dev/null", 2, "fgs: VAR is required" TAIL},
        Wrong{
            "frob", 2,
            "fgs: 'frob' is no command; commands are read, write, poll, plan, scan, doctor, decode and help" TAIL},
        Wrong{"read tcp:x 5:0", 2, "fgs: link 'tcp:x': not of the form tcp:HOST:PORT; write "},
        Wrong{"read /dev/x 5", 2, "fgs: variable '5': not of the form AREA:ADDRESS[xCOUNT][@STATION][:TYPE]; for"},
        Wrong{"read /dev/x 0:8", 2, "fgs: variable '0:8': 8 is not octal; addresses of areas 0 and 1"},
        Wrong{"write /dev/x 5:0", 2, "fgs: assignment '5:0': assigns nothing; write VAR=VALUE[,VALUE...]"},
        Wrong{"write /dev/x 5:0=1,2 5:1=3", 2,
              "fgs: variables '5:0x2@1' and '5:1@1' overlap; write them one after"},
        Wrong{"read /dev/x 5:0 --timeout 0", 2,
              "fgs: --timeout: '0' is no whole number of milliseconds from 1 to 3600000" TAIL},
        Wrong{"read /dev/x 5:0 --block 3", 2, "fgs: --block: Value 3 not in range 4 to 255" TAIL},
        Wrong{"read /dev/x 5:0 --format oct", 2, "fgs: --format: 'oct' is none of dec, signed, hex, float" TAIL},
        Wrong{"poll /dev/x 5:0 --for -1", 2, "fgs: --for: '-1' is no number of seconds from 0.001 to 1000000000"},
        Wrong{"poll tcp:127.0.0.1:1 5:0", 3,
              "fgs: cannot open link 'tcp:127.0.0.1:1': port 1 of 127.0.0.1 refuses connections; check the port, "
              "and "}));

TEST(WrongUse, APortThatIsNotThereIsNamed)
{
    NEEDS_SERIAL_PORTS();
    const Result result =
        runFgs({QStringLiteral("read"), QStringLiteral("/dev/no_such_port"), QStringLiteral("5:0")});
    EXPECT_EQ(result.code, 3);
    EXPECT_EQ(
        result.messages.toStdString().find(
            "fgs: cannot open link '/dev/no_such_port': /dev/no_such_port does not exist; is the adapter plugged "
            "in?"),
        0u)
        << result.messages.toStdString();
}

#if !TARN_SERIAL_PORTS
TEST(WrongUse, ABuildWithoutSerialPortsNamesThePackage)
{
    const Result result = runFgs({QStringLiteral("read"), QStringLiteral("/dev/ttyS0"), QStringLiteral("5:0")});
    EXPECT_EQ(result.code, 2);
    EXPECT_TRUE(contains(result.messages,
                         QLatin1String(QT_VERSION_MAJOR == 6 ? "qt6-serialport-dev" : "libqt5serialport5-dev")));
}
#endif

TEST(WrongUse, AThousandValuesAreTheMost)
{
    const QString values = QStringLiteral("1,").repeated(1000) + QStringLiteral("1");
    const Result result =
        runFgs({QStringLiteral("write"), QStringLiteral("/dev/x"), QStringLiteral("5:0=") + values});
    EXPECT_EQ(result.code, 2);
    EXPECT_EQ(result.messages.toStdString(), "fgs: assignment to 5:0x1001@1: more than 1000 values; split it\n");
}

TEST(Help, BeginsWithExamplesAndDocumentsTheExitCodes)
{
    for (const char *arguments : {"--help", "read --help", "write --help", "poll --help"}) {
        SCOPED_TRACE(arguments);
        const Result result = runFgs(QString::fromLatin1(arguments).split(QLatin1Char(' ')));
        EXPECT_EQ(result.code, 0);
        EXPECT_TRUE(startsWith(result.out, QLatin1String("Examples:\n  fgs "))) << arguments;
        EXPECT_TRUE(contains(result.out, QLatin1String("Exit code: 0 ok, 1 other, 2 usage, 3 "))) << arguments;
    }
    const QString poll = runFgs({QStringLiteral("poll"), QStringLiteral("--help")}).out;
    EXPECT_FALSE(contains(poll, QLatin1String("fgs read ")));
}

TEST(Help, TellsTheVersion)
{
    const Result result = runFgs({QStringLiteral("--version")});
    EXPECT_EQ(result.code, 0);
    EXPECT_TRUE(
        QRegularExpression(QStringLiteral("^fgs [0-9]+\\.[0-9]+\\.[0-9]+\n$")).match(result.out).hasMatch());
}

} // namespace
