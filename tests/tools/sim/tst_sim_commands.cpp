// The commands, carried out in virtual time.
#include "sim/sim_frames.h"
#include "tools/fgs-sim/commands.h"

#include <gtest/gtest.h>

using namespace fgssim;
using namespace std::chrono_literals;

namespace
{

const Bytes ReadOne = sealed("01 FE 01 08 01 64 00"); // 5:100@1
const Bytes WriteOne = sealed("01 FF 01 08 01 64 00 00 2A");

class Commands : public testing::Test
{
protected:
    std::string tell(const std::string &text)
    {
        return parseCommand(text, simulation.controller.stations()).carryOut(simulation, now);
    }
    std::string complaint(const std::string &text)
    {
        try {
            parseCommand(text, simulation.controller.stations());
        } catch (const BadText &bad) {
            return bad.what();
        }
        return "accepted";
    }
    /// The status without the counters.
    std::string status()
    {
        const std::string text = tell("status");
        return text.substr(0, text.find("\nrequests "));
    }
    Bytes ask(const Bytes &request)
    {
        conversation.receive(request, now);
        now += ReplyDelay;
        return conversation.takeDue(now);
    }

    Simulation simulation{Controller({1, 2, 3}, Memory(Motion({1, 2, 3}, {}, Values::Still, 1))),
                          FaultChooser({}, 1),
                          Log(Log::Level::Quiet, {}),
                          {}};
    Conversation conversation{simulation, LineTimes()};
    Time now{0};
};

} // namespace

TEST_F(Commands, SetAValue)
{
    EXPECT_EQ(tell("set 5:100=7"), "area 5 from 100, 1 word: 7");
    EXPECT_EQ(tell("get 5:100"), "5:100@1=7\n5:100@2=7\n5:100@3=7");
    EXPECT_EQ(ask(ReadOne), sealed("01 FE 01 08 01 00 07"));
    EXPECT_EQ(tell("set 5:100@2=-1"), "area 5 from 100, 1 word of station 2: 65535");
    EXPECT_EQ(tell("set 0:17@1=fixed:1"), "area 0 from 17, 1 bit of station 1: 1"); // clients cannot
    EXPECT_EQ(tell("get 0:16x2@1"), "0:16x2@1=0,1");
}

TEST_F(Commands, SetManyValues)
{
    EXPECT_EQ(tell("set 5:0x10@1=1,2,3"), "area 5 from 0, 10 words of station 1: 1,2,3");
    EXPECT_EQ(tell("get 5:0x11@1"), "5:0x11@1=1,2,3,1,2,3,1,2,3,1,0");
    EXPECT_EQ(tell("set 10:5@3=0xFFFFFFFF, -2"),
              "area 10 from 5, 2 double words of station 3: 4294967295,4294967294");
    EXPECT_EQ(tell("get 10:5x2@3"), "10:5x2@3=4294967295,4294967294");
    EXPECT_EQ(tell("set 5:0x3@1=9"), "area 5 from 0, 3 words of station 1: 9");
    EXPECT_EQ(tell("get 5:0x4@1"), "5:0x4@1=9,9,9,1");
}

TEST_F(Commands, AnAnswerOfGetCanBeSet)
{
    tell("set 5:0x4@1=1,2,3,4");
    const std::string answer = tell("get 5:0x4@1");
    tell("set 5:0x4@1=0");
    tell("set " + answer);
    EXPECT_EQ(tell("get 5:0x4@1"), answer);
}

TEST_F(Commands, SetACourseEvenWhereItWasWritten)
{
    ask(WriteOne);
    EXPECT_EQ(tell("set 5:100x2@1=ramp:5..500/5"), "area 5 from 100, 2 words of station 1: ramp 5..500 by 5");
    simulation.controller.tick();
    EXPECT_EQ(tell("get 5:100x2@1"), "5:100x2@1=10,10");
    ask(WriteOne);
    simulation.controller.tick();
    EXPECT_EQ(tell("get 5:100x2@1"), "5:100x2@1=42,15");
    EXPECT_EQ(tell("set 5:100@1=7"), "area 5 from 100, 1 word of station 1: 7");
    EXPECT_EQ(tell("get 5:100x2@1"), "5:100x2@1=7,15");
}

TEST_F(Commands, StationsOffAndOn)
{
    EXPECT_EQ(tell("station 1,3 off"), "stations 1,3 are off");
    EXPECT_EQ(ask(ReadOne), Bytes());
    EXPECT_EQ(status(), "stations 1-3\nstation 1,3 off");
    EXPECT_EQ(tell("station 1 on"), "station 1 is on");
    EXPECT_EQ(ask(ReadOne).size(), 9u);
    EXPECT_EQ(status(), "stations 1-3\nstation 3 off");
}

TEST_F(Commands, UnplugForAWhile)
{
    EXPECT_EQ(tell("unplug 10s"), "unplugged for 10s");
    EXPECT_EQ(ask(ReadOne), Bytes());
    now = 10s - 500ms;
    EXPECT_EQ(status(), "stations 1-3\nunplug 500ms");
    now = 10s;
    EXPECT_EQ(status(), "stations 1-3");
    EXPECT_EQ(ask(ReadOne).size(), 9u);
    EXPECT_EQ(tell("unplug 1.5 s"), "unplugged for 1500ms");
    EXPECT_EQ(tell("unplug 1m30s"), "unplugged for 90s");
    EXPECT_EQ(tell("unplug 1h 0.5ms"), "unplugged for 3600001ms"); // told rounded up
}

TEST_F(Commands, UnplugUntilPlug)
{
    EXPECT_EQ(tell("unplug"), "unplugged; 'plug' ends it");
    now += 10000h;
    EXPECT_EQ(ask(ReadOne), Bytes());
    EXPECT_EQ(status(), "stations 1-3\nunplug");
    EXPECT_EQ(tell("plug"), "plugged in");
    EXPECT_EQ(ask(ReadOne).size(), 9u);
}

TEST_F(Commands, MissingAndPresent)
{
    EXPECT_EQ(tell("missing 5:100x100 @1"), "missing: area 5 from 100, 100 words of station 1");
    EXPECT_EQ(ask(ReadOne), Bytes());
    tell("missing 1:17");
    tell("present 5:110x5");
    EXPECT_EQ(status(), "stations 1-3\nmissing 1:17\nmissing 5:100x10@1\nmissing 5:115x85@1");
    EXPECT_EQ(tell("present 5:100"), "present: area 5 from 100, 1 word");
    EXPECT_EQ(ask(ReadOne).size(), 9u);
}

TEST_F(Commands, RefuseAndAccept)
{
    EXPECT_EQ(tell("refuse 5:100x2"), "refuses writes: area 5 from 100, 2 words");
    EXPECT_EQ(ask(WriteOne), bytes("01 FF 21"));
    EXPECT_EQ(ask(ReadOne), sealed("01 FE 01 08 01 00 00"));
    EXPECT_EQ(status(), "stations 1-3\nrefuse 5:100x2");
    EXPECT_EQ(tell("accept 5:100x2@1"), "accepts writes: area 5 from 100, 2 words of station 1");
    EXPECT_EQ(ask(WriteOne), bytes("01 FF 20"));
    EXPECT_EQ(status(), "stations 1-3\nrefuse 5:100x2@2\nrefuse 5:100x2@3");
}

TEST_F(Commands, FaultsOfTheTable)
{
    EXPECT_EQ(tell("fault late, with the next request x2 @1"),
              "late, with the next request: the next 2 requests of station 1 that it can happen to");
    EXPECT_EQ(tell("fault  own echo   ahead @2 x1"),
              "own echo ahead: the next request of station 2 that it can happen to");
    EXPECT_EQ(status(), "stations 1-3\nfault late, with the next request x2 @1\nfault own echo ahead x1 @2");
    EXPECT_EQ(tell("fault none @1"), "the chosen faults of station 1 are cancelled");
    tell("fault doubled");
    EXPECT_EQ(ask(ReadOne).size(), 18u);
    EXPECT_EQ(status(), "stations 1-3\nfault own echo ahead x1 @2");
    EXPECT_EQ(tell("fault none"), "the chosen faults are cancelled");
    EXPECT_EQ(status(), "stations 1-3");
}

TEST_F(Commands, EveryFaultOfTheTableCanBeNamed)
{
    for (const LineFault &fault : lineFaults())
        EXPECT_EQ(complaint("fault " + fault.name + " x3 @1"), "accepted") << fault.name;
    EXPECT_NE(tell("help faults").find("\nown echo ahead\n"), std::string::npos);
}

/// What status tells makes another one so.
TEST_F(Commands, TheStatusIsMadeOfCommands)
{
    for (const char *command :
         {"station 2 off", "unplug 10s", "missing 5:2000x100", "refuse 5:10@3", "fault doubled x2 @1"})
        tell(command);
    const std::string told = status();
    for (const char *command : {"station 2 on", "plug", "present 5:2000x100", "accept 5:10", "fault none"})
        tell(command);
    EXPECT_EQ(status(), "stations 1-3");
    std::istringstream lines(told.substr(told.find('\n') + 1));
    for (std::string line; std::getline(lines, line);)
        tell(line);
    EXPECT_EQ(status(), told);
}

TEST_F(Commands, SayWhetherTheyChange)
{
    const auto changes = [&](const char *text) { return parseCommand(text, {1}).changes; };
    for (const char *text : {"set 5:1=1", "station 1 off", "unplug", "plug", "missing 5:1", "fault none"})
        EXPECT_TRUE(changes(text)) << text;
    for (const char *text : {"get 5:1", "status", "help"})
        EXPECT_FALSE(changes(text)) << text;
    EXPECT_EQ(parseCommand("  station\t1   off ", {1}).text, "station 1 off");
}

TEST_F(Commands, HelpNamesEveryOne)
{
    const std::string help = "\n" + tell("help");
    for (const char *name : {"set ", "get ", "station ", "unplug ", "plug ", "missing ", "present ", "refuse ",
                             "accept ", "fault ", "status ", "help "})
        EXPECT_NE(help.find(std::string("\n  ") + name), std::string::npos) << name;
}

struct Bad {
    const char *text, *complaint;
};
void PrintTo(const Bad &row, std::ostream *out)
{
    *out << row.text;
}

class BadCommand : public Commands, public testing::WithParamInterface<Bad>
{
};

TEST_P(BadCommand, IsRefusedWithTheReason)
{
    EXPECT_EQ(complaint(GetParam().text), GetParam().complaint);
}

INSTANTIATE_TEST_SUITE_P(
    All, BadCommand,
    testing::Values(
        Bad{"", "there is no command; 'help' lists them"}, Bad{"   ", "there is no command; 'help' lists them"},
        Bad{"frobnicate 5:1", "there is no command 'frobnicate'; 'help' lists them"},
        Bad{"status now", "'now' is too much; the command takes nothing"},
        Bad{"plug in", "'in' is too much; the command takes nothing"},
        Bad{"help me", "there is 'help' and 'help faults'"},
        Bad{"set", "'' gives no value; write for instance 5:100=fixed:42"},
        Bad{"set 5:100", "'5:100' gives no value; write for instance 5:100=fixed:42"},
        Bad{"set 5:100=", "value '' is not a whole number from -32768 to 65535"},
        Bad{"set 5:100=1,,2", "value '' is not a whole number from -32768 to 65535"},
        Bad{"set 5:100=65536", "value '65536' is not a whole number from -32768 to 65535"},
        Bad{"set 5:100x2=1,2,3", "3 values do not fit into 2 words"},
        Bad{"set 5:65534=1,2,3", "count '3' is not a whole number from 1 to 2"},
        Bad{"set 5:100@9=1", "station 9 is not simulated; --stations has 1-3"},
        Bad{"get", "'' names no address; write AREA:ADDRESS, for instance 5:100"},
        Bad{"get 5:0x5000", "more than 10000 values; ask for fewer, or for one station"},
        Bad{"missing 14:1", "area '14' is not a whole number from 0 to 13"},
        Bad{"missing 5:1@256", "station '256' is not a whole number from 1 to 255"},
        Bad{"refuse 1:8", "address '8' is not an octal number from 0 to 177777"},
        Bad{"station 3",
            "which station is to be on or off? Write for instance 'station 3 off', or 'station 1,5-9 on'"},
        Bad{"station 3-4 off", "station 4 is not simulated; --stations has 1-3"},
        Bad{"station off 3",
            "which station is to be on or off? Write for instance 'station 3 off', or 'station 1,5-9 on'"},
        Bad{"unplug 10", "'10' is no time from 1ms to 1000000s; write for instance 10s, 1m30s or 500ms"},
        Bad{"unplug 0s", "'0s' is no time from 1ms to 1000000s; write for instance 10s, 1m30s or 500ms"},
        Bad{"unplug nans", "'nans' is no time from 1ms to 1000000s; write for instance 10s, 1m30s or 500ms"},
        Bad{"unplug 30s1m", "'30s1m' is no time from 1ms to 1000000s; write for instance 10s, 1m30s or 500ms"},
        Bad{"unplug 1m-1s", "'1m-1s' is no time from 1ms to 1000000s; write for instance 10s, 1m30s or 500ms"},
        Bad{"unplug 1m30", "'1m30' is no time from 1ms to 1000000s; write for instance 10s, 1m30s or 500ms"},
        Bad{"fault", "which fault? 'help faults' lists them"},
        Bad{"fault x3", "which fault? 'help faults' lists them"},
        Bad{"fault nothing", "there is no fault 'nothing'; 'help faults' lists them"},
        Bad{"fault echo twice",
            "there is no fault 'echo twice'; there is 'own echo twice ahead'; 'help faults' lists them"},
        Bad{"fault doubled x0", "how often '0' is not a whole number from 1 to 2147483647"},
        Bad{"fault doubled @4", "station 4 is not simulated; --stations has 1-3"},
        Bad{"fault doubled @1-3", "station '1-3' is not a whole number from 1 to 255"},
        Bad{"set 5:1=1\x1b[2J", "there are control characters in the command; write it as text in one line"}));

TEST(StationTexts, AreShort)
{
    EXPECT_EQ(stationsText({7}), "7");
    EXPECT_EQ(stationsText({1, 2, 4, 5, 6, 200}), "1,2,4-6,200");
    EXPECT_EQ(stationsText(parseStations("1-255")), "1-255");
}
