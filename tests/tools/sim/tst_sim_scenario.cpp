// Scenarios in virtual time, and what is wrong with their files.
#include "formats/toml_file.h"
#include "sim/sim_frames.h"
#include "support/temporary_folder.h"
#include "tools/fgs-sim/scenario_file.h"

#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <map>
#include <numeric>
#include <set>

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
    Night night(parse(step("time = 0\ndo = [\"refuse 5:1\", \"fault bit of a count\", \"set 5:1=7\"]")), 1,
                RemoteFraming);
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

// ---- formulas

namespace
{

/// Of one formula, every second.
ScenarioFile formula(const std::string &text, const std::string &place = "10:1")
{
    return parse("[[values]]\nplace = \"" + place + "\"\nevery = \"1s\"\nvalue = \"" + text + "\"\n");
}

/// What the place holds then.
std::int64_t heldAt(Night &night, Time time, const std::string &place = "10:1")
{
    night.until(time);
    const std::string held = night.tell("get " + place + "@1");
    return std::int32_t(std::stoll(held.substr(held.find('=') + 1)));
}

const double Turn = 2 * std::acos(-1.);

struct Computed {
    const char *formula;
    double (*value)(double t);
};

const Computed Formulas[] = {
    {"20000 + 5000 * sin(2 * pi * t / 60)", [](double t) { return 20000 + 5000 * std::sin(Turn * t / 60); }},
    {"1000 * cos(t) - 1000 * tan(t / 7)", [](double t) { return 1000 * std::cos(t) - 1000 * std::tan(t / 7); }},
    {"sqrt(t) * 100 + abs(t - 10) * 3", [](double t) { return std::sqrt(t) * 100 + std::fabs(t - 10) * 3; }},
    {"min(t, 30) * max(3, t / 10)", [](double t) { return std::fmin(t, 30) * std::fmax(3, t / 10); }},
    {"floor(t / 7) * 100 + round(t / 7)", [](double t) { return std::floor(t / 7) * 100 + std::round(t / 7); }},
    {"-(t ^ 2) + 2 * (t + 1)", [](double t) { return -t * t + 2 * t + 2; }},
    {"1000 * (t % 8)", [](double t) { return 1000 * std::fmod(t, 8); }},
    {"500 * step(t - 10) + 7", [](double t) { return t < 10 ? 7. : 507.; }},
    {"100 * square(t / 10)", [](double t) { return std::fmod(t, 10) < 5 ? 100. : 0.; }},
    {"100 * saw(t / 10)", [](double t) { return 10 * std::fmod(t, 10); }},
    {"100 * triangle(t / 10)", [](double t) { return 100 - std::fabs(20 * std::fmod(t, 10) - 100); }},
    {"t < 20 ? 1 : 2", [](double t) { return t < 20 ? 1. : 2.; }},
};

} // namespace

TEST(ScenarioFormulas, GiveWhatTheySay)
{
    for (const Computed &each : Formulas) {
        Night night(formula(each.formula));
        for (int t = 0; t <= 75; ++t)
            EXPECT_NEAR(double(heldAt(night, std::chrono::seconds(t))), each.value(t), 0.501)
                << each.formula << " at " << t;
    }
}

TEST(ScenarioFormulas, ArePutWhereTheyBelong)
{
    Night night(parse("stations = \"1,2\"\n[[values]]\nplace = [\"5:1x2@2\", \"1:17\"]\nevery = 0.5\n"
                      "value = [\"10 * t\", \"t >= 1\"]\n"));
    night.until(1500ms);
    EXPECT_EQ(night.tell("get 5:1x2"), "5:1x2@1=0,0\n5:1x2@2=15,15");
    EXPECT_EQ(night.tell("get 1:17@1"), "1:17@1=1");
    EXPECT_EQ(night.log(), "scenario: 5:1x2@2=0 1:17=0\nscenario: 5:1x2@2=5 1:17=0\n"
                           "scenario: 5:1x2@2=10 1:17=1\nscenario: 5:1x2@2=15 1:17=1\n");
}

TEST(ScenarioFormulas, StayInTheRangeOfTheirPlace)
{
    Night high(formula("t * 1e9", "5:1")), low(formula("-t * 1e9", "5:1")), bit(formula("t - 0.6", "1:17"));
    EXPECT_EQ(heldAt(high, 1s, "5:1"), 65535);
    EXPECT_EQ(heldAt(low, 1s, "5:1"), 32768);
    EXPECT_EQ(heldAt(bit, 0s, "1:17"), 0);
    EXPECT_EQ(heldAt(bit, 2s, "1:17"), 1);
    Night infinite(formula("1 / (t - 2)", "5:1"));
    EXPECT_EQ(heldAt(infinite, 2s, "5:1"), 65535);
}

TEST(ScenarioFormulas, LeaveWhatTheyHaveNoValueFor)
{
    Night night(formula("sqrt(2 - t)", "5:1"));
    EXPECT_EQ(heldAt(night, 0s, "5:1"), 1);
    EXPECT_EQ(heldAt(night, 2s, "5:1"), 0);
    night.tell("set 5:1=77");
    night.log();
    EXPECT_EQ(heldAt(night, 3s, "5:1"), 77);
    EXPECT_EQ(night.log(), "scenario: 5:1 has no value\n");
}

TEST(ScenarioFormulas, BeginAnewWithTheScenario)
{
    Night night(parse("repeat = \"10s\"\n[[values]]\nplace = \"5:1\"\nevery = \"1s\"\nvalue = \"t\"\n"));
    EXPECT_EQ(heldAt(night, 9s, "5:1"), 9);
    EXPECT_EQ(heldAt(night, 10s, "5:1"), 0);
    EXPECT_EQ(heldAt(night, 13s, "5:1"), 3);
}

TEST(ScenarioFormulas, AreRandomWithinBoundsAndByTheSeed)
{
    const auto course = [](const std::string &text, std::uint64_t seed) {
        const std::string table = "[[values]]\nplace = \"10:1\"\nevery = \"1s\"\nvalue = \"" + text + "\"\n";
        Night night(parseScenario("f", table, {}, {}, seed));
        std::vector<std::int64_t> values;
        for (int t = 0; t < 1000; ++t)
            values.push_back(heldAt(night, std::chrono::seconds(t)));
        return values;
    };
    const std::vector<std::int64_t> noise = course("1000 + noise(300)", 7);
    EXPECT_EQ(course("1000 + noise(300)", 7), noise);
    EXPECT_NE(course("1000 + noise(300)", 8), noise);
    const auto [least, most] = std::minmax_element(noise.begin(), noise.end());
    EXPECT_TRUE(*least >= 700 && *least < 720) << *least;
    EXPECT_TRUE(*most <= 1300 && *most > 1280) << *most;
    EXPECT_NEAR(double(std::accumulate(noise.begin(), noise.end(), std::int64_t(0))) / 1000, 1000, 30);
    std::set<std::int64_t> differences;
    for (std::int64_t difference : course("1000000 * (random() - random())", 7))
        differences.insert(difference);
    EXPECT_GT(differences.size(), 900u) << "each call has a number of its own";
}

TEST(ScenarioFormulas, SayWhatIsWrongAndWhere)
{
    const auto complaint = [](const std::string &text) {
        return complaints("[[values]]\nplace = \"5:1\"\nevery = 1\nvalue = \"" + text + "\"\n");
    };
    EXPECT_EQ(complaint("20 + sni(t)"),
              "folder/night.toml:4:15: formulas do not know 'sni'; there are t, pi, sin, cos, tan, sqrt, abs, min, "
              "max, floor, round, noise, random, step, square, saw and triangle");
    for (const char *bad : {"", "20 +", "(t", "t)", "sin()", "min(", "2 t", "t, t", "5:100", "1 = 2", "\\\"a\\\"",
                            "noise()", "random(1)", "sin(1, 2)"}) {
        const std::string told = complaint(bad);
        EXPECT_EQ(told.rfind("folder/night.toml:4:", 0), 0u) << bad << ": " << told;
        EXPECT_NE(told.find("; write for instance 20 + 5 * sin(2 * pi * t / 60)"), std::string::npos)
            << bad << ": " << told;
    }
    EXPECT_EQ(complaint("2 * t) + 1"), "folder/night.toml:4:15: unexpected parenthesis \")\"; write for instance "
                                       "20 + 5 * sin(2 * pi * t / 60)");
    EXPECT_EQ(complaint("$").find("folder/night.toml:4:10: formulas do not know '$'; there are "), 0u)
        << complaint("$");
    EXPECT_EQ(complaint(std::string(1001, '1')),
              "folder/night.toml:4:10: the formula is longer than 1000 characters; shorten it");
    EXPECT_EQ(
        complaints("[[values]]\nplace = [\"5:1\", \"5:2\"]\nevery = 1\nvalue = \"t\"\n"),
        "folder/night.toml:1:1: the number of formulas is 1, that of places 2; write a formula for each place");
    EXPECT_EQ(complaints("[[values]]\nplace = \"5:1\"\nevery = 1\nvalue = \"t\"\nfile = \"a\"\n"),
              "folder/night.toml:5:8: 'file' and 'value' exclude each other; leave one of them out");
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
