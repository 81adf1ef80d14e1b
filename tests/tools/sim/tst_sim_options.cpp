#include "tools/fgs-sim/options.h"

#include <gtest/gtest.h>
#include <iterator>
#include <sstream>

using namespace fgssim;

namespace
{

Options parse(const std::string &line)
{
    std::istringstream stream("fgs-sim " + line);
    const std::vector<std::string> words{std::istream_iterator<std::string>(stream), {}};
    std::vector<const char *> arguments;
    for (const std::string &word : words)
        arguments.push_back(word.c_str());
    return parseArguments(int(arguments.size()), arguments.data());
}

Finished finish(const std::string &line)
{
    try {
        parse(line);
    } catch (const Finished &finished) {
        return finished;
    }
    return {-1, "accepted"};
}

} // namespace

TEST(Options, Defaults)
{
    const Options options = parse("");
    ASSERT_TRUE(std::holds_alternative<PtyAddress>(options.link));
    EXPECT_EQ(std::get<PtyAddress>(options.link).link, "");
    EXPECT_EQ(options.stations, std::vector<unsigned>{1});
    EXPECT_EQ(options.values, Values::Moving);
    EXPECT_EQ(options.log, Log::Level::Normal);
    EXPECT_EQ(options.times.byteTime.count(), 0);
    EXPECT_EQ(options.duration.count(), 0);
    EXPECT_EQ(options.faults, FaultRates{});
}

TEST(Options, Links)
{
    EXPECT_EQ(std::get<PtyAddress>(parse("--pty").link).link, "");
    EXPECT_EQ(std::get<PtyAddress>(parse("--pty=/tmp/plc").link).link, "/tmp/plc");
    const TcpAddress tcp = std::get<TcpAddress>(parse("--tcp 5020").link);
    EXPECT_EQ(tcp.host, "127.0.0.1");
    EXPECT_EQ(tcp.port, 5020u);
    EXPECT_EQ(std::get<SerialAddress>(parse("--serial /dev/ttyS0").link).device, "/dev/ttyS0");
}

TEST(Options, Everything)
{
    const Options options = parse("--stations 7,1-3,2 --set 5:100=fixed:1 --set 1:17x8@7=ramp:0..1 "
                                  "--values pattern --tick 50 --seed 9 --faults 1.5 --fault crc=10 --fault=late=0 "
                                  "--late-by 800 --delay 3 --pace 9600,8N1 --for 2.5 --log all");
    EXPECT_EQ(options.stations, (std::vector<unsigned>{1, 2, 3, 7}));
    ASSERT_EQ(options.ranges.size(), 2u);
    EXPECT_EQ(options.ranges[1].first, 15u);
    EXPECT_EQ(options.ranges[1].count, 8u);
    EXPECT_EQ(options.ranges[1].station, 7u);
    EXPECT_EQ(options.values, Values::Pattern);
    EXPECT_EQ(options.tick, std::chrono::milliseconds(50));
    EXPECT_EQ(options.seed, 9u);
    EXPECT_EQ(options.faults, (FaultRates{1.5, 0, 10, 1.5, 1.5, 1.5}));
    EXPECT_EQ(options.times.lateBy, std::chrono::milliseconds(800));
    EXPECT_EQ(options.times.delay, std::chrono::milliseconds(3));
    EXPECT_EQ(options.times.byteTime.count(), 1041666);
    EXPECT_EQ(options.duration, std::chrono::milliseconds(2500));
    EXPECT_EQ(options.log, Log::Level::All);
}

TEST(Options, AScenarioBringsItsStationsAndItsSeed)
{
    const std::string example = "--scenario " TARN_SOURCE_DIR "/docs/bad-night.toml";
    const Options options = parse(example + " --missing 5:7@2 --set 5:1@3=1");
    ASSERT_TRUE(options.scenario);
    EXPECT_EQ(options.scenario->period, std::chrono::minutes(2));
    EXPECT_EQ(options.stations, (std::vector<unsigned>{1, 2, 3}));
    EXPECT_EQ(options.seed, 7u);
    const Options others = parse("--seed 9 --stations 1-4 " + example);
    EXPECT_EQ(others.stations, (std::vector<unsigned>{1, 2, 3, 4}));
    EXPECT_EQ(others.seed, 9u);
    EXPECT_FALSE(parse("").scenario);
}

TEST(Options, WhatIsWrongInAScenarioIsToldWithItsPlace)
{
    const std::string file = TARN_SOURCE_DIR "/docs/bad-night.toml";
    const Finished finished = finish("--stations 1,2 --scenario " + file);
    EXPECT_EQ(finished.code, ExitUsage);
    EXPECT_EQ(finished.text, file + ":8:6: station 3 is not simulated; --stations has 1,2\n" + file +
                                 ":11:6: station 3 is not simulated; --stations has 1,2\n");
}

TEST(Options, HelpStartsWithExamplesAndNamesEveryOption)
{
    const Finished help = finish("--help");
    EXPECT_EQ(help.code, 0);
    EXPECT_EQ(help.text.rfind("Examples:", 0), 0u);
    for (const char *option :
         {"--pty", "--serial", "--tcp", "--stations", "--set", "--values", "--tick", "--seed", "--fault ",
          "--faults", "--late-by", "--delay", "--pace", "--for", "--log", "--scenario", "--version"})
        EXPECT_NE(help.text.find(option), std::string::npos) << option;
}

TEST(Options, HelpNamesTheLimitsAndTheTrapOfHexadecimal)
{
    const std::string help = finish("--help").text;
    for (const char *text : {"at most 8 connections at a time", "5:0x64 is 64 words from address 0",
                             "20 are written, then one a second", "tcp:HOST:PORT"})
        EXPECT_NE(help.find(text), std::string::npos) << text;
}

struct Wrong {
    const char *arguments;
    const char *complaint;
};
void PrintTo(const Wrong &row, std::ostream *out)
{
    *out << row.arguments;
}

class UsageError : public testing::TestWithParam<Wrong>
{
};

TEST_P(UsageError, NamesTheArgumentAndTheRemedy)
{
    const Finished finished = finish(GetParam().arguments);
    EXPECT_EQ(finished.code, ExitUsage);
    EXPECT_EQ(finished.text.substr(0, finished.text.find('\n')), std::string("fgs-sim: ") + GetParam().complaint);
}

INSTANTIATE_TEST_SUITE_P(
    Arguments, UsageError,
    testing::Values(
        Wrong{"--foo", "The following argument was not expected: --foo"},
        Wrong{"extra", "The following argument was not expected: extra"},
        Wrong{"--pty --tcp 1", "--pty excludes --tcp"},
        Wrong{"--serial /dev/ttyS0 --tcp 1", "--serial excludes --tcp"},
        Wrong{"--stations 0", "--stations: station '0' is not a whole number from 1 to 255"},
        Wrong{"--stations 1,256", "--stations: station '256' is not a whole number from 1 to 255"},
        Wrong{"--stations 1,,2", "--stations: station '' is not a whole number from 1 to 255"},
        Wrong{"--stations 5-2", "--stations: stations '5-2' run backwards; write the smaller one first"},
        Wrong{"--set 5:1", "--set: '5:1' gives no value; write for instance 5:100=fixed:42"},
        Wrong{"--set 5=fixed:1", "--set: '5' names no address; write AREA:ADDRESS, for instance 5:100"},
        Wrong{"--set 14:1=fixed:1", "--set: area '14' is not a whole number from 0 to 13"},
        Wrong{"--set 1:18=fixed:1", "--set: address '18' is not an octal number from 0 to 177777"},
        Wrong{"--set 5:65536=fixed:1", "--set: address '65536' is not a decimal number from 0 to 65535"},
        Wrong{"--set 5:65535x2=fixed:1", "--set: count '2' is not a whole number from 1 to 1"},
        Wrong{"--set 5:1=fixed:65536", "--set: value '65536' is not a whole number from -32768 to 65535"},
        Wrong{"--set 2:1=fixed:0x2", "--set: value '0x2' is not a whole number from 0 to 1"},
        Wrong{"--set 5:1=jump:1..2",
              "--set: 'jump:1..2' is none of fixed:VALUE, ramp:FROM..TO/STEP and walk:FROM..TO/STEP"},
        Wrong{"--set 5:1=ramp:1",
              "--set: 'ramp:1' is none of fixed:VALUE, ramp:FROM..TO/STEP and walk:FROM..TO/STEP"},
        Wrong{"--set 5:1=ramp:1..2/0", "--set: step '0' is not a whole number from 1 to 4294967295"},
        Wrong{"--set 5:1@3=fixed:1", "--set: station 3 is not simulated; add it to --stations"},
        Wrong{"--values x", "--values: 'x' is none of still, moving, pattern"},
        Wrong{"--fault bla=3",
              "--fault: 'bla=3' is not KIND=PERCENT; the kinds are silence, late, crc, short, long and noise"},
        Wrong{"--fault crc",
              "--fault: 'crc' is not KIND=PERCENT; the kinds are silence, late, crc, short, long and noise"},
        Wrong{"--fault crc=101", "--fault: percentage '101' is not a number from 0 to 100"},
        Wrong{"--fault crc=nan", "--fault: percentage 'nan' is not a number from 0 to 100"},
        Wrong{"--faults 17", "--fault: the rates of all kinds add up to more than 100 percent; "
                             "a reply gets one fault at most, so lower some"},
        Wrong{"--tcp 99999", "--tcp: port '99999' is not a whole number from 0 to 65535"},
        Wrong{"--tcp plc:1", "--tcp: host 'plc' is no numeric address; write for instance 127.0.0.1:5020"},
        Wrong{"--pace 9600,7E1", "--pace: line format '7E1' is not one of 8N1, 8N2, 8E1, 8E2, 8O1 and 8O2"},
        Wrong{"--pace 0", "--pace: baud rate '0' is not a whole number from 50 to 4000000"},
        Wrong{"--serial :9600", "--serial: ':9600' names no device; write for instance /dev/ttyUSB0:19200,8E1"},
        Wrong{"--serial /dev/ttyS0:9600,8X1",
              "--serial: line format '8X1' is not one of 8N1, 8N2, 8E1, 8E2, 8O1 and 8O2"},
        Wrong{"--tick 0", "--tick: time in milliseconds '0' is not a whole number from 1 to 3600000"},
        Wrong{"--tick 1.5", "--tick: time in milliseconds '1.5' is not a whole number from 1 to 3600000"},
        Wrong{"--for abc", "--for: time in seconds 'abc' is not a number from 0.001 to 1000000"},
        Wrong{"--faults 0x10", "--faults: percentage '0x10' is not a number from 0 to 100"},
        Wrong{"--log all --log quiet", "--log is given more than once"},
        Wrong{"--pty=", "--pty: the path is empty; write for instance --pty=/tmp/plc, or --pty alone"},
        Wrong{"--delay -5", "--delay: time in milliseconds '-5' is not a whole number from 0 to 3600000"},
        Wrong{"--seed -1", "--seed: seed '-1' is not a whole number from 0 to 9223372036854775807"},
        Wrong{"--replay x --scenario y", "--replay excludes --scenario"},
        Wrong{"--replay x --remote", "--remote excludes --replay"},
        Wrong{"--scenario /nothing",
              "--scenario: '/nothing' cannot be read: No such file or directory; name a file of TOML"},
        Wrong{"--log loud", "--log: 'loud' is none of quiet, normal, all"}));

TEST(SettingTexts, Stations)
{
    EXPECT_EQ(parseStations("255"), std::vector<unsigned>{255});
    EXPECT_EQ(parseStations("1-255").size(), 255u);
    EXPECT_EQ(parseStations("4,4,4"), std::vector<unsigned>{4});
}

TEST(SettingTexts, Courses)
{
    EXPECT_EQ(parseRange("10:7=fixed:0x12345678").course.from, 0x12345678);
    EXPECT_EQ(parseRange("5:7=fixed:-5").course.from, -5);
    const Course ramp = parseRange("5:0=ramp:500..-5/25").course;
    EXPECT_EQ(ramp.shape, Course::Shape::Ramp);
    EXPECT_EQ(ramp.from, 500);
    EXPECT_EQ(ramp.to, -5);
    EXPECT_EQ(ramp.step, 25);
    const Course walk = parseRange("5:0=walk:0..9").course;
    EXPECT_EQ(walk.shape, Course::Shape::Walk);
    EXPECT_EQ(walk.step, 1);
}

TEST(SettingTexts, SerialAddresses)
{
    const SerialAddress full = parseSerialAddress("/dev/ttyUSB0:38400,8O2");
    EXPECT_EQ(full.device, "/dev/ttyUSB0");
    EXPECT_EQ(full.line.baud, 38400);
    EXPECT_EQ(full.line.parity, 'O');
    EXPECT_EQ(full.line.stopBits, 2);
    const SerialAddress byPath = parseSerialAddress("/dev/serial/by-path/pci-0000:00:14.0-usb-0:2:1.0-port0");
    EXPECT_EQ(byPath.device, "/dev/serial/by-path/pci-0000:00:14.0-usb-0:2:1.0-port0");
    EXPECT_EQ(byPath.line.baud, 19200);
    EXPECT_EQ(byPath.line.parity, 'E');
}

TEST(SettingTexts, TcpAddresses)
{
    EXPECT_EQ(parseTcpAddress("0.0.0.0:1").host, "0.0.0.0");
    EXPECT_EQ(parseTcpAddress("localhost:1").host, "127.0.0.1");
    EXPECT_EQ(parseTcpAddress("[::1]:65535").host, "::1");
    EXPECT_EQ(parseTcpAddress("[::1]:65535").port, 65535u);
}

TEST(SettingTexts, ByteTimes)
{
    EXPECT_EQ(parseSerialLine("9600,8E1").byteTime().count(), 1145833);
    EXPECT_EQ(parseSerialLine("9600,8N2").byteTime().count(), 1145833);
    EXPECT_EQ(parseSerialLine("115200,8N1").byteTime().count(), 86805);
    EXPECT_EQ(parseSerialLine("1200,8O2").byteTime().count(), 10000000);
}
