// Files of named variables: what they mean, what is wrong with them, and values in engineering units.
#include "host/text_error.h"
#include "watch/assignment.h"
#include "watch/tag_file.h"

#include <gtest/gtest.h>
#include <QtCore/QFile>

using namespace fgs;

namespace
{

TagFile parsed(const std::string &text)
{
    return parseTagFile(QStringLiteral("f"), QByteArray::fromStdString(text));
}

/// Of a group with one tag that has these keys.
Tag tagWith(const std::string &keys)
{
    return parsed("[[group]]\nname = \"g\"\ntag = [ { name = \"t\", " + keys + " } ]\n").tags().at(0);
}

std::string faultsOf(const std::string &text)
{
    try {
        parsed(text);
        return "";
    } catch (const TextError &error) {
        return error.what();
    }
}

std::string valuesOf(const Tag &tag, const std::vector<quint32> &elements)
{
    return valuesText(tag, Format::Unsigned, elements).toStdString();
}

std::vector<quint32> writtenBy(const Tag &tag, const char *value)
{
    return parseValue(QString::fromLatin1(value), tag, Format::Unsigned);
}

std::string refusalOf(const Tag &tag, const char *value)
{
    try {
        writtenBy(tag, value);
        return "";
    } catch (const TextError &error) {
        return error.what();
    }
}

TEST(TheExample, IsAFileOfVariables)
{
    const TagFile file = readTagFile(QStringLiteral(TARN_SOURCE_DIR "/docs/line.toml"));
    EXPECT_EQ(file.link, QStringLiteral("/dev/ttyUSB0:19200,8E1"));
    ASSERT_EQ(file.groups.size(), 2u);
    std::vector<std::string> tags;
    for (const Tag &tag : file.tags())
        tags.push_back((titleOf(tag) + QLatin1Char(' ') + textOf(tag)).toStdString());
    EXPECT_EQ(tags, (std::vector<std::string>{"oven_temp [°C] 5:100@1:s16", "oven_sp [°C] 5:101@1:s16",
                                              "oven_on 2:17@1", "pieces 5:200@2:u32", "speed [m/min] 10:4@2:f32",
                                              "pressure [kPa] 9:8@2:u16", "recipe 5:300x8@2:text"}));
    EXPECT_EQ(valuesOf(file.tags()[0], {0xFFF6}), "-1.0");
    EXPECT_EQ(valuesOf(file.tags()[5], {64}), "-99.000000");
}

TEST(TheExample, IsShownInTheDocument)
{
    QFile document(QStringLiteral(TARN_SOURCE_DIR "/docs/tags.md")),
        file(QStringLiteral(TARN_SOURCE_DIR "/docs/line.toml"));
    ASSERT_TRUE(document.open(QIODevice::ReadOnly) && file.open(QIODevice::ReadOnly));
    EXPECT_TRUE(document.readAll().contains("```toml\n" + file.readAll() + "```\n"));
}

TEST(Stations, AreTheVariablesOwnOrTheGroupsOrTheFiles)
{
    const std::string group = "[[group]]\nname = \"a\"\ntag = [{name=\"x\", variable=\"5:1\"}, {name=\"y\", "
                              "variable=\"5:1@9\"}]\n",
                      other = "[[group]]\nname = \"b\"\nstation = 4\ntag = [{name=\"z\", variable=\"5:1\"}]\n";
    const auto stations = [](const TagFile &file) {
        std::vector<int> numbers;
        for (const Tag &tag : file.tags())
            numbers.push_back(tag.variable.station);
        return numbers;
    };
    EXPECT_EQ(stations(parsed(group + other)), (std::vector<int>{1, 9, 4}));
    EXPECT_EQ(stations(parsed("station = 3\n" + group + other)), (std::vector<int>{3, 9, 4}));
    EXPECT_EQ(stations(parseTagFile(QStringLiteral("f"), QByteArray::fromStdString(group + other), 8)),
              (std::vector<int>{8, 9, 4}));
}

TEST(Faults, AreToldAllAtOnce)
{
    EXPECT_EQ(
        faultsOf("link = \"ttyUSB0:19200\"\nstations = 3\n"
                 "[[group]]\nname = \"cmd\"\n"
                 "[[group.tag]]\nvariable = \"5:1:s17\"\ntype = \"s16\"\n"
                 "[[group.tag]]\nname = \"a.b\"\nvariable = \"2:1\"\nscale = 0.1\nunit = 5\ndead_band = 3\n"
                 "[[group.tag]]\nname = \"a b\"\nvariable = \"5:1@0\"\n"
                 "[[group]]\nname = \"b\"\n"
                 "[[group]]\nname = \"b\"\ntag = [{name = \"ü\", variable = \"99:1\"}]\n"),
        "f:1:8: link 'ttyUSB0:19200': neither the path of a device nor tcp:HOST:PORT; did you mean "
        "/dev/ttyUSB0:19200?\n"
        "f:2:1: unknown key 'stations'; did you mean 'station'?\n"
        "f:4:8: 'cmd' is a reserved name of a group; choose another; status, cmd, ack and doctor are reserved\n"
        "f:5:1: 'name' is missing; add a line like name = \"oven_temp\"\n"
        "f:6:12: variable '5:1:s17': 's17' is no type; types are bit, u16, s16, x16, u32, s32, x32, f32, u32h, "
        "s32h, x32h, f32h, text\n"
        "f:7:1: unknown key 'type'; known are name, variable, unit, scale, offset, deadband, least_ms, longest_ms, "
        "write\n"
        "f:9:8: 'a.b' is no name; begin with a letter and go on with at most 63 letters of ASCII, digits, _ and "
        "-\n"
        "f:11:9: scale and offset are for numbers, and this is none; leave them out, or give the variable a type "
        "like s16\n"
        "f:12:8: 'unit' is no text; put it in quotes: unit = \"...\"\n"
        "f:13:1: unknown key 'dead_band'; did you mean 'deadband'?\n"
        "f:15:8: 'a b' is no name; begin with a letter and go on with at most 63 letters of ASCII, digits, _ and "
        "-\n"
        "f:16:12: station 0 means all stations and cannot be read; name one station from 1 to 255\n"
        "f:17:1: the group has no variable; add one: [[group.tag]], name = \"...\", variable = \"5:100\"\n"
        "f:20:8: the name 'b' stands in line 18 already; give one of the two another\n"
        "f:21:16: 'ü' is no name; begin with a letter and go on with at most 63 letters of ASCII, digits, _ and "
        "-\n"
        "f:21:32: variable '99:1': there is no area 99; areas are 0..13");
}

TEST(Faults, AreToldOfFilesWithoutGroups)
{
    EXPECT_EQ(faultsOf(""), "f:1:1: there is no group of variables; begin one with [[group]] and a name = \"...\"");
    const std::string cutOff = faultsOf("[[group]]\n[[group");
    EXPECT_EQ(cutOff.find("f:2:8: "), 0u) << cutOff;
    EXPECT_NE(cutOff.find("; mend this first; the rest is looked at then"), std::string::npos) << cutOff;
    EXPECT_THROW(readTagFile(QStringLiteral("/no/such/file.toml")), TextError);
}

TEST(Faults, AreToldOfScales)
{
    const auto fault = [](const char *keys) {
        return faultsOf(std::string("[[group]]\nname = \"g\"\ntag = [ { name = \"t\", ") + keys + " } ]\n") != "";
    };
    for (const char *keys :
         {"variable = \"5:1\", scale = 0", "variable = \"5:1\", scale = 1e10", "variable = \"5:1\", scale = nan",
          "variable = \"5:1x4:text\", scale = 2", "variable = \"5:1:x16\", offset = 2",
          "variable = \"5:1\", scale = 1e-6, offset = 1e5", "variable = \"5:1\", unit = \"a\\tb\"",
          "variable = \"5:1\", unit = \"12345678901234567\""})
        EXPECT_TRUE(fault(keys)) << keys;
    for (const char *keys : {"variable = \"5:1\", scale = -1e-9", "variable = \"10:1:f32\", offset = 2",
                             "variable = \"5:1\", unit = \"µm/s²\"", "variable = \"2:1\", unit = \"on\""})
        EXPECT_FALSE(fault(keys)) << keys;
}

TEST(Scaled, ValuesHaveTheDigitsOfTheirSteps)
{
    EXPECT_EQ(valuesOf(tagWith("variable = \"5:1x3:s16\", scale = 0.1"), {235, 0xFFFF, 0}), "23.5 -0.1 0.0");
    EXPECT_EQ(valuesOf(tagWith("variable = \"5:1\", scale = 0.1, offset = -0.25"), {0, 10}), "-0.25 0.75");
    EXPECT_EQ(valuesOf(tagWith("variable = \"5:1\", scale = 10"), {65535}), "655350");
    EXPECT_EQ(valuesOf(tagWith("variable = \"5:1:u32\", scale = 0.001"), {0xFFFF, 0xFFFF}), "4294967.295");
    EXPECT_EQ(valuesOf(tagWith("variable = \"5:1\", scale = 0.003616898148148148"), {27648}), "100.000000000");
    EXPECT_EQ(valuesOf(tagWith("variable = \"5:1\", scale = -1, offset = 1"), {1}), "0");
    EXPECT_EQ(valuesOf(tagWith("variable = \"10:1:f32\", scale = 0.001"), {0x44898000}), "1.1");
    EXPECT_EQ(valuesOf(tagWith("variable = \"10:1:f32\", scale = 2"), {0x7FC00000}), "nan");
    EXPECT_EQ(valuesOf(tagWith("variable = \"5:1\", offset = 1"), {65535}), "65536") << "without a type it is u16";
}

TEST(Scaled, ValuesAreWrittenAsSteps)
{
    const Tag tenths = tagWith("variable = \"5:1:s16\", scale = 0.1");
    EXPECT_EQ(writtenBy(tenths, "23.5"), std::vector<quint32>{235});
    EXPECT_EQ(writtenBy(tenths, "-3276.8"), std::vector<quint32>{0x8000});
    EXPECT_EQ(writtenBy(tenths, "1e1"), std::vector<quint32>{100});
    EXPECT_EQ(refusalOf(tenths, "23.55"),
              "'23.55' lies between two steps of the raw value; the nearest values are 23.5 and 23.6");
    EXPECT_EQ(refusalOf(tenths, "-0.01"),
              "'-0.01' lies between two steps of the raw value; the nearest values are -0.1 and 0.0");
    EXPECT_EQ(refusalOf(tenths, "3276.8"),
              "'3276.8' is beyond -3276.8 to 3276.7, which is what the raw range of s16, -32768 to 32767, holds");
    EXPECT_EQ(refusalOf(tenths, "0x10"), "'0x10' is no decimal number like 12.5");
    EXPECT_EQ(refusalOf(tenths, "nan"), "'nan' is no decimal number like 12.5");
    EXPECT_EQ(refusalOf(tenths, "1e300"),
              "'1e300' is beyond -3276.8 to 3276.7, which is what the raw range of s16, -32768 to 32767, holds");
    const Tag falling = tagWith("variable = \"5:1\", scale = -0.5, offset = 100");
    EXPECT_EQ(writtenBy(falling, "99.5"), std::vector<quint32>{1});
    EXPECT_EQ(refusalOf(falling, "99.7"),
              "'99.7' lies between two steps of the raw value; the nearest values are 99.5 and 100.0");
    EXPECT_EQ(refusalOf(falling, "101"),
              "'101' is beyond -32667.5 to 100.0, which is what the raw range of u16, 0 to 65535, holds");
    EXPECT_EQ(writtenBy(tagWith("variable = \"10:1:f32\", scale = 0.001"), "1.1"),
              std::vector<quint32>{0x44898000});
    EXPECT_EQ(writtenBy(tagWith("variable = \"5:1:u32h\", scale = 0.01"), "655.37"), (std::vector<quint32>{1, 1}));
}

TEST(Scaled, TextsAreReadAsTheSameRawValue)
{
    const std::vector<const char *> scales = {
        "0.1",    "0.25",  "0.003616898148148148", "-7", "1e-9", "1e9", "0.3333333333333333",
        "1234.5", "1e-05", "0.0152587890625"};
    for (const char *scale : scales)
        for (const char *offset : {"0", "-0.125", "17.77777777777777"})
            for (quint32 raw : {0u, 1u, 2u, 999u, 32767u, 65535u, 65536u, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu}) {
                Tag tag = parseTag(QStringLiteral("10:0:u32"));
                tag.scaling = {QString::fromLatin1(scale).toDouble(), QString::fromLatin1(offset).toDouble()};
                if (std::abs(tag.scaling.offset) > MostOffsetSteps * std::abs(tag.scaling.scale))
                    continue;
                const QString text = valuesText(tag, Format::Unsigned, {raw});
                EXPECT_EQ(parseValue(text, tag, Format::Unsigned), std::vector<quint32>{raw})
                    << scale << " " << offset << " " << text.toStdString();
            }
}

TEST(WidestText, HoldsEveryScaledValue)
{
    const Tag tag = tagWith("variable = \"5:1:s16\", scale = 0.1, offset = 5");
    EXPECT_EQ(widestText(tag, Format::Unsigned), int(std::string("-3271.8").size()));
    EXPECT_EQ(widestText(parseTag(QStringLiteral("5:1:s16")), Format::Unsigned), 6);
}

TEST(TagMeant, IsANameOrAVariable)
{
    const TagFile file = readTagFile(QStringLiteral(TARN_SOURCE_DIR "/docs/line.toml"));
    const auto meant = [&file](const char *text) { return tagMeant(file, QString::fromLatin1(text), 6); };
    EXPECT_EQ(meant("pieces").name, QStringLiteral("pieces"));
    EXPECT_EQ(textOf(meant("5:1:s16")), QStringLiteral("5:1@6:s16"));
    EXPECT_EQ(meant("5:100").name, QString()) << "a variable stands for itself";
    try {
        meant("peaces");
        FAIL();
    } catch (const TextError &error) {
        EXPECT_EQ(error.what(), std::string("'peaces' is neither a name in the file nor a variable; did you mean "
                                            "'pieces'?"));
    }
    EXPECT_THROW(tagMeant(TagFile(), QStringLiteral("pieces")), TextError);
}

TEST(NamedAssignments, TakeTheCountOfTheName)
{
    const TagFile file =
        parsed("[[group]]\nname = \"g\"\ntag = [ { name = \"two\", variable = \"5:1x2\", scale = 0.5 } ]\n");
    const TagReader meant = [&file](const QString &text) { return tagMeant(file, text); };
    const auto assignment = [&meant](const char *text) {
        return parseAssignment(QString::fromLatin1(text), meant, Format::Unsigned);
    };
    EXPECT_EQ(assignment("two=1.5,2").values, (std::vector<quint32>{3, 4}));
    EXPECT_EQ(assignment("5:9=1,2,3").values, (std::vector<quint32>{1, 2, 3}));
    try {
        assignment("two=1.5");
        FAIL();
    } catch (const TextError &error) {
        EXPECT_EQ(error.what(), std::string("assignment 'two=1.5': 1 values for 2 places; give as many"));
    }
}

} // namespace
