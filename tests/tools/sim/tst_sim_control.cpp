// fgs-sim --control and fgs-sim ctl, over real sockets.
#include "exchanges.h"
#include "program.h"
#include "support/temporary_folder.h"
#include "tools/fgs-sim/options.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <fstream>
#include <regex>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

using namespace fgssim;

namespace
{

sockaddr_un addressOf(const std::string &path)
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    return address;
}

/// A socket at which the test listens, or nobody any more.
class OwnSocket
{
public:
    explicit OwnSocket(const std::string &path)
    {
        const sockaddr_un address = addressOf(path);
        EXPECT_EQ(::bind(descriptor, reinterpret_cast<const sockaddr *>(&address), sizeof address), 0);
        EXPECT_EQ(::listen(descriptor, 1), 0);
    }
    OwnSocket(const OwnSocket &) = delete;
    OwnSocket &operator=(const OwnSocket &) = delete;
    ~OwnSocket() { ::close(descriptor); }

private:
    const int descriptor = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
};

int connectedTo(const std::string &path)
{
    const int descriptor = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const sockaddr_un address = addressOf(path);
    EXPECT_EQ(::connect(descriptor, reinterpret_cast<const sockaddr *>(&address), sizeof address), 0) << path;
    return descriptor;
}

Bytes asBytes(const std::string &text)
{
    return {text.begin(), text.end()};
}

std::vector<std::string> plus(std::vector<std::string> list, const std::vector<std::string> &more)
{
    list.insert(list.end(), more.begin(), more.end());
    return list;
}

class ControlTest : public testing::Test
{
protected:
    struct Answer {
        int code;
        std::string out, messages;
    };
    Answer tell(const std::vector<std::string> &words) const
    {
        Program ctl(plus({"ctl", "--socket", socket}, words));
        const std::string out = ctl.restOfOutput(), messages = ctl.restOfLog();
        return {ctl.wait(), out, messages};
    }

    TemporaryFolder folder;
    const std::string socket = folder.path / "socket";
};

} // namespace

TEST_F(ControlTest, SetsValuesWhileItRuns)
{
    Program program({"--tcp", "0", "--values", "still", "--control=" + socket});
    Client client(openTcp(program.outputLine()));
    EXPECT_EQ(program.outputLine(), "control " + socket);
    EXPECT_EQ(client.ask(ReadTwo, AnswerTwo.size()), sealed("01 FE 01 08 02 00 00 00 00"));
    const Answer answer = tell({"set", "5:100=0x1234,0x5678"});
    EXPECT_EQ(answer.code, 0);
    EXPECT_EQ(answer.out, "area 5 from 100, 2 words: 4660,22136\n");
    EXPECT_EQ(answer.messages, "");
    EXPECT_EQ(client.ask(ReadTwo, AnswerTwo.size()), AnswerTwo);
    EXPECT_EQ(tell({"get 5:100x2"}).out, "5:100x2@1=4660,22136\n"); // one word or many
    EXPECT_NE(program.logLineWith("command: set 5:100=0x1234,0x5678"), "");
}

/// A scenario may be helped by hand.
TEST_F(ControlTest, GoesTogetherWithAScenario)
{
    const std::string file = folder.path / "night.toml";
    std::ofstream(file) << "[[at]]\ntime = 0\ndo = \"station 1 off\"\n"
                           "[[at]]\ntime = 0.2\nevery = 0.1\ntimes = 2\ndo = \"set 5:100=0x1234,0x5678\"\n";
    Program program({"--tcp", "0", "--scenario", file, "--values", "still", "--control=" + socket});
    Client client(openTcp(program.outputLine()));
    EXPECT_NE(program.logLineWith("scenario " + file + ", seed 1"), "");
    EXPECT_NE(program.logLineWith("scenario: station 1 off"), "");
    EXPECT_NE(program.logLineWith("scenario: set 5:100=0x1234,0x5678"), "");
    EXPECT_NE(program.logLineWith("scenario: all is done"), "");
    EXPECT_EQ(tell({"station 1 on"}).code, 0);
    EXPECT_EQ(client.ask(ReadTwo, AnswerTwo.size()), AnswerTwo);
    EXPECT_EQ(program.interrupted(), 0);
}

TEST_F(ControlTest, ARefusalEndsWithOne)
{
    Program program({"--tcp", "0", "--control=" + socket});
    program.outputLine();
    program.outputLine();
    const Answer answer = tell({"station", "9", "off"});
    EXPECT_EQ(answer.code, 1);
    EXPECT_EQ(answer.out, "");
    EXPECT_EQ(answer.messages, "fgs-sim ctl: station 9 is not simulated; --stations has 1\n");
}

TEST_F(ControlTest, NobodyThereEndsWithThree)
{
    const Answer answer = tell({"status"});
    EXPECT_EQ(answer.code, 3);
    EXPECT_EQ(answer.messages, "fgs-sim ctl: no fgs-sim listens at " + socket +
                                   " (No such file or directory); start one with --control, or name its socket "
                                   "with --socket\n");
}

TEST_F(ControlTest, ACommandIsNeeded)
{
    const Answer answer = tell({});
    EXPECT_EQ(answer.code, 2);
    EXPECT_EQ(answer.messages, "fgs-sim ctl: COMMAND is required\nfgs-sim ctl --help lists the options.\n");
}

TEST_F(ControlTest, HelpNeedsNobody)
{
    Program ctl({"ctl", "--help"});
    const std::string help = ctl.restOfOutput();
    EXPECT_EQ(ctl.wait(), 0);
    for (const char *text : {"fgs-sim ctl unplug 10s", "  station LIST off|on", "--socket PATH", "COMMAND..."})
        EXPECT_NE(help.find(text), std::string::npos) << text;
}

TEST_F(ControlTest, SilenceAndRefusalsFromTheStart)
{
    Program program({"--tcp", "0", "--values", "still", "--control=" + socket, "--missing", "5:2000x100",
                     "--refuse", "5:100", "--refuse=6:7@1"});
    Client client(openTcp(program.outputLine()));
    program.outputLine();
    EXPECT_EQ(client.ask(Write, 3), bytes("01 FF 21"));
    client.send(sealed("01 FE 01 08 01 D0 07")); // 5:2000
    EXPECT_NE(program.logLineWith("unanswered: an address is missing in 5:2000@1: 01 FE 01 08 01 D0 07"), "");
    const std::string status = tell({"status"}).out;
    EXPECT_EQ(status.rfind("stations 1\nmissing 5:2000x100\nrefuse 5:100\nrefuse 6:7\n", 0), 0u) << status;
    tell({"present", "5:2000"});
    EXPECT_EQ(client.ask(sealed("01 FE 01 08 01 D0 07"), 9), sealed("01 FE 01 08 01 00 00"));
}

TEST_F(ControlTest, AStationOffAndTheLineUnplugged)
{
    Program program({"--tcp", "0", "--values", "still", "--control=" + socket});
    Client client(openTcp(program.outputLine()));
    program.outputLine();
    EXPECT_EQ(tell({"station", "1", "off"}).out, "station 1 is off\n");
    client.send(Write);
    EXPECT_NE(program.logLineWith("unanswered: station 1 is switched off: 01 FF 01"), "");
    EXPECT_EQ(tell({"station", "1", "on"}).out, "station 1 is on\n");
    EXPECT_EQ(client.ask(ReadTwo, 11), sealed("01 FE 01 08 02 00 00 00 00"));
    EXPECT_EQ(tell({"unplug"}).out, "unplugged; 'plug' ends it\n");
    client.send(ReadTwo);
    EXPECT_NE(tell({"status"}).out.find("\nunplug\n"), std::string::npos);
    tell({"plug"});
    EXPECT_EQ(client.ask(Write, 3), Acknowledgement); // what came meanwhile is not answered any more
}

TEST_F(ControlTest, AFaultOfTheTableStrikesOnce)
{
    Program program({"--values", "still", "--control=" + socket});
    Client client(openDevice(program.outputLine()));
    program.outputLine();
    tell({"fault", "own", "echo", "ahead"});
    EXPECT_EQ(client.ask(Write, Write.size() + 3), Write + Acknowledgement);
    EXPECT_EQ(client.ask(Write, 3), Acknowledgement);
    EXPECT_NE(program.logLineWith("fault own echo ahead: station 1 writes"), "");
    EXPECT_EQ(program.interrupted(), 0);
    EXPECT_NE(program.restOfLog().find(", chosen 1"), std::string::npos);
}

TEST_F(ControlTest, AFloodOfNoiseComesWhole)
{
    Program program({"--tcp", "0", "--control=" + socket});
    Client client(openTcp(program.outputLine()));
    program.outputLine();
    tell({"fault", "20,000 bytes of noise"});
    EXPECT_EQ(client.ask(Write, 20000).size(), 20000u);
}

TEST_F(ControlTest, ALostLinkClosesTheConnection)
{
    Program program({"--tcp", "0", "--control=" + socket});
    const std::string address = program.outputLine();
    program.outputLine();
    Client client(openTcp(address));
    tell({"fault", "link", "lost"});
    client.send(Write);
    EXPECT_TRUE(client.isClosed());
    Client second(openTcp(address));
    EXPECT_EQ(second.ask(Write, 3), Acknowledgement);
}

TEST_F(ControlTest, ManyCommandsOverOneConnection)
{
    Program program({"--tcp", "0", "--values", "still", "--control=" + socket});
    program.outputLine();
    program.outputLine();
    Client client(connectedTo(socket));
    client.send(asBytes("set 5:1=7\nget 5:1"));
    const std::string first = "area 5 from 1, 1 word: 7\ndone\n";
    EXPECT_EQ(client.receive(first.size()), asBytes(first));
    client.send(asBytes("\nnonsense\n"));
    const std::string second = "5:1@1=7\ndone\nrefused: there is no command 'nonsense'; 'help' lists them\n";
    EXPECT_EQ(client.receive(second.size()), asBytes(second));
}

TEST_F(ControlTest, AnEndlessLineIsCutOff)
{
    Program program({"--tcp", "0", "--control=" + socket});
    program.outputLine();
    program.outputLine();
    Client client(connectedTo(socket));
    client.send(Bytes(65536, 'x'));
    EXPECT_TRUE(client.isClosed());
    EXPECT_EQ(tell({"status"}).code, 0);
}

TEST_F(ControlTest, OnlyTheUserMayConnect)
{
    Program program({"--tcp", "0", "--control=" + socket});
    program.outputLine();
    program.outputLine();
    struct stat found = {};
    ASSERT_EQ(::stat(socket.c_str(), &found), 0);
    EXPECT_EQ(found.st_mode, S_IFSOCK | S_IRUSR | S_IWUSR);
    EXPECT_EQ(program.interrupted(), 0);
    EXPECT_NE(::lstat(socket.c_str(), &found), 0); // it is removed
}

TEST_F(ControlTest, OneInUseIsRefused)
{
    Program first({"--tcp", "0", "--control=" + socket});
    first.outputLine();
    first.outputLine();
    Program second({"--tcp", "0", "--control=" + socket});
    EXPECT_EQ(second.wait(), 3);
    const std::string message = second.restOfLog();
    const std::regex form(
        "fgs-sim: --control: cannot listen at " + socket +
        ": another fgs-sim \\(process [1-9][0-9]*\\) has it; choose another path, or end that one\n");
    EXPECT_TRUE(std::regex_match(message, form)) << message;
    EXPECT_EQ(tell({"status"}).code, 0);
}

TEST_F(ControlTest, OneOfAnotherProgramIsRefused)
{
    const OwnSocket own(socket);
    Program program({"--tcp", "0", "--control=" + socket});
    EXPECT_EQ(program.wait(), 3);
    const std::string message = program.restOfLog();
    EXPECT_NE(message.find(": another program (process " + std::to_string(::getpid()) + ") listens there; "),
              std::string::npos)
        << message;
}

TEST_F(ControlTest, OneThatWasLeftBehindIsReplaced)
{
    { // as after a kill, which removes no file
        const OwnSocket left(socket);
    }
    Program program({"--tcp", "0", "--control=" + socket});
    program.outputLine();
    EXPECT_EQ(program.outputLine(), "control " + socket);
    EXPECT_EQ(tell({"status"}).code, 0);
}

TEST_F(ControlTest, AKilledOneLeavesTheSocketToTheNext)
{
    Program first({"--tcp", "0", "--control=" + socket});
    first.outputLine();
    first.outputLine();
    first.signal(SIGKILL);
    EXPECT_EQ(first.wait(), -SIGKILL);
    EXPECT_EQ(tell({"status"}).code, 3);
    Program second({"--tcp", "0", "--control=" + socket});
    second.outputLine();
    second.outputLine();
    EXPECT_EQ(tell({"status"}).code, 0);
}

TEST_F(ControlTest, AFileIsNeverReplaced)
{
    std::ofstream(socket) << "text";
    Program program({"--tcp", "0", "--control=" + socket});
    EXPECT_EQ(program.wait(), 3);
    EXPECT_EQ(program.restOfLog(), "fgs-sim: --control: cannot listen at " + socket +
                                       ": it is no socket, and is not replaced; choose another path\n");
    EXPECT_EQ(std::filesystem::file_size(socket), 4u);
}

TEST_F(ControlTest, APathThatIsTooLongIsRefused)
{
    const std::string path = folder.path / std::string(120, 'x');
    Program program({"--tcp", "0", "--control=" + path});
    EXPECT_EQ(program.wait(), 3);
    EXPECT_EQ(program.restOfLog(), "fgs-sim: --control: cannot listen at " + path +
                                       ": it is longer than 107 characters; choose another path\n");
    Program ctl({"ctl", "--socket", path, "status"});
    EXPECT_EQ(ctl.wait(), 3);
}

TEST_F(ControlTest, TheSocketOfTheUserNeedsNoPath)
{
    ::setenv("XDG_RUNTIME_DIR", folder.path.c_str(), 1);
    Program program({"--tcp", "0", "--control"});
    program.outputLine();
    EXPECT_EQ(program.outputLine(), "control " + (folder.path / "fgs-sim.socket").string());
    Program ctl({"ctl", "status"});
    EXPECT_EQ(ctl.outputLine(), "stations 1");
    EXPECT_EQ(ctl.wait(), 0);
    ::unsetenv("XDG_RUNTIME_DIR");
    EXPECT_EQ(defaultSocket(), "/tmp/fgs-sim-" + std::to_string(::getuid()) + ".socket");
}

/// stdout belongs to the trace.
TEST_F(ControlTest, WithATraceOnStdoutTheSocketIsToldOnStderr)
{
    Program program({"--tcp", "0", "--trace=-", "--control=" + socket});
    EXPECT_NE(program.logLineWith("control " + socket), "");
    EXPECT_EQ(tell({"status"}).code, 0);
}
