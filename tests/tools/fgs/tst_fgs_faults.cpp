// fgs against a controller whose line is bad: no wrong value, no stop, counts that add up.
#include "host/variable.h"
#include "programs.h"
#include "support/loopback.h"
#include "support/serial_ports.h"
#include "support/texts.h"

#include <gtest/gtest.h>
#include <QtCore/QJsonArray>
#include <unistd.h>

namespace
{

QStringList arguments(const QString &line)
{
    return line.split(QLatin1Char(' '), Qt::SkipEmptyParts);
}

/// Fails if a printed value is not the pattern's. Returns the number of values.
int checkValues(const std::vector<QJsonObject> &objects)
{
    int count = 0;
    for (const QJsonObject &object : objects) {
        const QJsonArray values = object.value(QStringLiteral("values")).toArray();
        for (int i = 0; i < values.size(); ++i, ++count)
            EXPECT_EQ(values.at(i).toDouble(),
                      patternValue(object.value(QStringLiteral("station")).toInt(),
                                   object.value(QStringLiteral("area")).toInt(),
                                   object.value(QStringLiteral("wireAddress")).toInt() + i))
                << object.value(QStringLiteral("variable")).toString().toStdString() << " at " << i;
    }
    return count;
}

class Faults : public ::testing::TestWithParam<const char *>
{
};

TEST_P(Faults, BecomeNoValues)
{
    if (std::string(GetParam()).find("--pty") == 0)
        NEEDS_SERIAL_PORTS();
    Simulator simulator(arguments(QString::fromLatin1(GetParam())) +
                        arguments(QStringLiteral("--stations 1,2 --values pattern --faults 5 --late-by 400")));
    // Many blocks of one shape: a late reply to one would pass for an answer to any other.
    QString variables;
    for (int i = 0; i < 14; ++i)
        variables += QStringLiteral(" 5:%1x64@%2").arg(100 * i).arg(1 + i % 2);
    const Result result =
        runFgs(arguments(QStringLiteral("poll %1 --json --count 8 --timeout 250 --late 2000 0:7x9@1 "
                                        "11:100x77@2 10:3x9@1 12:7@2")
                             .arg(simulator.link()) +
                         variables));
    EXPECT_TRUE(result.code == 0 || result.code == 8) << result.messages.toStdString();
    EXPECT_GT(checkValues(result.objects()), 14 * 64);
    const QJsonObject summary = result.summary();
    expectCountsAddUp(summary);
    EXPECT_EQ(simulator.endAndCountRequests(), summary.value(QStringLiteral("requests")).toInt());
    EXPECT_GT(summary.value(QStringLiteral("outcomes")).toObject().value(QStringLiteral("good")).toInt(), 18);
    EXPECT_GT(summary.value(QStringLiteral("retries")).toInt(), 5);
}

INSTANTIATE_TEST_SUITE_P(Links, Faults, ::testing::Values("--pty --seed 1", "--pty --seed 2", "--tcp 0 --seed 3"));

TEST(WriteThroughFaults, EndsWithTheValueOrWithAReason)
{
    NEEDS_SERIAL_PORTS();
    int verified = 0;
    for (int seed = 1; seed <= 5; ++seed) {
        Simulator simulator(
            arguments(QStringLiteral("--faults 7 --values still --late-by 400 --seed %1").arg(seed)));
        const Result result = runFgs(arguments(
            QStringLiteral("write %1 5:100=1,2,3 2:7=1,0,1 10:5=77 --json --timeout 250 --late 2000 --retries 5")
                .arg(simulator.link())));
        EXPECT_TRUE(result.code == 0 || result.code == 4 || result.code == 6 || result.code == 8)
            << result.messages.toStdString();
        for (const QJsonObject &object : result.objects())
            if (object.contains(QStringLiteral("verified")))
                verified += object.value(QStringLiteral("verified")).toBool();
    }
    EXPECT_GE(verified, 5) << "of 15; a busy machine makes more answers late";
}

TEST(LostLink, IsOpenedAgain)
{
    const int reserved = boundToLoopback(0); // nobody else gets the port in between
    const QString port = QString::number(portOf(reserved));
    auto simulator = std::make_unique<Simulator>(arguments(QStringLiteral("--values pattern --tcp ") + port));
    const QString link = simulator->link();
    Program poll(QStringLiteral("fgs"),
                 arguments(QStringLiteral("poll %1 5:1 --timeout 3600000 --json").arg(link)));
    EXPECT_TRUE(contains(poll.line(), QStringLiteral("[%1]").arg(patternValue(1, 5, 1))));
    simulator.reset();
    simulator = std::make_unique<Simulator>(arguments(QStringLiteral("--values still --tcp ") + port));
    QString line = poll.line();
    while (!line.isEmpty() && !line.contains(QLatin1String("[0]")))
        line = poll.line();
    EXPECT_TRUE(contains(line, QLatin1String("\"good\"")));
    poll.interrupt();
    const Result result = poll.wait();
    EXPECT_EQ(result.code, 130);
    EXPECT_GE(result.summary().value(QStringLiteral("reconnects")).toInt(), 1);
    expectCountsAddUp(result.summary());
    ::close(reserved);
}

} // namespace
