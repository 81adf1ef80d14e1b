// fgs plan: what it says is what fgs poll does, byte for byte, and takes the time that a paced line takes.
#include "programs.h"
#include "support/paced_line.h"
#include "support/temporary_folder.h"
#include "support/texts.h"
#include "watch/oddities.h"
#include "watch/tag.h"

#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>
#include <optional>
#include <QtCore/QFile>
#include <QtCore/QJsonArray>
#include <QtCore/QRegularExpression>
#include <set>

using namespace fgs;

namespace
{

/// Lists of every kind, with their block sizes and paths.
struct List {
    const char *variables;
    int block;
    std::optional<int> remoteLink = std::nullopt;
};
void PrintTo(const List &list, std::ostream *out)
{
    *out << list.variables << " --block " << list.block;
    if (list.remoteLink)
        *out << " --remote=" << *list.remoteLink;
}

const List Lists[] = {
    {"5:100x4", 64},
    {"5:100", 64},
    {"5:100x4 5:120:f32 2:17x40 10:4", 64},
    {"5:0x1000 5:2000 10:0x50", 63},
    {"5:0x8 5:20x8 5:40x8 5:60x8 5:80x8 5:100x8 5:120x8 5:140x8", 8}, // the groups of six do not end with the list
    {"1:17 1:200x30 2:9x300", 16},
    {"5:100x4 5:110 0:17@2 2:40x8@2 10:7@2 9:3@1", 64},
    {"5:9990x200 5:1:u32 9:300x40", 31},
    {"5:100x4", 64, 1},
    {"5:100x4 5:120:f32 2:17x40 10:4", 64, 1},
    {"5:0x1000 5:2000 10:0x50 2:0x2000", 255, 7},
    {"1:17 1:200x30 11:9x3 11:100x40", 16, 255},
    {"5:100x4 5:110 0:17@2 2:40x8@2 10:7@2 9:3@1", 8, 0},
};

std::vector<Variable> variablesIn(const List &list)
{
    std::vector<Tag> tags;
    for (const QString &text : QString::fromLatin1(list.variables).split(QLatin1Char(' ')))
        tags.push_back(parseTag(text));
    return variablesOf(tags);
}

LinePlan planOf(const List &list)
{
    return planFor(linkedDriver(), variablesIn(list), list.block, list.remoteLink);
}

class Plans : public ::testing::TestWithParam<List>
{
protected:
    QStringList arguments(const QString &command, const QStringList &more) const
    {
        QStringList all = QStringList{command} + more +
                          QString::fromLatin1(GetParam().variables).split(QLatin1Char(' ')) +
                          QStringList{QStringLiteral("--block"), QString::number(GetParam().block)};
        if (GetParam().remoteLink)
            all << QStringLiteral("--remote=%1").arg(*GetParam().remoteLink);
        return all;
    }
    LinePlan plan() const { return planOf(GetParam()); }
};

INSTANTIATE_TEST_SUITE_P(Lists, Plans, ::testing::ValuesIn(Lists));

QJsonObject printedPlan(const QStringList &arguments)
{
    const Result result = runFgs(arguments + QStringList{QStringLiteral("--json")});
    EXPECT_EQ(result.code, 0) << result.messages.toStdString();
    const std::vector<QJsonObject> objects = result.objects();
    return objects.size() == 1 ? objects[0].value(QStringLiteral("plan")).toObject() : QJsonObject();
}

std::vector<std::string> framesOf(const QJsonObject &plan)
{
    std::vector<std::string> frames;
    for (const QJsonValue request : plan.value(QStringLiteral("requests")).toArray())
        frames.push_back(request.toObject().value(QStringLiteral("frame")).toString().toStdString());
    return frames;
}

/// What --frames tells of requests. The messages are taken while the program runs, as they are more than a pipe
/// holds.
std::vector<std::string> sentFrames(Program &program)
{
    static const QRegularExpression form(QStringLiteral("^\\S+ [0-9.]+ > ((?:[0-9A-F]{2} )*[0-9A-F]{2})  "));
    std::vector<std::string> frames;
    for (QString line = program.message(); !line.isEmpty(); line = program.message()) {
        const QRegularExpressionMatch match = form.match(line);
        if (match.hasMatch())
            frames.push_back(match.captured(1).remove(QLatin1Char(' ')).toStdString());
    }
    return frames;
}

TEST_P(Plans, AreWhatPollSends)
{
    QStringList far{QStringLiteral("--tcp"), QStringLiteral("0"),        QStringLiteral("--stations"),
                    QStringLiteral("1,2"),   QStringLiteral("--values"), QStringLiteral("pattern")};
    if (GetParam().remoteLink)
        far << QStringLiteral("--remote");
    Simulator simulator(far);
    const std::vector<std::string> planned = framesOf(printedPlan(arguments(QStringLiteral("plan"), {})));
    Program poll(QStringLiteral("fgs"),
                 arguments(QStringLiteral("poll"), {simulator.link()}) +
                     QStringList{QStringLiteral("--frames"), QStringLiteral("--count"), QStringLiteral("7"),
                                 QStringLiteral("--timeout"), QStringLiteral("3600000")});
    const std::vector<std::string> sent = sentFrames(poll);
    EXPECT_EQ(poll.wait().code, 0);
    ASSERT_GE(sent.size(), planned.size());
    ASSERT_FALSE(planned.empty());
    for (std::size_t i = 0; i < sent.size(); ++i)
        ASSERT_EQ(sent[i], planned[i % planned.size()]) << "request " << i;
}

/// Of the requests of a plan, on a line on which they are really exchanged.
Time measuredCycle(const LinePlan &plan, const List &list, const LineSpeed &speed, const LinePauses &pauses)
{
    const std::vector<Variable> variables = variablesIn(list);
    PacedLine line(speed.byteTime(), pauses.answer, plan.isRemote());
    HostOptions options;
    options.blockWords = list.block;
    options.remoteLink = list.remoteLink;
    options.timing.gap = pauses.gap;
    Host host(linkedDriver(), line, variables, options);
    host.poll(variables);
    for (std::size_t i = 0; i < 2 * plan.requests.size() + 1; ++i)
        EXPECT_EQ(host.step().outcome, Outcome::Good);
    const std::size_t first = plan.requests.size(), second = 2 * first; // the first of all has waited for silence
    EXPECT_EQ(line.requests[first].first, plan.requests[0].frame);
    EXPECT_EQ(line.requests[second].first, plan.requests[0].frame);
    return (line.requests[second].second - line.requests[first].second) / plan.rounds;
}

TEST_P(Plans, TakeTheTimeOfAPacedLine)
{
    for (int baud : {1200, 19200, 115200})
        for (int bits : {10, 11})
            for (const LinePauses &pauses : {LinePauses{2ms, 0ms}, LinePauses{50ms, 7ms}}) {
                const LinePlan planned = plan();
                const LineSpeed speed = {baud, bits};
                const Time measured = measuredCycle(planned, GetParam(), speed, pauses);
                EXPECT_NEAR(double(cycleTime(planned, speed, pauses).count()), double(measured.count()), 1000.)
                    << baud << " baud, " << bits << " bits a byte";
            }
}

TEST_P(Plans, CoverWhatIsAskedFor)
{
    const LinePlan made = plan();
    Spans blocks, wanted, along;
    for (const Variable &block : made.blocks)
        blocks.push_back(spanOf(block));
    for (const Variable &variable : variablesIn(GetParam()))
        wanted.push_back(spanOf(variable));
    for (const Variable &place : made.readAlong)
        along.push_back(spanOf(place));
    EXPECT_TRUE(without(wanted, blocks).empty());
    EXPECT_EQ(united(without(blocks, wanted)), along);
}

TEST_P(Plans, HaveABestBlockSize)
{
    const std::vector<Variable> variables = variablesIn(GetParam());
    const LineSpeed speed = {19200, 11};
    const LinePauses pauses;
    const std::optional<int> remoteLink = GetParam().remoteLink;
    const LinePlan best = bestPlanFor(linkedDriver(), variables, speed, pauses, remoteLink);
    for (int block = MinBlockWords; block <= MaxBlockWords; block += 9)
        EXPECT_LE(cycleTime(best, speed, pauses),
                  cycleTime(planFor(linkedDriver(), variables, block, remoteLink), speed, pauses))
            << block;
}

TEST(BestPlan, TellsHowFarTheSearchIs)
{
    std::vector<double> shares;
    const ProgressHook hook = [&shares](const char *what, const std::function<double()> &share) {
        EXPECT_STREQ(what, "planning");
        shares.push_back(share());
    };
    bestPlanFor(linkedDriver(), variablesIn({"5:100x4", 64}), {}, {}, {}, hook);
    EXPECT_EQ(int(shares.size()), MaxBlockWords - MinBlockWords);
    EXPECT_TRUE(std::is_sorted(shares.begin(), shares.end()));
    EXPECT_GT(shares.front(), 0);
    EXPECT_LT(shares.back(), 1);
}

// ---- what is odd

std::set<int> numbersFor(const List &list)
{
    std::set<int> numbers;
    for (const Oddity &oddity : odditiesOf(planOf(list)))
        numbers.insert(oddity.number);
    return numbers;
}

struct Striking {
    List list;
    std::set<int> numbers;
};
const Striking StrikingLists[] = {
    {{"5:100x4", 64}, {}},
    {{"5:100", 64}, {121}},
    {{"2:16x24", 31}, {}},
    {{"2:17x24", 31}, {443}},
    {{"2:16x24", 64}, {406}},
    {{"5:0x100", 64}, {201}},
    {{"5:0x8 5:20x8", 64}, {206}},
    {{"10:4x2", 64}, {401}},
    {{"5:0x8 5:20x8 5:40x8 5:60x8 5:80x8 5:100x8 5:120x8 5:140x8", 8}, {131}},
    {{"5:0x8 5:0x8@2", 64}, {113, 208}},
    {{"5:0x8 2:16x24@2", 31}, {113, 204, 205, 208}},
    {{"10:4x100 5:1x2@2", 64}, {113, 208, 213, 401}},
    {{"5:100", 64, 1}, {}},
    {{"5:0x100", 64, 1}, {114}},
    {{"2:17x24", 64, 1}, {443}},
    {{"11:8x16", 64, 1}, {502}},
    {{"5:0x100", 117, 1}, {506}},
    {{"10:4x2 5:1x2@2", 64, 1}, {114, 208}},
};

TEST(Oddities, AreThoseThatStrikeTheList)
{
    for (const Striking &striking : StrikingLists)
        EXPECT_EQ(numbersFor(striking.list), striking.numbers) << striking.list.variables;
}

TEST(Oddities, StandInTheirDocument)
{
    QFile file(QStringLiteral(TARN_SOURCE_DIR "/docs/behaviour.md"));
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QString document = QString::fromUtf8(file.readAll());
    std::set<int> all;
    for (const Striking &striking : StrikingLists)
        all.insert(striking.numbers.begin(), striking.numbers.end());
    EXPECT_EQ(all.size(), 15u);
    for (int number : all)
        EXPECT_TRUE(document.contains(QStringLiteral("\n**%1.** ").arg(number))) << number;
}

TEST(Oddities, NameWhatTheyStrike)
{
    const std::vector<Oddity> gaps = odditiesOf(planOf({"5:0x8 5:20x8", 64}));
    ASSERT_EQ(gaps.size(), 1u);
    EXPECT_TRUE(startsWith(gaps[0].meaning, QStringLiteral("5:8x12@1: ")));
}

// ---- the program

TEST(FgsPlan, TakesALinkItsSettingsOrNone)
{
    const auto lineOf = [](const QStringList &first) {
        const QJsonObject plan =
            printedPlan(QStringList{QStringLiteral("plan")} + first + QStringList{QStringLiteral("5:100x4")});
        const QJsonObject line = plan.value(QStringLiteral("line")).toObject();
        return std::make_pair(line.value(QStringLiteral("baud")).toInt(),
                              line.value(QStringLiteral("bitsPerByte")).toInt());
    };
    EXPECT_EQ(lineOf({}), std::make_pair(19200, 11));
    EXPECT_EQ(lineOf({QStringLiteral("9600")}), std::make_pair(9600, 11));
    EXPECT_EQ(lineOf({QStringLiteral("9600,8N1")}), std::make_pair(9600, 10));
    EXPECT_EQ(lineOf({QStringLiteral("/dev/ttyUSB7:115200,7O2")}), std::make_pair(115200, 11));
    EXPECT_EQ(lineOf({QStringLiteral("tcp:192.168.0.9:5020")}), std::make_pair(19200, 11));
}

TEST(FgsPlan, TakesAFileOfNames)
{
    const QString file = QStringLiteral(TARN_SOURCE_DIR "/docs/line.toml");
    const QJsonObject plan = printedPlan({QStringLiteral("plan"), file});
    EXPECT_EQ(plan.value(QStringLiteral("variables")).toArray().size(), 7);
    const QJsonObject some = printedPlan({QStringLiteral("plan"), file, QStringLiteral("pieces"),
                                          QStringLiteral("--link"), QStringLiteral("/dev/x:1200")});
    EXPECT_EQ(some.value(QStringLiteral("variables")).toArray().size(), 1);
    EXPECT_EQ(some.value(QStringLiteral("line")).toObject().value(QStringLiteral("baud")).toInt(), 1200);
    const Result result = runFgs({QStringLiteral("plan"), file});
    EXPECT_TRUE(contains(result.out, QStringLiteral("oven_temp, oven_sp")));
}

// 22 bytes of request, 13 of reply.
TEST(FgsPlan, PrintsRemoteFrames)
{
    const Result result = runFgs("plan --remote=3 5:100x4", QString());
    EXPECT_EQ(result.code, 0);
    EXPECT_TRUE(
        startsWith(result.out, QStringLiteral("1 variable in 1 block; a cycle takes 1 request with 35 bytes\n")))
        << result.messages.toStdString();
    EXPECT_TRUE(contains(result.out, QStringLiteral("\nBy remote frames, with the link number 3\n")));
    EXPECT_TRUE(contains(result.out, QStringLiteral("wire 5:100..103 ")));
    EXPECT_TRUE(contains(
        result.out, QStringLiteral("16 00 00 03 01 00 05 00 00 00 64 00 04 FF FF FF FF 00 00 00 00 83\n"
                                   "       link 3, station 1, remote read area 5 100x4: 22 bytes, reply 13\n")));
    EXPECT_EQ(printedPlan({QStringLiteral("plan"), QStringLiteral("--remote=3"), QStringLiteral("5:1")})
                  .value(QStringLiteral("remoteLink"))
                  .toInt(),
              3);
}

// 9 bytes of request and 15 of reply: 24 bytes of 11 bits, and four byte times of silence, at 1200 baud.
TEST(FgsPlan, PrintsFramesAndTimes)
{
    const Result result = runFgs("plan 5:100x4", QString());
    EXPECT_EQ(result.code, 0);
    EXPECT_TRUE(
        startsWith(result.out, QStringLiteral("1 variable in 1 block; a cycle takes 1 request with 24 bytes\n")))
        << result.messages.toStdString();
    EXPECT_TRUE(contains(result.out, QStringLiteral("01 FE 01 08 04 64 00 ")));
    EXPECT_TRUE(contains(result.out, QStringLiteral("  1200 baud       256.7       233.3\n")));
    EXPECT_TRUE(
        contains(runFgs("plan 1200 5:100x4 --answer 10", QString()).out, QStringLiteral("1200,8E1: 266.7 ms")));
}

TEST(FgsPlan, IsShownInItsDocument)
{
    QFile file(QStringLiteral(TARN_SOURCE_DIR "/docs/plan.md"));
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QString command = QStringLiteral("plan 9600,8N1 5:100x4 5:120:f32 2:17x40");
    QString shown = QStringLiteral("    $ fgs %1\n").arg(command);
    for (const QString &line : runFgs(command.toLatin1().constData(), QString()).out.split(QLatin1Char('\n')))
        shown += line.isEmpty() ? QStringLiteral("\n") : QStringLiteral("    %1\n").arg(line);
    EXPECT_TRUE(contains(QString::fromUtf8(file.readAll()), shown.trimmed()));
}

TEST(FgsPlan, SaysWhatBlockSizeWouldBeBetter)
{
    const Result result = runFgs("plan 5:0x400 --block 16", QString());
    EXPECT_TRUE(contains(result.out, QStringLiteral("Best at 19200,8E1: --block ")));
    EXPECT_TRUE(contains(runFgs("plan 5:0x4", QString()).out, QStringLiteral("No block size is better")));
}

TEST(FgsPlan, RefusesWhatCannotBeRead)
{
    for (const char *line : {"plan", "plan 9600,8N1", "plan 99:1", "plan 5:1@0", "plan nonsense 5:1",
                             "plan 5:1 --timeout 5", "plan 5:1 --remote=256"})
        EXPECT_EQ(runFgs(line, QString()).code, 2) << line;
}

} // namespace
