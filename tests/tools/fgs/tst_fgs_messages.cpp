// What fgs says to a user who typed something else, and when it says something happened.
#include "own_controller.h"
#include "rows.h"
#include "support/texts.h"
#include "tools/standard_streams.h"

#include <cstdlib>
#include <gtest/gtest.h>
#include <QtCore/QDateTime>
#include <QtCore/QRegularExpression>

namespace
{

// ---- wrong use

struct Mistake {
    const char *command;
    std::vector<const char *> said; ///< regular expressions, each found in the message
};
void PrintTo(const Mistake &row, std::ostream *out)
{
    *out << row.command;
}

class Mistakes : public ::testing::TestWithParam<Mistake>
{
};

TEST_P(Mistakes, AreNamed)
{
    const Result result = runFgs(GetParam().command, QStringLiteral("/dev/no_such_port"));
    EXPECT_EQ(result.code, 2);
    EXPECT_EQ(result.out.toStdString(), "");
    EXPECT_TRUE(startsWith(result.messages, QLatin1String("fgs: ")));
    for (const char *said : GetParam().said)
        EXPECT_TRUE(QRegularExpression(QLatin1String(said)).match(result.messages).hasMatch())
            << said << "\n"
            << result.messages.toStdString();
}

INSTANTIATE_TEST_SUITE_P(
    Arguments, Mistakes,
    ::testing::Values(Mistake{"write L 5:1=1,,2", {"5:1=1,,2", "empty", "second|2nd|value 2|number 2"}},
                      Mistake{"write L 5:100=1,", {"5:100=1,", "empty"}}, Mistake{"write L 5:100=", {"5:100="}},
                      Mistake{"write L 5:1=7 5:2=70000", {"5:2=70000", "'70000'", "65535"}},
                      Mistake{"write L 10:1=1e39 --format float", {"10:1=1e39", "'1e39'", "3\\.4028"}},
                      Mistake{"write L 10:1=16777217 --format float", {"10:1=16777217", "16777216"}},
                      Mistake{"poll L 5:0 --interval 1.5",
                              {"--interval", "1\\.5", "whole", "millisecond", "3600000"}},
                      Mistake{"read L 5:0 --interval 100", {"--interval", "fgs poll"}},
                      Mistake{"read L 5:0 --for 1", {"--for", "fgs poll"}},
                      Mistake{"write L 5:0=1 --count 3", {"--count", "fgs poll"}},
                      Mistake{"frob", {"'frob'", "read, write and poll|read, write, poll"}},
                      Mistake{"", {"command"}}, Mistake{"read", {"LINK"}}, Mistake{"read L", {"VAR"}},
                      Mistake{"read L 5:0 --frob", {"--frob", "--help|fgs help"}}));

TEST(FileAsLink, IsCalledAFile)
{
    const Result result = runFgs("read L 5:0", QStringLiteral(TARN_BINARY_DIR "/CMakeCache.txt"));
    EXPECT_TRUE(result.code == 2 || result.code == 3) << result.code;
    EXPECT_TRUE(
        QRegularExpression(QStringLiteral("CMakeCache\\.txt'.*\\bfile\\b")).match(result.messages).hasMatch())
        << result.messages.toStdString();
}

TEST(Argument, IsQuotedWithoutItsControlCharacters)
{
    const Result result =
        runFgs({QStringLiteral("read"), QStringLiteral("/dev/\x1b[2J\u009b\rx"), QStringLiteral("5:0")});
    EXPECT_EQ(result.code, 3);
    EXPECT_TRUE(result.messages.contains(QLatin1String("'/dev/\\x1b[2J\\x9b\\x0dx'")))
        << result.messages.toStdString();
}

/// Without it, the first file or socket would get what is printed.
TEST(StandardStream, ThatIsClosedStaysSo)
{
    const auto writesToTheNextFile = [] {
        ::close(STDOUT_FILENO);
        occupyStandardStreams();
        const int next = ::open("/dev/null", O_WRONLY);
        return next <= STDERR_FILENO || ::write(STDOUT_FILENO, "x", 1) >= 0;
    };
    EXPECT_EXIT(::_exit(writesToTheNextFile()), ::testing::ExitedWithCode(0), "");
}

TEST(NearestFloat, IsWritten)
{
    OwnController controller;
    const Result result = runFgs("write L 10:1=16777216,-0.0,12.5 --format float", controller.link());
    EXPECT_EQ(result.code, 0) << result.messages.toStdString();
    EXPECT_EQ(contentsOf(result), Texts{"16777216 -0 12.5  written and verified"});
    EXPECT_EQ(controller.held(1, 10, 2), 0x80000000u);
}

// ---- help

QString help(const char *command)
{
    const Result result = runFgs(command, {});
    EXPECT_EQ(result.code, 0);
    EXPECT_EQ(result.messages.toStdString(), "");
    return result.out;
}

TEST(Help, IsTheSameByEveryWay)
{
    EXPECT_EQ(help("help").toStdString(), help("--help").toStdString());
    for (const char *command : {"read", "write", "poll"})
        EXPECT_EQ(help((std::string("help ") + command).c_str()).toStdString(),
                  help((std::string(command) + " --help").c_str()).toStdString())
            << command;
}

TEST(Help, TellsTheOwnArgumentsOnly)
{
    EXPECT_FALSE(contains(help("read --help"), QLatin1String("ASSIGNMENT")));
    EXPECT_FALSE(contains(help("poll --help"), QLatin1String("ASSIGNMENT")));
    EXPECT_TRUE(contains(help("write --help"), QLatin1String("ASSIGNMENT")));
    EXPECT_TRUE(contains(help("poll --help"), QLatin1String("--interval")));
    for (const char *command : {"read --help", "write --help"})
        for (const char *option : {"--interval", "--count", "--for "})
            EXPECT_FALSE(contains(help(command), QLatin1String(option))) << command << option;
}

TEST(Help, SaysThatAddressesAreNeverHexadecimal)
{
    for (const char *command : {"read --help", "write --help", "poll --help"}) {
        EXPECT_TRUE(contains(help(command), QLatin1String("hexadecimal"))) << command;
        EXPECT_TRUE(contains(help(command), QLatin1String("5:0x64"))) << command;
    }
}

TEST(Help, ToldOfNothingNamesIt)
{
    const Result result = runFgs("help frob", {});
    EXPECT_EQ(result.code, 2);
    EXPECT_TRUE(contains(result.messages, QLatin1String("'frob'")));
}

// ---- times

/// Sets the local zone of programs started in its life.
class Zone
{
public:
    explicit Zone(const char *name) { ::setenv("TZ", name, 1); }
    ~Zone() { ::unsetenv("TZ"); }
};

TEST(Times, AreWallClockTimesOfTheZone)
{
    OwnController controller;
    for (const auto &[zone, offset] : {std::pair{"UTC0", "+00:00"}, {"XYZ-5:30", "+05:30"}, {"ABC4", "-04:00"}}) {
        SCOPED_TRACE(zone);
        const Zone local(zone);
        const QDateTime before = QDateTime::currentDateTimeUtc();
        const std::vector<Row> rows = rowsOf(runFgs("read L 5:0", controller.link()));
        const QDateTime after = QDateTime::currentDateTimeUtc();
        ASSERT_EQ(rows.size(), 1u);
        const QString wall = QString::fromStdString(rows[0].wall);
        EXPECT_TRUE(wall.endsWith(QLatin1String(offset))) << rows[0].wall;
        const QDateTime time = QDateTime::fromString(wall, Qt::ISODateWithMs);
        EXPECT_TRUE(before <= time && time <= after) << rows[0].wall;
    }
}

TEST(Times, OfAValueIsThatOfItsReply)
{
    OwnController controller([](const Request &request, const QByteArray &good) {
        return request.station == 9 ? Silence : Reply{good};
    });
    const std::vector<Row> rows =
        rowsOf(runFgs("read L 5:0 5:0@9 --timeout 300 --late 0 --retries 0", controller.link()));
    ASSERT_EQ(rows.size(), 2u);
    const auto time = [&rows](size_t i) {
        return QDateTime::fromString(QString::fromStdString(rows[i].wall), Qt::ISODateWithMs);
    };
    EXPECT_GE(time(0).msecsTo(time(1)), 300) << "the silent one was settled after its time limit";
}

TEST(Times, StandBeforeFrames)
{
    OwnController controller;
    const Result result = runFgs("read L 5:100x2 --frames", controller.link());
    const QStringList lines = result.messages.split(QLatin1Char('\n'));
    ASSERT_GE(lines.size(), 2);
    const QRegularExpression sent(
        QStringLiteral("^(\\S+) +[0-9]+\\.[0-9]+ > 01 FE 01 08 02 64 00 AA BE  station 1, read area 5 100x2 "
                       "\\(wire 0x08:100(\\.\\.101)?\\)$"));
    const QRegularExpression came(QStringLiteral("^(\\S+) +[0-9]+\\.[0-9]+ < 01 FE 01 08 02 "));
    EXPECT_TRUE(isWall(sent.match(lines.at(0)).captured(1))) << lines.at(0).toStdString();
    EXPECT_TRUE(isWall(came.match(lines.at(1)).captured(1))) << lines.at(1).toStdString();
}

} // namespace
