// What a recorder leaves in its files, and what it does when they take nothing more.
#include "formats/pcapng_reader.h"
#include "formats/recorder.h"
#include "support/temporary_folder.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <sstream>
#include <sys/stat.h>
#include <unistd.h>

using namespace formats;

namespace
{

class RecorderTest : public ::testing::Test
{
protected:
    std::string path(const std::string &name = "trace") const { return folder.path / name; }

    static std::vector<TracedFrame> framesIn(std::istream &source)
    {
        std::vector<TracedFrame> frames;
        PcapngReader reader(source);
        while (std::optional<TracedFrame> frame = reader.next())
            frames.push_back(std::move(*frame));
        return frames;
    }
    std::vector<TracedFrame> framesOf(const std::string &name = "trace") const
    {
        std::ifstream file(path(name), std::ios::binary);
        EXPECT_TRUE(file) << name;
        return framesIn(file);
    }
    std::int64_t sizeOf(const std::string &name) const
    {
        struct stat found = {};
        return ::stat(path(name).c_str(), &found) == 0 ? found.st_size : -1;
    }

    const TemporaryFolder folder;
};

Frame numbered(int number, std::string_view bytes = "frame")
{
    return {0, number, Direction::Inbound, bytes, "good"};
}

std::string errorOf(const TraceSettings &settings)
{
    try {
        Recorder recorder(settings, "test");
    } catch (const TraceError &error) {
        return error.what();
    }
    return "";
}

} // namespace

TEST_F(RecorderTest, WritesEveryFrameInItsOrder)
{
    const int count = 10000;
    Recorder recorder({path()}, "test");
    EXPECT_EQ(recorder.addInterface({"one", ""}), 0U);
    for (int i = 0; i < count; ++i)
        recorder.record(numbered(i));
    EXPECT_EQ(recorder.addInterface({"two", "fast"}), 1U);
    recorder.record({1, count, Direction::Outbound, "last", ""});
    EXPECT_EQ(recorder.end(), "");
    const std::vector<TracedFrame> frames = framesOf();
    ASSERT_EQ(frames.size(), count + 1U);
    for (int i = 0; i < count; ++i)
        ASSERT_EQ(frames[std::size_t(i)].time, i);
    EXPECT_EQ(frames.back().interface->name, "two");
    EXPECT_EQ(frames.back().bytes, "last");
}

TEST_F(RecorderTest, LeavesAWholeFileWithoutFrames)
{
    EXPECT_EQ(Recorder({path()}, "test").end(), "");
    EXPECT_TRUE(framesOf().empty());
    EXPECT_GT(sizeOf("trace"), 0);
}

TEST_F(RecorderTest, KeepsTheNewestWithinTheLimit)
{
    const int count = 20000;
    const std::int64_t limit = 65536;
    Recorder recorder({path(), limit}, "test");
    recorder.addInterface({"line", ""});
    for (int i = 0; i < count; ++i)
        recorder.record(numbered(i));
    EXPECT_EQ(recorder.end(), "");
    EXPECT_LE(sizeOf("trace") + sizeOf("trace.1"), limit);
    std::vector<TracedFrame> frames = framesOf("trace.1");
    EXPECT_EQ(frames.front().interface->name, "line");
    EXPECT_GT(sizeOf("trace.1"), limit / 2 - 200) << "the older file is not full";
    const std::vector<TracedFrame> newest = framesOf();
    frames.insert(frames.end(), newest.begin(), newest.end());
    for (std::size_t i = 0; i < frames.size(); ++i)
        ASSERT_EQ(frames[i].time, std::int64_t(count - frames.size() + i)) << "not the newest, or not all of them";
}

TEST_F(RecorderTest, EndsWithTheDiskAndSaysSo)
{
    Recorder recorder({"/dev/full"}, "test");
    recorder.addInterface({"line", ""});
    for (int i = 0; i < 3; ++i)
        recorder.record(numbered(i));
    EXPECT_EQ(recorder.end(),
              "the trace '/dev/full' has ended early: cannot be written: No space left on device; make "
              "room, or bound the trace with --trace-limit; up to 3 of 3 frames are missing");
}

TEST_F(RecorderTest, LeavesFramesOutWhenNobodyReadsAndSaysHowMany)
{
    ASSERT_EQ(::mkfifo(path().c_str(), 0600), 0);
    const int pipe = ::open(path().c_str(), O_RDONLY | O_NONBLOCK); // so that the other end opens at once
    const std::string frame(1000, 'x');
    const std::size_t queue = 4096;
    Recorder recorder({path()}, "test", queue);
    recorder.addInterface({"line", ""});
    int count = 0;
    while (recorder.droppedFrames() < 5)
        recorder.record(numbered(count++, frame));
    std::string all;
    const auto readSome = [&] {
        char bytes[65536];
        const ssize_t size = ::read(pipe, bytes, sizeof bytes);
        if (size > 0)
            all.append(bytes, std::size_t(size));
        return size != 0;
    };
    const auto dropped = [&] { return recorder.droppedFrames(); };
    for (std::uint64_t before = dropped() - 1; before != dropped();) { // until one finds room again
        before = dropped();
        readSome();
        recorder.record(numbered(count++, frame));
    }
    const std::string problem = [&] {
        std::string told;
        std::thread ender([&] { told = recorder.end(); });
        while (all.find("before this one are missing") == std::string::npos)
            readSome();
        ender.join();
        return told;
    }();
    while (readSome() && all.size() < 10000000) // what the pipe still holds
        if (::fcntl(pipe, F_GETFL) < 0)
            break;
        else if (char next = 0; ::read(pipe, &next, 1) == 1)
            all += next;
        else
            break;
    ::close(pipe);
    std::istringstream source(all);
    const std::vector<TracedFrame> frames = framesIn(source);
    std::uint64_t missing = 0;
    for (const TracedFrame &each : frames)
        if (each.comment != "good") {
            missing += std::stoull(each.comment);
            EXPECT_NE(
                each.comment.find(" frames before this one are missing: the trace could not be written as fast as "
                                  "they came; good"),
                std::string::npos);
        }
    EXPECT_EQ(frames.size() + missing, std::size_t(count));
    EXPECT_EQ(missing, dropped());
    EXPECT_EQ(problem, "the trace '" + path() +
                           "' has gaps: it could not be written as fast as the frames came; up to " +
                           std::to_string(missing) + " of " + std::to_string(count) + " frames are missing");
}

TEST_F(RecorderTest, GivesUpAPipeThatNobodyReadsAtTheEnd)
{
    ASSERT_EQ(::mkfifo(path().c_str(), 0600), 0);
    const int pipe = ::open(path().c_str(), O_RDONLY | O_NONBLOCK);
    Recorder recorder({path()}, "test");
    recorder.addInterface({"line", ""});
    const std::string frame(100000, 'x'); // more than a pipe holds
    for (int i = 0; i < 3; ++i)
        recorder.record(numbered(i, frame));
    EXPECT_EQ(recorder.end(), "the trace '" + path() +
                                  "' has ended early: its reader does not read; up to 3 of 3 frames are missing");
    ::close(pipe);
}

TEST_F(RecorderTest, EndsWithItsReader)
{
    std::signal(SIGPIPE, SIG_IGN);
    ASSERT_EQ(::mkfifo(path().c_str(), 0600), 0);
    const int pipe = ::open(path().c_str(), O_RDONLY | O_NONBLOCK);
    Recorder recorder({path()}, "test");
    ::close(pipe);
    recorder.addInterface({"line", ""});
    recorder.record(numbered(1));
    EXPECT_EQ(recorder.end(),
              "the trace '" + path() + "' has ended early: its reader has gone; up to 1 of 1 frames are missing");
}

TEST_F(RecorderTest, SaysWhyAFileCannotBeOpened)
{
    EXPECT_EQ(errorOf({path("none/trace")}),
              "cannot be opened: No such file or directory; make the folder, or choose another one");
    EXPECT_EQ(errorOf({folder.path}), "cannot be opened: Is a directory; name a file in it");
}

TEST_F(RecorderTest, RefusesATerminal)
{
    const int master = ::posix_openpt(O_RDWR | O_NOCTTY);
    ::grantpt(master);
    ::unlockpt(master);
    EXPECT_EQ(errorOf({::ptsname(master)}), "is not for a terminal; pipe it: --trace=- | wireshark -k -i -");
    ::close(master);
}
