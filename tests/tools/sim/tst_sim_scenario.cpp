// Scenarios in virtual time, and what is wrong with their files.
#include "formats/toml_file.h"
#include "sim/sim_frames.h"
#include "support/temporary_folder.h"
#include "tools/fgs-sim/scenario_file.h"

#include <gtest/gtest.h>

#include <fstream>
#include <map>

using namespace fgssim;
using namespace std::chrono_literals;

namespace
{

using Files = std::map<std::string, std::string>;

ScenarioFile parse(const std::string &text, const Files &files = {},
                   const std::optional<std::vector<unsigned>> &stations = {})
{
    const auto read = [&](const std::string &path) {
        const auto found = files.find(path);
        if (found == files.end())
            throw BadText("'" + path + "' cannot be read: it is not there");
        return found->second;
    };
    return parseScenario("folder/night.toml", text, read, stations);
}

std::string complaints(const std::string &text, const Files &files = {})
{
    try {
        parse(text, files);
    } catch (const formats::TomlError &error) {
        return error.what();
    }
    return "accepted";
}

Bytes question(Byte station, Byte address)
{
    return frames::sealed(Bytes{station, 0xFE, 1, 8, 1, address, 0}); // one word of area 5
}

/// A controller that follows a scenario, and the log that it writes.
class Night
{
public:
    explicit Night(const ScenarioFile &file, std::uint64_t seed = 1, const Framing &frames = ControllerFraming)
        : simulation{Controller(file.stations, Memory(Motion(file.stations, {}, Values::Still, seed)), frames),
                     FaultChooser({5, 0, 5, 5, 5, 5}, seed),
                     Log(Log::Level::Normal, [this](const std::string &line) { lines += line + "\n"; }),
                     {},
                     {},
                     {},
                     Strikes(seed)},
          run(file.scenario, start)
    {
    }

    /// Carries out everything up to then when it is due, and looks at nothing in between.
    void until(Time end)
    {
        for (std::optional<Time> next; (next = run.nextEvent()) && *next <= start + end;)
            run.advance(simulation, *next);
    }
    std::string tell(const std::string &command)
    {
        return parseCommand(command, simulation.controller.stations()).carryOut(simulation, start);
    }
    /// What was logged since the last call.
    std::string log() { return std::exchange(lines, {}); }

    const Time start = 1000h;
    std::string lines;
    Simulation simulation;
    ScenarioRun run;
};

std::string step(const std::string &rest)
{
    return "[[at]]\n" + rest + "\n";
}

} // namespace

TEST(Scenario, CarriesOutWhatIsDue)
{
    Night night(parse(step("time = 1.5\ndo = \"set 5:1=7\"") + step("time = \"0s\"\ndo = \"set 5:1=3\"")));
    EXPECT_EQ(night.run.nextEvent(), night.start);
    night.run.advance(night.simulation, night.start);
    EXPECT_EQ(night.tell("get 5:1"), "5:1@1=3");
    EXPECT_EQ(night.run.nextEvent(), night.start + 1500ms);
    night.run.advance(night.simulation, night.start + 1500ms - 1ns);
    EXPECT_EQ(night.tell("get 5:1"), "5:1@1=3");
    night.run.advance(night.simulation, night.start + 1500ms);
    EXPECT_EQ(night.tell("get 5:1"), "5:1@1=7");
    EXPECT_EQ(night.run.nextEvent(), std::nullopt);
    EXPECT_EQ(night.log(), "scenario: set 5:1=3\nscenario: set 5:1=7\nscenario: all is done\n");
}

TEST(Scenario, MakesUpForWhatIsOverdueInItsOrder)
{
    Night night(parse(step("time = \"1s\"\nevery = \"2s\"\ntimes = 3\ndo = \"set 5:1=7\"") +
                      step("time = \"3s\"\ndo = [\"set 5:1=8\", \"set 5:2=9\"]")));
    night.run.advance(night.simulation, night.start + 1h);
    EXPECT_EQ(night.log(), "scenario: set 5:1=7\nscenario: set 5:1=7\nscenario: set 5:1=8\nscenario: set 5:2=9\n"
                           "scenario: set 5:1=7\nscenario: all is done\n");
}

TEST(Scenario, RepeatsAStepAsOftenAsItSays)
{
    Night night(parse(step("time = \"1s\"\nevery = \"500ms\"\ndo = \"set 5:1=7\"")));
    night.until(999ms);
    EXPECT_EQ(night.log(), "");
    night.until(2s);
    EXPECT_EQ(night.log(), "scenario: set 5:1=7\nscenario: set 5:1=7\nscenario: set 5:1=7\n");
    EXPECT_EQ(night.run.nextEvent(), night.start + 2500ms);
}

TEST(Scenario, BeginsAnewAfterItsPeriod)
{
    Night night(parse("repeat = \"10s\"\n" + step("time = \"4s\"\nevery = \"4s\"\ntimes = 9\ndo = \"plug\"") +
                      step("time = \"9s\"\ndo = \"set 5:1=7\"")));
    const std::string round = "scenario: plug\nscenario: plug\nscenario: set 5:1=7\n";
    night.until(10s);
    EXPECT_EQ(night.log(), round);
    EXPECT_EQ(night.run.nextEvent(), night.start + 14s);
    night.until(20s);
    EXPECT_EQ(night.log(), round);
    night.until(1h);
    EXPECT_EQ(night.run.nextEvent(), night.start + 1h + 4s);
}

TEST(Scenario, LogsWhatACommandTells)
{
    Night night(parse("stations = \"1,2\"\n" + step("time = 0\ndo = \"get  5:1\"")));
    night.until(0s);
    EXPECT_EQ(night.log(), "scenario: get 5:1: 5:1@1=0\nscenario: get 5:1: 5:1@2=0\nscenario: all is done\n");
}

TEST(Scenario, GoesOnBehindACommandThatTheLineCannotHave)
{
    Night night(parse(step("time = 0\ndo = [\"fault doubled\", \"set 5:1=7\"]")), 1, RemoteFraming);
    night.until(0s);
    EXPECT_EQ(night.log(),
              "scenario: refuse 5:1 is refused: remote frames have no refusal; 'missing' makes addresses "
              "silent, 'fault' damages replies\n"
              "scenario: fault bit of a count is refused: no reply of such frames can have the fault 'bit "
              "of a count'; choose one that damages other bytes\n"
              "scenario: set 5:1=7\nscenario: all is done\n");
}

TEST(Scenario, TakesValuesFromACsv)
{
    const std::string table = "[[values]]\nfile = \"v.csv\"\nplace = [\"5:100x2\", \"10:7@2\"]\nevery = \"1s\"\n";
    const Files files = {
        {"folder/v.csv", "\xEF\xBB\xBFspeed,count\r\n1,0x10\r\n# later\r\n\r\n -2 , 3000000000\r\n"}};
    Night night(parse("stations = \"1,2\"\n" + table, files));
    night.until(0s);
    EXPECT_EQ(night.tell("get 5:100x2@1"), "5:100x2@1=1,1");
    EXPECT_EQ(night.tell("get 10:7"), "10:7@1=0\n10:7@2=16");
    night.until(1s);
    EXPECT_EQ(night.tell("get 5:100x2@2"), "5:100x2@2=65534,65534");
    EXPECT_EQ(night.tell("get 10:7@2"), "10:7@2=3000000000");
    EXPECT_EQ(night.run.nextEvent(), std::nullopt); // the last row stays
    EXPECT_EQ(night.log(), "scenario: 5:100x2=1 10:7@2=16\nscenario: 5:100x2=65534 10:7@2=3000000000\n"
                           "scenario: all is done\n");

    Night looping(parse("stations = \"1,2\"\n" + table + "loop = true\n", files));
    looping.until(100s);
    EXPECT_EQ(looping.tell("get 10:7@2"), "10:7@2=16");
    looping.until(101s);
    EXPECT_EQ(looping.tell("get 10:7@2"), "10:7@2=3000000000");
}

TEST(Scenario, GivenStationsCountMoreThanThoseOfTheFile)
{
    const std::string text = "seed = 9\nstations = \"1-3\"\n" + step("time = 0\ndo = \"plug\"");
    EXPECT_EQ(parse(text).stations, (std::vector<unsigned>{1, 2, 3}));
    EXPECT_EQ(parse(text).seed, 9u);
    EXPECT_EQ(parse(text, {}, std::vector<unsigned>{7}).stations, std::vector<unsigned>{7});
    const ScenarioFile plain = parse(step("time = 0\ndo = \"plug\""));
    EXPECT_EQ(plain.stations, std::vector<unsigned>{1});
    EXPECT_FALSE(plain.seed);
}

// ---- reproducible

namespace
{

/// What a client that asks every 100 ms for four minutes sees.
std::string courseOf(const ScenarioFile &file, std::uint64_t seed)
{
    Night night(file, seed);
    Conversation conversation(night.simulation, LineTimes());
    std::string course;
    Byte station = 1;
    for (Time time = 0s; time < 4min; time += 100ms, station = Byte(station % 3 + 1)) {
        const Time now = night.start + time;
        night.run.advance(night.simulation, now);
        conversation.advance(now);
        conversation.receive(question(station, 110), now);
        course += std::to_string(time / 1ms) + " " + hex(conversation.takeDue(now + 99ms)) + "\n";
    }
    return course + night.log();
}

ScenarioFile badNight()
{
    return readScenario(TARN_SOURCE_DIR "/docs/bad-night.toml", {});
}

} // namespace

TEST(Scenario, TheSameSeedGivesTheSameCourse)
{
    const std::string course = courseOf(badNight(), 7);
    EXPECT_EQ(courseOf(badNight(), 7), course);
    EXPECT_NE(courseOf(badNight(), 8), course);
}

// ---- the example

class BadNight : public testing::Test
{
protected:
    /// Whether there is any answer at this time of the night.
    bool isAnswered(Time time, Byte station, Byte address)
    {
        night.until(time);
        conversation.receive(question(station, address), night.start + time);
        return !conversation.takeDue(night.start + time + 99ms).empty();
    }
    std::string valueAt(Time time, const std::string &place)
    {
        night.until(time);
        return night.tell("get " + place);
    }

    const ScenarioFile file = badNight();
    Night night{file};
    Conversation conversation{night.simulation, LineTimes()};

    BadNight() { night.simulation.faults = FaultChooser({}, 1); }
};

TEST_F(BadNight, HappensAsItsCommentsSay)
{
    EXPECT_EQ(file.seed, 7u);
    EXPECT_TRUE(isAnswered(9s, 3, 100));
    EXPECT_FALSE(isAnswered(10s, 3, 100));
    EXPECT_TRUE(isAnswered(24s, 1, 100));
    EXPECT_TRUE(isAnswered(25s, 3, 100));
    EXPECT_FALSE(isAnswered(30s, 1, 115));
    EXPECT_TRUE(isAnswered(31s, 2, 115));
    EXPECT_TRUE(isAnswered(45s, 1, 115));
    night.until(69s);
    EXPECT_EQ(night.simulation.strikes.orders().size(), 2u);
    EXPECT_EQ(night.simulation.strikes.orders()[0].count, 6); // three times two
    night.simulation.strikes.cancel({});
    EXPECT_FALSE(isAnswered(70s, 2, 100));
    EXPECT_FALSE(isAnswered(74s, 2, 100));
    EXPECT_TRUE(isAnswered(75s, 2, 100));
    EXPECT_FALSE(isAnswered(130s, 3, 100)); // the next round
}

TEST_F(BadNight, TheTemperatureComesFromTheCsv)
{
    EXPECT_EQ(valueAt(0s, "5:100@1"), "5:100@1=215");
    EXPECT_EQ(valueAt(2s, "1:17@1"), "1:17@1=0");
    EXPECT_EQ(valueAt(3s, "5:100@1"), "5:100@1=251");
    EXPECT_EQ(valueAt(3s, "1:17@1"), "1:17@1=1");
    EXPECT_EQ(valueAt(6s, "5:100@1"), "5:100@1=215");
    EXPECT_EQ(valueAt(122s, "5:100@1"), "5:100@1=236");
}

// ---- what is wrong

TEST(ScenarioFaults, AreToldAllAtOnceWithTheirPlaces)
{
    const std::string text = "seed = -1\n"
                             "station = \"1-3\"\n"
                             "repeat = \"soon\"\n"
                             "[[at]]\n"
                             "time = 10000000\n"
                             "do = [\"staton 3 off\", \"set 5:100@9=1\"]\n"
                             "[[at]]\n"
                             "time = \"10s\"\n"
                             "times = 3\n"
                             "[[values]]\n"
                             "file = \"v.csv\"\n"
                             "place = \"5:x\"\n"
                             "loop = 1\n"
                             "every = \"0s\"\n";
    EXPECT_EQ(complaints(text),
              "folder/night.toml:1:8: 'seed' is no whole number from 0 to 2147483647; write seed = 0, say\n"
              "folder/night.toml:2:1: unknown key 'station'; did you mean 'stations'?\n"
              "folder/night.toml:3:10: 'soon' is no time from 1ms to 1000000s; write for instance 10s, 1m30s or "
              "500ms\n"
              "folder/night.toml:5:8: '1e+07s' is no time from 0s to 1000000s; write for instance 10s, 1m30s or "
              "500ms\n"
              "folder/night.toml:6:7: there is no command 'staton'; 'help' lists them\n"
              "folder/night.toml:6:23: station 9 is not simulated; --stations has 1\n"
              "folder/night.toml:7:1: 'do' is missing; add a line like do = \"station 3 off\"\n"
              "folder/night.toml:9:9: 'times' is nothing without 'every'; add a line like every = \"5s\"\n"
              "folder/night.toml:12:9: address '' is not a decimal number from 0 to 65535; "
              "write for instance 5:100 or 5:100x10@2\n"
              "folder/night.toml:13:8: 'loop' is neither true nor false; write loop = true, without quotes\n"
              "folder/night.toml:14:9: '0s' is no time from 1ms to 1000000s; write for instance 10s, 1m30s or "
              "500ms");
}

TEST(ScenarioFaults, OfACsvNameRowAndColumn)
{
    const std::string text = "[[values]]\nfile = \"v.csv\"\nplace = [\"5:1\", \"1:2\"]\nevery = 1\n";
    const std::string place = "folder/night.toml:2:8: ";
    EXPECT_EQ(complaints(text, {{"folder/v.csv", "a,b\n1,0\n70000,2\n\n1\nramp:1..2,\n"}}),
              place +
                  "v.csv: row 3, column 1: value '70000' is not a whole number from -32768 to 65535; "
                  "write one, like 42, -5 or 0x2A\n" +
                  place +
                  "v.csv: row 3, column 2: value '2' is not a whole number from 0 to 1; "
                  "write one, like 42, -5 or 0x2A\n" +
                  place +
                  "v.csv: row 5 has 1 value; there must be 2, one for each place, with commas between them\n" +
                  place +
                  "v.csv: row 6, column 1: 'ramp:1..2' is no whole number; "
                  "write one, like 42, -5 or 0x2A\n" +
                  place +
                  "v.csv: row 6, column 2: value '' is not a whole number from 0 to 1; "
                  "write one, like 42, -5 or 0x2A");
    EXPECT_EQ(complaints(text, {{"folder/v.csv", "a,b\n"}}),
              place + "v.csv: there is no row of values; write one a line, with commas between the values");
    EXPECT_EQ(complaints(text), place + "'folder/v.csv' cannot be read: it is not there; "
                                        "name a file, relative to the folder of the scenario");
    std::string bad;
    for (int row = 0; row < 30; ++row)
        bad += "x,0\n1,\x1b\n";
    const std::string many = complaints(text, {{"folder/v.csv", bad}});
    EXPECT_EQ(std::count(many.begin(), many.end(), '\n'), 10);
    EXPECT_NE(many.find("more errors like these in this file; mend the first ones"), std::string::npos);
    EXPECT_EQ(many.find('\x1b'), std::string::npos);
}

struct Bad {
    const char *text, *complaint;
};
void PrintTo(const Bad &row, std::ostream *out)
{
    *out << row.text;
}

class BadScenario : public testing::TestWithParam<Bad>
{
};

TEST_P(BadScenario, IsRefusedWithPlaceAndRemedy)
{
    EXPECT_EQ(complaints(GetParam().text), std::string("folder/night.toml:") + GetParam().complaint);
}

INSTANTIATE_TEST_SUITE_P(
    All, BadScenario,
    testing::Values(
        Bad{"", "1:1: nothing happens in this scenario; add a step: [[at]], time = \"10s\", do = \"unplug 5s\""},
        Bad{"[[at]]\ndo = \"plug\"\n", "1:1: 'time' is missing; add a line like time = \"10s\""},
        Bad{"[[at]]\ntime = 1\ndo = []\n", "3:6: 'do' is neither a text nor a list of texts; "
                                           "write do = \"...\" or do = [\"...\", \"...\"]"},
        Bad{"[[at]]\ntime = 1\ndo = \"plug\"\nevry = 1\n", "4:1: unknown key 'evry'; did you mean 'every'?"},
        Bad{"stations = \"1-x\"\n[[at]]\ntime = 1\ndo = \"station 3 off\"\n",
            "1:12: station 'x' is not a whole number from 1 to 255; write for instance stations = \"1,2,5-9\""},
        Bad{"repeat = 10\n[[at]]\ntime = \"10s\"\ndo = \"plug\"\n",
            "2:1: the scenario begins anew before this time comes; choose an earlier time, or a longer repeat"},
        Bad{"[[at]]\ntime = -1\ndo = \"plug\"\n",
            "2:8: '-1s' is no time from 0s to 1000000s; write for instance 10s, 1m30s or 500ms"},
        Bad{"[[at]]\ntime = 1\nevery = true\ndo = \"plug\"\n",
            "3:9: 'every' is no text; put it in quotes: every = \"...\""},
        Bad{"[[at]]\ntime = 1\nevery = 1\ntimes = 0\ndo = \"plug\"\n",
            "4:9: 'times' is no whole number from 1 to 2147483647; write times = 1, say"},
        Bad{"at = 1\n", "1:6: 'at' is no list of tables; begin each with [[at]]"}));

TEST(ScenarioFiles, AreReadFromTheirOwnFolder)
{
    const TemporaryFolder folder;
    std::ofstream(folder.path / "s.toml") << "[[values]]\nfile = \"v.csv\"\nplace = \"5:1\"\nevery = 1\n";
    EXPECT_THROW(readScenario(folder.path / "s.toml", {}), formats::TomlError);
    std::ofstream(folder.path / "v.csv") << "42\n";
    Night night(readScenario(folder.path / "s.toml", {}));
    night.until(0s);
    EXPECT_EQ(night.tell("get 5:1"), "5:1@1=42");
    EXPECT_THROW(readScenario(folder.path / "nothing", {}), BadText);
    EXPECT_THROW(readScenario(folder.path, {}), BadText);
}
