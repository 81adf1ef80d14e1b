// What `fgs-sim --trace` leaves, and what it does when it cannot.
#include "exchanges.h"
#include "formats/pcapng_reader.h"
#include "program.h"
#include "sim/crc.h"
#include "support/temporary_folder.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>

using namespace fgssim;

namespace
{

std::vector<formats::TracedFrame> framesOf(const std::filesystem::path &path)
{
    std::ifstream file(path, std::ios::binary);
    formats::PcapngReader reader(file);
    std::vector<formats::TracedFrame> frames;
    while (std::optional<formats::TracedFrame> frame = reader.next())
        frames.push_back(std::move(*frame));
    return frames;
}

std::string textOf(const formats::TracedFrame &frame)
{
    const Bytes content(frame.bytes.begin(), frame.bytes.end());
    return (frame.direction == formats::Direction::Inbound ? "< " : "> ") + hex(content) + "  " + frame.comment;
}

} // namespace

TEST(SimTrace, TracesItsLine)
{
    const TemporaryFolder folder;
    const std::string file = folder.path / "line.pcapng";
    Program program({"--values", "still", "--trace", file});
    const std::string path = program.outputLine();
    {
        Client client(openDevice(path));
        client.ask(Write, 3);
        client.ask(ReadTwo, AnswerTwo.size());
        client.send(ReadOnly);
        EXPECT_NE(program.logLineWith("rejected"), "");
    }
    EXPECT_EQ(program.interrupted(), 0);
    const std::vector<formats::TracedFrame> frames = framesOf(file);
    ASSERT_EQ(frames.size(), 5u);
    EXPECT_EQ(frames[0].interface->name, path);
    EXPECT_EQ(textOf(frames[0]), "< " + hex(Write) + "  ");
    EXPECT_EQ(textOf(frames[1]), "> " + hex(Acknowledgement) + "  good");
    EXPECT_EQ(textOf(frames[3]), "> " + hex(AnswerTwo) + "  good");
    EXPECT_EQ(textOf(frames[4]).find("< " + hex(ReadOnly) + "  rejected: "), 0u) << textOf(frames[4]);
}

TEST(SimTrace, TracesEachConnectionAsAnInterface)
{
    const TemporaryFolder folder;
    const std::string file = folder.path / "line.pcapng";
    Program program({"--tcp", "0", "--fault", "silence=100", "--trace", file});
    const std::string link = program.outputLine();
    for (int i = 0; i < 2; ++i) {
        Client client(openTcp(link));
        client.send(ReadTwo);
        EXPECT_NE(program.logLineWith("fault silence"), "");
    }
    EXPECT_EQ(program.interrupted(), 0);
    const std::vector<formats::TracedFrame> frames = framesOf(file);
    ASSERT_EQ(frames.size(), 4u);
    EXPECT_EQ(textOf(frames[1]), ">   fault silence");
    EXPECT_EQ(frames[0].interface, frames[1].interface);
    EXPECT_NE(frames[0].interface->name, frames[2].interface->name);
    EXPECT_EQ(frames[0].interface->name.find("tcp:127.0.0.1:"), 0u);
}

TEST(SimTrace, GoesOnWithoutATraceThatCannotBeWritten)
{
    Program program({"--values", "still", "--trace", "/dev/full"});
    const std::string path = program.outputLine();
    Client client(openDevice(path));
    client.ask(Write, 3);
    EXPECT_EQ(client.ask(ReadTwo, AnswerTwo.size()), AnswerTwo);
    EXPECT_EQ(program.interrupted(), 1);
    EXPECT_NE(
        program.restOfLog().find("fgs-sim: the trace '/dev/full' has ended early: cannot be written: No space "
                                 "left on device"),
        std::string::npos);
}

TEST(SimTrace, RefusesATraceItCannotOpen)
{
    Program program({"--trace", "/nowhere/line.pcapng"});
    EXPECT_EQ(program.wait(), 1);
    EXPECT_EQ(program.restOfLog(), "fgs-sim: the trace '/nowhere/line.pcapng' cannot be opened: No such file or "
                                   "directory; make the folder, or choose another one\n");
}
