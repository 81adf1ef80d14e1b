// What `fgs --trace` leaves, and what it does to the command when it cannot.
#include "formats/pcapng_reader.h"
#include "own_controller.h"
#include "programs.h"
#include "rows.h"

#include <gtest/gtest.h>

#include <fstream>
#include <QtCore/QDateTime>
#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>
#include <sstream>

using formats::Direction;
using formats::TracedFrame;

namespace
{

std::vector<TracedFrame> framesIn(std::istream &source)
{
    formats::PcapngReader reader(source);
    std::vector<TracedFrame> frames;
    while (std::optional<TracedFrame> frame = reader.next())
        frames.push_back(std::move(*frame));
    return frames;
}

std::string hexOf(const TracedFrame &frame)
{
    return QByteArray::fromStdString(frame.bytes).toHex(' ').toUpper().toStdString();
}

class TraceTest : public ::testing::Test
{
protected:
    Result run(const QString &line, const QString &link) const
    {
        return runFgs(wordsOf(line + QStringLiteral(" --trace "), link) + QStringList{path()});
    }
    QString path() const { return folder.filePath(QStringLiteral("line.pcapng")); }
    std::vector<TracedFrame> frames() const
    {
        std::ifstream file(path().toStdString(), std::ios::binary);
        return framesIn(file);
    }

    const QTemporaryDir folder;
};

} // namespace

TEST_F(TraceTest, HoldsRequestsAndReplies)
{
    OwnController controller;
    controller.hold(1, 5, 100, 0x1234);
    controller.hold(1, 5, 101, 0x5678);
    const qint64 before = QDateTime::currentMSecsSinceEpoch();
    EXPECT_EQ(run(QStringLiteral("read L 5:100x2"), controller.link()).code, 0);
    const std::vector<TracedFrame> all = frames();
    ASSERT_EQ(all.size(), 2u);
    EXPECT_EQ(hexOf(all[0]), "01 FE 01 08 02 64 00 AA BE");
    EXPECT_EQ(hexOf(all[1]), "01 FE 01 08 02 12 34 56 78 9A D4");
    EXPECT_EQ(all[0].direction, Direction::Outbound);
    EXPECT_EQ(all[1].direction, Direction::Inbound);
    EXPECT_EQ(all[0].comment, "");
    EXPECT_EQ(all[1].comment, "good");
    EXPECT_EQ(all[0].interface->name, controller.link().toStdString());
    EXPECT_GE(all[0].time, before * 1000000);
    EXPECT_GE(all[1].time, all[0].time);
}

TEST_F(TraceTest, TellsWhatBecameOfARequest)
{
    OwnController controller([](const Request &request, const QByteArray &good) {
        return request.write ? refuse(request) : request.station == 2 ? Silence : Reply{good};
    });
    run(QStringLiteral("read L 5:7@2 --timeout 20 --retries 0 --late 0"), controller.link());
    const std::vector<TracedFrame> read = frames();
    ASSERT_FALSE(read.empty());
    EXPECT_EQ(read.back().comment, "no reply");
    EXPECT_EQ(read.back().bytes, "");
    EXPECT_EQ(read.back().direction, Direction::Inbound);
    EXPECT_EQ(run(QStringLiteral("write L 5:100=1 --retries 0"), controller.link()).code, 5);
    const std::vector<TracedFrame> written = frames();
    ASSERT_GE(written.size(), 2u); // then it is read back
    EXPECT_EQ(hexOf(written[1]), "01 FF 21");
    EXPECT_EQ(written[1].comment, "refused by the controller");
}

TEST_F(TraceTest, LeavesNoAnswerToABroadcast)
{
    OwnController controller;
    EXPECT_EQ(run(QStringLiteral("write L 5:100@0=1"), controller.link()).code, 0);
    EXPECT_EQ(frames().size(), 1u);
}

TEST_F(TraceTest, GoesToStdoutAndTheDataToStderr)
{
    OwnController controller;
    controller.hold(1, 5, 100, 4321);
    const QString file = path();
    const QString command = QStringLiteral("'" TARN_BINARY_DIR "/fgs' read %1 5:100 --trace=- >'%2' 2>'%2.log'");
    if (std::string(TARN_EMULATOR).empty()) {
        EXPECT_EQ(std::system(command.arg(controller.link(), file).toLocal8Bit().constData()), 0);
        EXPECT_EQ(frames().size(), 2u);
        QFile log(file + QStringLiteral(".log"));
        ASSERT_TRUE(log.open(QIODevice::ReadOnly));
        EXPECT_TRUE(log.readAll().contains("4321"));
    }
}

TEST_F(TraceTest, EndsWithTheDiskAndThePollGoesOn)
{
    OwnController controller;
    controller.hold(1, 5, 100, 77);
    const Result result = runFgs("poll L 5:100 --count 20 --trace /dev/full", controller.link());
    EXPECT_EQ(result.code, 1);
    EXPECT_EQ(controller.reads().size(), 20u) << "the poll ended with the trace";
    EXPECT_TRUE(result.messages.contains(QLatin1String(
        "fgs: the trace '/dev/full' has ended early: cannot be written: No space left on device; make "
        "room, or bound the trace with --trace-limit; up to 40 of 40 frames are missing")))
        << result.messages.toStdString();
}

TEST_F(TraceTest, ThatEndsWithTheDiskIsToldWhileThePollGoesOn)
{
    OwnController controller;
    controller.hold(1, 5, 100, 77);
    Program poll("poll L 5:100 --interval 5 --trace /dev/full", controller.link());
    EXPECT_EQ(
        poll.message().toStdString(),
        "fgs: the trace '/dev/full' ends here: cannot be written: No space left on device; make room, or bound "
        "the trace with --trace-limit");
    const std::size_t before = controller.reads().size();
    while (controller.reads().size() < before + 3)
        std::this_thread::yield();
    poll.interrupt();
    EXPECT_EQ(poll.wait().code, 130);
}

TEST_F(TraceTest, IsOpenedBeforeAByteIsSent)
{
    OwnController controller;
    const Result result = runFgs("read L 5:100 --trace /nowhere/line.pcapng", controller.link());
    EXPECT_EQ(result.code, 1);
    EXPECT_EQ(
        result.messages.trimmed().toStdString(),
        "fgs: the trace '/nowhere/line.pcapng' cannot be opened: No such file or directory; make the folder, or "
        "choose another one");
    EXPECT_TRUE(controller.log().empty());
}

TEST_F(TraceTest, IsNotBegunForALinkThatIsNone)
{
    EXPECT_EQ(run(QStringLiteral("read tcp:nowhere 5:100"), QString()).code, 2);
    EXPECT_FALSE(QFile::exists(path()));
}

TEST_F(TraceTest, KeepsTheNewestWithinItsLimit)
{
    OwnController controller;
    EXPECT_EQ(run(QStringLiteral("poll L 5:100x100 --count 600 --trace-limit 64K"), controller.link()).code, 0);
    const QString older = path() + QStringLiteral(".1");
    EXPECT_LE(QFile(path()).size() + QFile(older).size(), 65536);
    std::ifstream file(older.toStdString(), std::ios::binary);
    EXPECT_FALSE(framesIn(file).empty());
    const std::vector<TracedFrame> newest = frames();
    ASSERT_FALSE(newest.empty());
    EXPECT_EQ(newest.back().comment, "good");
}

TEST(TraceOptions, AreRefusedWhereTheyMeanNothing)
{
    const auto refusal = [](const char *line) {
        const Result result = runFgs(line, QStringLiteral("tcp:127.0.0.1:1"));
        EXPECT_EQ(result.code, 2) << line;
        return result.messages.trimmed().toStdString();
    };
    EXPECT_EQ(refusal("read L 5:100 --trace-limit 10M"), "fgs: --trace-limit needs --trace FILE");
    EXPECT_EQ(refusal("read L 5:100 --trace=- --trace-limit 10M"),
              "fgs: --trace-limit bounds files, and --trace=- is none; leave it out, or name a file");
    EXPECT_EQ(
        refusal("read L 5:100 --trace f --trace-limit 10"),
        "fgs: --trace-limit: '10' is no size from 64K to 1048576G, like 10M; fgs help and fgs help COMMAND tell "
        "the rest");
}
