// The commands by remote frames, against the simulated far end, over a pseudo-terminal and TCP.
#include "host/variable.h"
#include "programs.h"
#include "rows.h"
#include "support/serial_ports.h"
#include "support/texts.h"

#include <gtest/gtest.h>
#include <QtCore/QJsonArray>

namespace
{

QStringList words(const QString &line)
{
    return line.split(QLatin1Char(' '), Qt::SkipEmptyParts);
}

class Remote : public ::testing::TestWithParam<const char *>
{
protected:
    void SetUp() override
    {
        if (std::string(GetParam()).rfind("--pty", 0) == 0)
            NEEDS_SERIAL_PORTS();
    }
    /// An answer is waited for as long as it takes, unless the arguments say otherwise.
    Result run(const QString &arguments)
    {
        const bool isBounded = arguments.contains(QLatin1String("--timeout"));
        return runFgs(wordsOf(arguments + QLatin1String(isBounded ? "" : " --timeout 3600000"), simulator.link()));
    }
    Result run(const char *arguments) { return run(QString::fromLatin1(arguments)); }

    Simulator simulator{
        words(QString::fromLatin1(GetParam()) + QStringLiteral(" --remote --stations 1,2 --values pattern"))};
};

INSTANTIATE_TEST_SUITE_P(Links, Remote, ::testing::Values("--pty", "--tcp 0"));

/// Fails if a printed value is not the pattern's. Returns the number of values.
int checkValues(const std::vector<QJsonObject> &objects)
{
    int count = 0;
    for (const QJsonObject &object : objects) {
        const auto number = [&object](const char *name) { return object.value(QLatin1String(name)).toInt(); };
        const QJsonArray values = object.value(QStringLiteral("values")).toArray();
        for (int i = 0; i < values.size(); ++i, ++count)
            EXPECT_EQ(values.at(i).toDouble(),
                      patternValue(number("station"), number("area"), number("wireAddress") + i))
                << object.value(QStringLiteral("variable")).toString().toStdString() << " at " << i;
    }
    return count;
}

TEST_P(Remote, ReadsEveryArea)
{
    const Result result = run("read L --remote 0:17x9 1:0 2:11990x10@2 3:5 4:100x1000 5:9990x300 6:255 7:0x2 8:9 "
                              "9:100x100 10:250x70@2 11:1119 12:0x8 13:7@2 --json");
    EXPECT_EQ(result.code, 0) << result.messages.toStdString();
    EXPECT_EQ(checkValues(readings(result)), 9 + 1 + 10 + 1 + 1000 + 300 + 1 + 2 + 1 + 100 + 70 + 1 + 8 + 1);
    expectCountsAddUp(result.summary());
    EXPECT_EQ(simulator.endAndCountRequests(), result.summary().value(QStringLiteral("requests")).toInt());
}

TEST_P(Remote, WritesAndReadsBack)
{
    const Result written = run("write L 5:100=1,0xFFFF 1:17@2=1,0,1 10:5=-1 11:9=1 --remote=9 --format signed");
    EXPECT_EQ(written.code, 0) << written.messages.toStdString();
    EXPECT_EQ(contentsOf(written), (Texts{"1 -1  written and verified", "1 0 1  written and verified",
                                          "-1  written and verified", "1  written and verified"}));
    EXPECT_EQ(contentsOf(run("read L --remote=200 5:100x2 1:17x3@2 10:5 11:9 --quiet --format signed")),
              (Texts{"1 -1", "1 0 1", "-1", "1"}));
}

TEST_P(Remote, WritesMoreThanOneFrameHolds)
{
    QStringList many;
    for (int i = 0; i < 500; ++i)
        many << QString::number(i * 131 % 65536);
    const QString list = many.join(QLatin1Char(','));
    const Result written = run(QStringLiteral("write L --remote --block 255 5:7=%1 10:3=%1").arg(list));
    EXPECT_EQ(written.code, 0) << written.messages.toStdString();
    const Result read = run("read L --remote 5:7x500 10:3x500 --quiet");
    EXPECT_EQ(contentsOf(read), Texts(2, many.join(QLatin1Char(' ')).toStdString()));
}

TEST_P(Remote, PollsRounds)
{
    const Result result = run("poll L --remote 5:0x300 5:9000x2 2:7x500 10:0x20@2 --count 5 --json");
    EXPECT_EQ(result.code, 0) << result.messages.toStdString();
    EXPECT_EQ(checkValues(readings(result)), 300 + 2 + 500 + 20) << "nothing changes: a line a variable";
    expectCountsAddUp(result.summary());
}

// Remote frames name areas by their numbers.
TEST_P(Remote, TellsTheWireAddress)
{
    const std::vector<Row> rows = rowsOf(run("read L --remote 0:17x9 5:100x2 10:4"));
    ASSERT_EQ(rows.size(), 3u);
    EXPECT_EQ(rows[0].wire, "wire 0:15..23");
    EXPECT_EQ(rows[1].wire, "wire 5:100..101");
    EXPECT_EQ(rows[2].wire, "wire 10:4");
    EXPECT_EQ(rowsOf(run("write L --remote 5:100=7")).at(0).wire, "wire 5:100");
    EXPECT_EQ(rowsOf(run("poll L --remote 5:100 --count 1")).at(0).wire, "wire 5:100");
    EXPECT_EQ(readings(run("read L --remote 10:4 --json")).at(0).value(QStringLiteral("wireCode")).toInt(), 10);
}

TEST_P(Remote, ShowsFramesInWords)
{
    const Result result = run("read L --remote=7 5:100x2 --frames");
    const QStringList lines = result.messages.split(QLatin1Char('\n'));
    ASSERT_GE(lines.size(), 2);
    EXPECT_TRUE(
        contains(lines.at(0), QLatin1String(" > 16 00 00 07 01 00 05 00 00 00 64 00 02 FF FF FF FF 00 00 00 00 85  "
                                            "link 7, station 1, remote read area 5 100x2")));
    const auto hex = [](quint32 value) {
        return QString::number(value, 16).toUpper().rightJustified(4, QLatin1Char('0'));
    };
    EXPECT_TRUE(contains(lines.at(1), QStringLiteral("station 1, area 5 100x2: %1 %2 (reply begins 01 52 01)")
                                          .arg(hex(patternValue(1, 5, 100)), hex(patternValue(1, 5, 101)))));
}

TEST_P(Remote, EndsWithDistinctCodes)
{
    EXPECT_EQ(run("read L --remote 5:0@9 --timeout 20 --late 20").code, 4);
    EXPECT_EQ(run("poll L --remote 5:0@9 --timeout 20 --late 20 --count 2").code, 4);
    EXPECT_EQ(run("write L --remote 5:0@9=1 --timeout 20 --late 20").code, 4);
    EXPECT_EQ(run("write L --remote 5:0@0=1").code, 0);
    EXPECT_EQ(run("read L 5:0 --timeout 20").code, 4) << "the controller protocol is not what it speaks";
    EXPECT_EQ(run("write L --remote 8:0=1").code, 2);
}

TEST_P(Remote, FaultsBecomeNoValues)
{
    Simulator faulty(words(QString::fromLatin1(GetParam()) +
                           QStringLiteral(" --remote --stations 1,2 --values pattern --faults 4 --late-by 400")));
    const Result result =
        runFgs(wordsOf(QStringLiteral("poll L --remote --json --count 12 --timeout 250 --late 1500 "
                                      "5:0x64 5:100x64@2 5:200x64 0:7x9 11:100x77@2 10:3x9"),
                       faulty.link()));
    EXPECT_TRUE(result.code == 0 || result.code == 8) << result.messages.toStdString();
    EXPECT_GT(checkValues(readings(result)), 64);
    expectCountsAddUp(result.summary());
    EXPECT_GT(result.summary().value(QStringLiteral("retries")).toInt(), 5);
    EXPECT_EQ(faulty.endAndCountRequests(), result.summary().value(QStringLiteral("requests")).toInt());
}

TEST(RemoteOption, NeverTakesTheLinkForItsNumber)
{
    EXPECT_EQ(runFgs("read --remote /dev/none 5:0", QString()).code, 3) << "the link cannot be opened";
}

TEST(RemoteOption, WantsALinkNumber)
{
    for (const char *wrong : {"256", "-1", "x", "1.5", ""}) {
        const Result result =
            runFgs(QStringList{QStringLiteral("read"), QStringLiteral("--remote=") + QLatin1String(wrong),
                               QStringLiteral("/dev/none"), QStringLiteral("5:0")});
        EXPECT_EQ(result.code, 2) << wrong;
        EXPECT_TRUE(contains(result.messages, QLatin1String("--remote")));
        EXPECT_TRUE(contains(result.messages, QLatin1String("is no link number from 0 to 255")));
    }
}

} // namespace
