#include "exchanges.h"
#include "program.h"
#include "sim/crc.h"
#include "support/pseudo_terminal.h"
#include "support/temporary_folder.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <memory>
#include <regex>
#include <sstream>
#include <termios.h>
#include <unistd.h>

using namespace fgssim;

namespace
{

/// A pseudo-terminal of the test's own, to be opened as a serial device.
class SerialDevice
{
public:
    std::string path;
    Client master{openPseudoTerminal(path)};
};

} // namespace

TEST(Program, PseudoTerminal)
{
    Program program({"--values", "still"});
    const std::string path = program.outputLine();
    EXPECT_EQ(path.rfind("/dev/pts/", 0), 0u) << path;
    {
        Client client(openDevice(path));
        EXPECT_EQ(client.ask(Write, 3), Acknowledgement);
        EXPECT_EQ(client.ask(ReadTwo, AnswerTwo.size()), AnswerTwo);
    }
    Client second(openDevice(path)); // another client after the first has closed
    EXPECT_EQ(second.ask(ReadTwo, AnswerTwo.size()), AnswerTwo);
    EXPECT_EQ(program.interrupted(), 0);
    EXPECT_NE(program.restOfLog().find("requests 3, replies 3, rejected 0"), std::string::npos);
}

TEST(Program, PseudoTerminalPassesEveryByteUnchanged)
{
    Program program({"--values", "still"});
    Client client(openDevice(program.outputLine()));
    Bytes all = bytes("01 FF 01 08 80 00 00");
    for (unsigned byte = 0; byte < 256; ++byte)
        all.push_back(Byte(byte));
    EXPECT_EQ(client.ask(sealed(all), 3), Acknowledgement);
    const Bytes reply = client.ask(sealed("01 FE 01 08 80 00 00"), 7 + 256);
    EXPECT_EQ(Slice(reply).from(5).first(256).copy(), Slice(all).from(7).copy());
}

TEST(Program, LargestReplyOverThePseudoTerminal)
{
    Program program({"--values", "pattern"});
    Client client(openDevice(program.outputLine()));
    std::string text = "01 FE 06";
    for (int i = 0; i < 6; ++i)
        text += " 13 FF 00 00";
    const Bytes reply = client.ask(sealed(text), 6137);
    EXPECT_EQ(reply.size(), 6137u);
    EXPECT_TRUE(hasGoodCrc(reply));
}

TEST(Program, SymbolicLinkComesAndGoes)
{
    const TemporaryFolder folder;
    const std::filesystem::path link = folder.path / "plc";
    std::filesystem::create_symlink("/dev/pts/99999", link); // left behind by a killed simulator
    Program program({"--pty=" + link.string(), "--values", "still"});
    const std::string path = program.outputLine();
    EXPECT_EQ(std::filesystem::read_symlink(link), path);
    Client client(openDevice(link));
    EXPECT_EQ(client.ask(Write, 3), Acknowledgement);
    EXPECT_EQ(program.interrupted(), 0);
    EXPECT_FALSE(std::filesystem::is_symlink(link));
}

TEST(Program, ASecondOneOnTheSameLinkIsRefused)
{
    const TemporaryFolder folder;
    const std::filesystem::path link = folder.path / "plc";
    Program first({"--pty=" + link.string(), "--values", "still"});
    const std::string path = first.outputLine();
    std::filesystem::create_directory(folder.path / "other");
    for (const std::string &same : {link.string(), (folder.path / "other" / ".." / "plc").string()}) {
        SCOPED_TRACE(same);
        Program second({"--pty=" + same});
        EXPECT_EQ(second.wait(), 3);
        const std::string message = second.restOfLog();
        const std::regex form("fgs-sim: --pty: cannot make the link " + same +
                              ": another fgs-sim \\(process [1-9][0-9]*\\) has it, on " + path +
                              "; choose another path, or end that one\n");
        EXPECT_TRUE(std::regex_match(message, form)) << message;
    }
    EXPECT_EQ(std::filesystem::read_symlink(link), path);
    Client client(openDevice(link));
    EXPECT_EQ(client.ask(Write, 3), Acknowledgement);
}

TEST(Program, AKilledOneLeavesTheLinkToTheNext)
{
    const TemporaryFolder folder;
    const std::filesystem::path link = folder.path / "plc";
    Program first({"--pty=" + link.string()});
    first.outputLine();
    first.signal(SIGKILL);
    EXPECT_EQ(first.wait(), -SIGKILL);
    EXPECT_TRUE(std::filesystem::is_symlink(link));
    Program second({"--pty=" + link.string()});
    const std::string path = second.outputLine(); // only then is the link there
    EXPECT_EQ(std::filesystem::read_symlink(link), path);
    EXPECT_EQ(second.interrupted(), 0);
    EXPECT_FALSE(std::filesystem::is_symlink(link));
}

TEST(Program, AVeryLongLinkIsTakenOnceToo)
{
    const TemporaryFolder folder;
    const std::string link = folder.path / std::string(150, 'x');
    Program first({"--pty=" + link});
    first.outputLine();
    Program second({"--pty=" + link});
    EXPECT_EQ(second.wait(), 3);
    Program third({"--pty=" + link + "y"});
    EXPECT_NE(third.outputLine(), "");
}

TEST(Program, SymbolicLinkNeverReplacesAFile)
{
    const TemporaryFolder folder;
    Program program({"--pty=" + folder.path.string()});
    EXPECT_EQ(program.wait(), 3);
    EXPECT_EQ(program.restOfLog(), "fgs-sim: --pty: cannot make the link " + folder.path.string() +
                                       ": File exists; choose another path\n");
    EXPECT_TRUE(std::filesystem::is_directory(folder.path));
}

TEST(Program, TcpOnLoopback)
{
    Program program({"--tcp", "0", "--values", "still", "--stations", "1,9"});
    const std::string address = program.outputLine();
    EXPECT_EQ(address.rfind("tcp:127.0.0.1:", 0), 0u) << address;
    Client first(openTcp(address)), second(openTcp(address));
    EXPECT_EQ(first.ask(Write, 3), Acknowledgement);
    EXPECT_EQ(second.ask(ReadTwo, AnswerTwo.size()), AnswerTwo);
    EXPECT_EQ(second.ask(sealed("09 FE 01 08 01 64 00"), 9), sealed("09 FE 01 08 01 00 00"));
    program.signal(SIGTERM);
    EXPECT_EQ(program.wait(), 0);
}

TEST(Program, TcpRefusesTheNinthConnection)
{
    Program program({"--tcp", "0"});
    const std::string address = program.outputLine();
    std::vector<std::unique_ptr<Client>> clients;
    for (int i = 0; i < 8; ++i)
        clients.push_back(std::make_unique<Client>(openTcp(address)));
    for (const auto &client : clients)
        EXPECT_EQ(client->ask(Write, 3), Acknowledgement);
    Client ninth(openTcp(address));
    EXPECT_TRUE(ninth.isClosed());
    EXPECT_NE(program.logLineWith(" refused: 8 connections are open, and there may be no more; close one"), "");
    clients.pop_back();
    EXPECT_NE(program.logLineWith(" disconnected"), "");
    Client next(openTcp(address));
    EXPECT_EQ(next.ask(Write, 3), Acknowledgement);
}

TEST(Program, AFloodOfGarbageIsCountedInTheLog)
{
    Program program({"--tcp", "0"});
    Client client(openTcp(program.outputLine()));
    const Bytes garbage(256 * 64, 0x55); // 64 pieces
    for (int i = 0; i < 100; ++i)
        client.send(garbage);
    EXPECT_EQ(client.ask(Write, 3), Acknowledgement);
    EXPECT_EQ(program.interrupted(), 0);
    std::istringstream log(program.restOfLog());
    unsigned long shown = 0, leftOut = 0, rejected = 0;
    std::smatch found;
    for (std::string line; std::getline(log, line);) {
        shown += line.find(" rejected: unknown command") != std::string::npos;
        if (std::regex_search(line, found, std::regex("rejected: ([0-9]+) more such lines$")))
            leftOut += std::stoul(found[1]);
        if (std::regex_search(line, found, std::regex("^requests .* rejected ([0-9]+)")))
            rejected = std::stoul(found[1]);
    }
    EXPECT_GE(rejected, 6400u);
    EXPECT_EQ(shown + leftOut, rejected);
    EXPECT_GE(shown, 20u);
    EXPECT_LT(shown, rejected / 2);
}

TEST(Program, TheLogHasLocalTimesWithTheirOffset)
{
    ::setenv("TZ", "XYZ-05:30", 1);
    Program program({"--for", "0.05"});
    ::unsetenv("TZ");
    EXPECT_EQ(program.wait(), 0);
    const std::string line = program.logLine();
    const std::regex form("20[0-9]{2}-[01][0-9]-[0-3][0-9]T[0-2][0-9]:[0-5][0-9]:[0-6][0-9]\\.[0-9]{3}\\+05:30 "
                          "simulating 1 station\\(s\\) on /dev/pts/[0-9]+");
    EXPECT_TRUE(std::regex_match(line, form)) << line;
}

TEST(Program, TheLogHasTheOffsetOfUtcToo)
{
    ::setenv("TZ", "UTC0", 1);
    Program program({"--for", "0.05"});
    ::unsetenv("TZ");
    EXPECT_EQ(program.wait(), 0);
    const std::string line = program.logLine();
    EXPECT_NE(line.find("+00:00 simulating"), std::string::npos) << line;
}

TEST(Program, TheLogShowsWhatIsSet)
{
    Program program({"--for", "0.05", "--set", "5:0x64=fixed:1", "--set", "1:17@1=ramp:0..1"});
    EXPECT_EQ(program.wait(), 0);
    const std::string log = program.restOfLog();
    EXPECT_NE(log.find(" set area 5 from 0, 64 words: fixed 1\n"), std::string::npos) << log;
    EXPECT_NE(log.find(" set area 1 from 17, 1 bit of station 1: ramp 0..1 by 1\n"), std::string::npos) << log;
}

TEST(Program, SaysThatItsAddressCannotBeWritten)
{
    if (*TARN_EMULATOR)
        GTEST_SKIP() << "the shell of this machine cannot start a program of another";
    Process program("/bin/sh", {"-c", "exec \"$0\" --for 0.05 >/dev/full", FGS_SIM});
    EXPECT_EQ(program.wait(), 1);
    const std::string message = program.restOfLog();
    EXPECT_EQ(message.rfind("fgs-sim: cannot write /dev/pts/", 0), 0u) << message;
    EXPECT_NE(message.find(" to the standard output: No space left on device\n"), std::string::npos) << message;
}

TEST(Program, AClientThatNeverReadsHarmsNobody)
{
    Program program({"--tcp", "0", "--log", "quiet"});
    const std::string address = program.outputLine();
    std::string text = "01 FE 06";
    for (int i = 0; i < 6; ++i)
        text += " 13 FF 00 00";
    const Bytes large = sealed(text);
    Client deaf(openTcp(address)), other(openTcp(address));
    for (int i = 0; i < 3000; ++i) { // 18 MB of replies, more than the system keeps
        SCOPED_TRACE(i);
        deaf.send(large);
        ASSERT_EQ(other.ask(Write, 3), Acknowledgement); // so that few requests wait at a time
    }
    EXPECT_EQ(program.interrupted(), 0);
    const std::string summary = program.restOfLog();
    EXPECT_EQ(summary.find(" lost 0;"), std::string::npos) << summary;
}

TEST(Program, RejectsByASilentLogLine)
{
    Program program({"--values", "still"});
    Client client(openDevice(program.outputLine()));
    client.send(ReadOnly);
    EXPECT_NE(program.logLineWith("rejected: write to area 8, which is read-only: 01 FF 01 06"), "");
    client.send(bytes("01 FE 01 08 01 64 00 00 00"));
    client.send(sealed("02 FE 01 08 01 64 00"));
    EXPECT_EQ(client.ask(Write, 3), Acknowledgement);
    EXPECT_NE(program.logLineWith("rejected: bad CRC 00 00, computed 5A BE: 01 FE 01 08 01 64 00 00 00"), "");
    EXPECT_NE(program.logLineWith("not for a station here: 02 FE"), "");
}

TEST(Program, FindsTheRequestBehindACutOneWithoutMoreBytes)
{
    Program program({"--values", "still"});
    Client client(openDevice(program.outputLine()));
    EXPECT_EQ(client.ask(bytes("01 FF 01 13 FF") + Write, 3), Acknowledgement);
}

TEST(Program, LateRepliesComeAndSilenceIsCounted)
{
    Program program({"--fault", "late=100", "--late-by", "150"});
    Client client(openDevice(program.outputLine()));
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(client.ask(Write, 3), Acknowledgement);
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(150));
    EXPECT_EQ(program.interrupted(), 0);
    EXPECT_NE(program.restOfLog().find("late 1,"), std::string::npos);
}

// 13 request bytes and 3 reply bytes of 11 bits at 1200 baud: 146.6 ms.
TEST(Program, KeepsThePaceOfALine)
{
    Program program({"--pace", "1200,8E1"});
    Client client(openDevice(program.outputLine()));
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(client.ask(Write, 3), Acknowledgement);
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::microseconds(146600));
}

TEST(Program, ValuesMove)
{
    Program program({"--tick", "5", "--set", "5:7=ramp:0..60000/1"});
    Client client(openDevice(program.outputLine()));
    const auto value = [&] { return Slice(client.ask(sealed("01 FE 01 08 01 07 00"), 9)).be16(5); };
    const unsigned first = value();
    unsigned later = first;
    while (later == first)
        later = value();
    EXPECT_GT(later, first);
}

TEST(Program, EndsByItself)
{
    Program program({"--for", "0.05"});
    EXPECT_EQ(program.wait(), 0);
    EXPECT_NE(program.restOfLog().find("requests 0, replies 0"), std::string::npos);
}

TEST(Program, QuietLogHasOnlyTheSummary)
{
    Program program({"--for", "0.05", "--log", "quiet"});
    EXPECT_EQ(program.wait(), 0);
    EXPECT_EQ(program.restOfLog().rfind("requests 0", 0), 0u);
}

TEST(Program, VersionAndHelpGoToStdout)
{
    Program version({"--version"});
    EXPECT_EQ(version.wait(), 0);
    EXPECT_EQ(version.restOfOutput(), "fgs-sim " FGS_SIM_VERSION "\n");
    Program help({"--help"});
    EXPECT_EQ(help.wait(), 0);
    EXPECT_EQ(help.outputLine(), "Examples:");
    EXPECT_EQ(help.restOfLog(), "");
}

TEST(Program, UsageErrorsEndWithTwo)
{
    Program program({"--stations", "none"});
    EXPECT_EQ(program.wait(), 2);
    EXPECT_EQ(program.restOfOutput(), "");
    EXPECT_EQ(program.restOfLog(), "fgs-sim: --stations: station 'none' is not a whole number from 1 to 255\n"
                                   "fgs-sim --help lists the options.\n");
}

TEST(Program, APortInUseEndsWithThree)
{
    Program first({"--tcp", "0"});
    const std::string address = first.outputLine();
    const std::string place = address.substr(4); // behind "tcp:"
    Program second({"--tcp", place});
    EXPECT_EQ(second.wait(), 3);
    EXPECT_EQ(second.restOfLog().rfind("fgs-sim: --tcp: cannot listen on " + place + ": ", 0), 0u);
}

TEST(Program, AMissingSerialDeviceEndsWithThree)
{
    Program program({"--serial", "/dev/no-such-device"});
    EXPECT_EQ(program.wait(), 3);
    EXPECT_EQ(program.restOfLog().rfind("fgs-sim: --serial: cannot open /dev/no-such-device: ", 0), 0u);
}

TEST(Program, AFileIsNoSerialDevice)
{
    if (!FGS_SIM_WITH_SERIAL)
        GTEST_SKIP() << "built without Qt SerialPort";
    const TemporaryFolder folder;
    const std::filesystem::path file = folder.path / "file";
    std::ofstream(file) << "text";
    Program program({"--serial", file.string()});
    EXPECT_EQ(program.wait(), 3);
    const std::string message = program.restOfLog();
    EXPECT_NE(message.find("; it is no serial device\n"), std::string::npos) << message;
}

TEST(Program, ASerialDeviceIsTakenOnce)
{
    if (!FGS_SIM_WITH_SERIAL)
        GTEST_SKIP() << "built without Qt SerialPort";
    SerialDevice line;
    Program first({"--serial", line.path});
    EXPECT_EQ(first.outputLine(), line.path);
    Program second({"--serial", line.path});
    EXPECT_EQ(second.wait(), 3);
    const std::string message = second.restOfLog();
    EXPECT_EQ(message.rfind("fgs-sim: --serial: cannot open " + line.path + ": ", 0), 0u) << message;
}

TEST(Program, SerialDevice)
{
    if (!FGS_SIM_WITH_SERIAL)
        GTEST_SKIP() << "this build has no serial ports";
    SerialDevice line;
    Program program({"--serial", line.path + ":115200,8N1", "--values", "still"});
    EXPECT_EQ(program.outputLine(), line.path);
    EXPECT_EQ(line.master.ask(Write, 3), Acknowledgement);
    EXPECT_EQ(line.master.ask(ReadTwo, AnswerTwo.size()), AnswerTwo);
    EXPECT_EQ(program.interrupted(), 0);
}
