// What fgs prints besides lines: tables for spreadsheets, one round alone.
#include "on_links.h"
#include "rows.h"

#include <QtCore/QRegularExpression>

namespace
{

std::string text(const QString &of)
{
    return of.toStdString();
}

/// The rows of CSV without their times, each of which must be one.
Texts withoutTimes(const Result &result)
{
    Texts rows;
    QStringList lines = result.out.split(QStringLiteral("\r\n"));
    EXPECT_EQ(text(lines.takeFirst()), "time,variable,name,value,unit,quality,reason");
    EXPECT_EQ(text(lines.takeLast()), "") << "the last line has its end";
    for (const QString &line : lines) {
        const int comma = static_cast<int>(line.indexOf(QLatin1Char(',')));
        EXPECT_TRUE(isWall(line.left(comma))) << text(line);
        rows.push_back(text(line.mid(comma + 1)));
    }
    return rows;
}

TEST(Csv, ReadsARowAValue)
{
    OwnController controller([](const Request &request, const QByteArray &good) {
        return request.station == 9 ? Silence : Reply{good};
    });
    controller.hold(1, 5, 100, 1234);
    controller.hold(1, 5, 101, 0);
    const Result result = runFgs("read --csv --timeout 100 --late 0 L 5:100x2 5:7@9", controller.link());
    EXPECT_EQ(result.code, 8);
    EXPECT_EQ(withoutTimes(result),
              (Texts{"5:100@1,,1234,,good,", "5:101@1,,0,,good,", "5:7@9,,,,unknown,noReply"}));
    EXPECT_NE(result.messages.indexOf(QStringLiteral(" requests in ")), -1);
}

TEST(Csv, PollsARowAValueAChange)
{
    OwnController controller;
    controller.hold(1, 5, 100, 7);
    controller.hold(1, 5, 101, 8);
    const Result result = runFgs("poll --csv --quiet --count 3 L 5:100x2", controller.link());
    EXPECT_EQ(result.code, 0);
    EXPECT_EQ(withoutTimes(result), (Texts{"5:100@1,,7,,good,", "5:101@1,,8,,good,"}));
    EXPECT_EQ(text(result.messages), "");
}

TEST(Csv, IsNotJson)
{
    for (const char *line : {"read --csv --json L 5:0", "poll --json --csv L 5:0", "write --csv L 5:0=1"}) {
        const Result result = runFgs(line, QStringLiteral("tcp:127.0.0.1:1"));
        EXPECT_EQ(result.code, 2) << line;
        EXPECT_EQ(text(result.out), "") << line;
        EXPECT_NE(result.messages.indexOf(QStringLiteral("--csv")), -1) << text(result.messages);
    }
}

TEST(Once, PrintsEveryVariableOnceInItsOrder)
{
    OwnController controller([](const Request &request, const QByteArray &good) {
        return request.station == 9 ? Silence : Reply{good};
    });
    controller.hold(1, 5, 100, 1234);
    controller.hold(1, 10, 5, 70000);
    const Result result = runFgs("poll --once --timeout 100 --late 0 L 10:5 5:7@9 5:100", controller.link());
    EXPECT_EQ(result.code, 8);
    EXPECT_EQ(placesOf(result), (Texts{"10:5@1", "5:7@9", "5:100@1"}));
    EXPECT_EQ(contentsOf(result), (Texts{"70000", "-  no reply", "1234"}));
    EXPECT_EQ(runFgs("poll --once L 5:100", controller.link()).code, 0);
    const Result json = runFgs("poll --once --json --quiet L 5:100", controller.link());
    ASSERT_EQ(json.lines().size(), 1);
    EXPECT_EQ(valuesOf(json.objects()[0]), "1234");
}

/// A value that moves with every request is told once, too.
TEST(Once, AsksOnce)
{
    int requests = 0;
    OwnController controller([&requests](const Request &, const QByteArray &good) {
        ++requests;
        return Reply{good};
    });
    EXPECT_EQ(runFgs("poll --once L 5:0", controller.link()).lines().size(), 1);
    EXPECT_EQ(requests, 1);
}

/// The counts of the bars.
int countsIn(const QString &messages)
{
    int sum = 0;
    const QRegularExpression row(QStringLiteral("^ +(?:up to|over) +[0-9.]+ ms +([0-9]+)  #+$"),
                                 QRegularExpression::MultilineOption);
    for (auto each = row.globalMatch(messages); each.hasNext();)
        sum += each.next().captured(1).toInt();
    return sum;
}

TEST(Stats, CountEveryRoundTrip)
{
    OwnController controller;
    const Result result = runFgs("poll --stats --count 20 L 5:0", controller.link());
    EXPECT_EQ(result.code, 0);
    EXPECT_EQ(countsIn(result.messages), 20) << text(result.messages);
    EXPECT_TRUE(result.messages.contains(QStringLiteral("\n20 round trips\n")));
    EXPECT_TRUE(result.messages.contains(QRegularExpression(QStringLiteral(
        "\n50 % within [0-9.]+ ms, 95 % within [0-9.]+ ms, 99 % within [0-9.]+ ms, max [0-9.]+ ms\n"))));
    EXPECT_FALSE(result.messages.contains(QStringLiteral("round trip: min")));
    EXPECT_EQ(countsIn(runFgs("poll --stats --quiet --count 3 L 5:0", controller.link()).messages), 3);
    EXPECT_EQ(text(runFgs("poll --stats --json --count 3 L 5:0", controller.link()).messages), "");
}

TEST(Stats, NothingToTellIsNotTold)
{
    OwnController controller([](const Request &, const QByteArray &) { return Silence; });
    const Result result = runFgs("poll --stats --quiet --once --timeout 50 --late 0 L 5:0", controller.link());
    EXPECT_EQ(result.code, 4);
    EXPECT_EQ(text(result.messages), "");
}

TEST(Stats, AreToldOnASignal)
{
    OwnController controller;
    Program program("poll --stats L 5:0", controller.link());
    program.line();
    program.interrupt(SIGUSR1);
    EXPECT_TRUE(program.message().contains(QStringLiteral(" round trips")));
    program.interrupt();
    EXPECT_EQ(program.wait().code, 130);
}

/// Over a second, for which a terminal would be told of it.
TEST(Progress, IsNotForAPipe)
{
    OwnController controller([](const Request &, const QByteArray &good) {
        std::this_thread::sleep_for(std::chrono::milliseconds(40));
        return Reply{good};
    });
    const Result result = runFgs("read L 5:0x9000", controller.link());
    EXPECT_EQ(result.code, 0);
    const double seconds =
        QRegularExpression(QStringLiteral("requests in ([0-9.]+) s")).match(result.messages).captured(1).toDouble();
    EXPECT_GT(seconds, 1);
    EXPECT_FALSE(result.messages.contains(QStringLiteral("reading")));
    EXPECT_FALSE(result.messages.contains(QLatin1Char('\r')));
}

TEST(Once, HasACountOfItsOwn)
{
    EXPECT_EQ(runFgs("poll --once --count 2 L 5:0", QStringLiteral("tcp:127.0.0.1:1")).code, 2);
}

} // namespace
