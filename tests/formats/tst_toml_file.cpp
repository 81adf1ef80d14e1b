// TOML files as programs ask for them: what is there, and every fault with its place and its remedy.
#include "formats/suggestion.h"
#include "formats/toml_file.h"

#include <gtest/gtest.h>

using namespace formats;

namespace
{

const char *const Oven = "link = \"a\"\n"
                         "station = 7\n"
                         "[[group]]\n"
                         "name = \"oven\"\n"
                         "tag = [ { scale = 0.5 }, { scale = 2 } ]\n"
                         "[[group.tag2]]\n"
                         "text = \"\\u00b0C\"\n";

std::string faultsOf(const TomlFile &file)
{
    try {
        file.throwFaults();
        return "";
    } catch (const TomlError &error) {
        return error.what();
    }
}

TEST(TomlFile, GivesValuesWithTheirPlaces)
{
    TomlFile file("f", Oven);
    TomlTable root = file.root();
    const auto link = root.text("link");
    ASSERT_TRUE(link);
    EXPECT_EQ(link->value, "a");
    EXPECT_EQ(link->place.line, 1u);
    EXPECT_EQ(link->place.column, 8u);
    EXPECT_EQ(root.integer("station", 1, 255)->value, 7);
    EXPECT_FALSE(root.text("other"));
    EXPECT_FALSE(root.number("number"));
    EXPECT_FALSE(root.integer("integer", 0, 1));
    EXPECT_TRUE(root.tables("tables").empty());
    EXPECT_EQ(faultsOf(file), "");
}

TEST(TomlFile, GivesFlagsAndLists)
{
    TomlFile file("f", "loop = true\ndo = [\"a\", \"b\"]\nplace = \"c\"\ntime = 1.5\nnone = []\n");
    TomlTable root = file.root();
    EXPECT_TRUE(root.flag("loop")->value);
    EXPECT_FALSE(root.flag("other"));
    const auto many = root.texts("do");
    ASSERT_EQ(many.size(), 2u);
    EXPECT_EQ(many[1].value, "b");
    EXPECT_EQ(many[1].place.column, 12u);
    ASSERT_EQ(root.texts("place").size(), 1u);
    EXPECT_EQ(root.texts("place")[0].value, "c");
    EXPECT_TRUE(root.texts("other").empty());
    EXPECT_TRUE(root.holds("place"));
    EXPECT_FALSE(root.holds("other"));
    EXPECT_TRUE(root.holdsNumber("time"));
    EXPECT_FALSE(root.holdsNumber("place"));
    EXPECT_FALSE(root.holdsNumber("other"));
    EXPECT_TRUE(root.require("time", ""));
    EXPECT_EQ(faultsOf(file), "");
    EXPECT_FALSE(root.require("every", "every = \"5s\""));
    root.flag("time");
    root.texts("loop");
    root.texts("none");
    EXPECT_EQ(faultsOf(file), "f:1:1: 'every' is missing; add a line like every = \"5s\"\n"
                              "f:1:8: 'loop' is neither a text nor a list of texts; "
                              "write loop = \"...\" or loop = [\"...\", \"...\"]\n"
                              "f:4:8: 'time' is neither true nor false; write time = true, without quotes\n"
                              "f:5:8: 'none' is neither a text nor a list of texts; "
                              "write none = \"...\" or none = [\"...\", \"...\"]");
}

TEST(TomlFile, ABracketBeforeNoKeyIsAFault)
{
    for (const char *text : {"[$a]", "[\x01]", "[[=]]"})
        EXPECT_THROW(TomlFile("f", text), TomlError) << text;
}

TEST(TomlFile, GivesTablesInEitherForm)
{
    TomlFile file("f", Oven);
    TomlTable root = file.root();
    std::vector<TomlTable> groups = root.tables("group");
    ASSERT_EQ(groups.size(), 1u);
    EXPECT_EQ(groups[0].place().line, 3u);
    std::vector<TomlTable> tags = groups[0].tables("tag");
    ASSERT_EQ(tags.size(), 2u);
    EXPECT_EQ(tags[0].number("scale")->value, 0.5);
    EXPECT_EQ(tags[1].number("scale")->value, 2.0);
    std::vector<TomlTable> more = groups[0].tables("tag2");
    ASSERT_EQ(more.size(), 1u);
    EXPECT_EQ(more[0].requiredText("text", "")->value, "\xC2\xB0"
                                                       "C");
    EXPECT_EQ(faultsOf(file), "");
}

TEST(TomlFile, TellsAllFaultsInTheOrderOfTheirPlaces)
{
    TomlFile file("line.toml", "link = 5\nscale = \"1\"\nstation = 0\nx = inf\ngroup = 1\nlimk = 2\n"
                               "scael = 3\n");
    TomlTable root = file.root();
    file.fault({6, 8}, "of the program's own", "another");
    EXPECT_FALSE(root.requiredText("name", "name = \"oven\""));
    EXPECT_TRUE(root.tables("group").empty());
    EXPECT_FALSE(root.integer("station", 1, 255));
    EXPECT_FALSE(root.number("scale"));
    EXPECT_FALSE(root.number("x"));
    EXPECT_FALSE(root.text("link"));
    root.refuseOthers();
    EXPECT_EQ(faultsOf(file), "line.toml:1:1: 'name' is missing; add a line like name = \"oven\"\n"
                              "line.toml:1:8: 'link' is no text; put it in quotes: link = \"...\"\n"
                              "line.toml:2:9: 'scale' is no number; write one like scale = 0.1, without quotes\n"
                              "line.toml:3:11: 'station' is no whole number from 1 to 255; write station = 1, say\n"
                              "line.toml:4:5: 'x' is no number; write one like x = 0.1, without quotes\n"
                              "line.toml:5:9: 'group' is no list of tables; begin each with [[group]]\n"
                              "line.toml:6:1: unknown key 'limk'; did you mean 'link'?\n"
                              "line.toml:6:8: of the program's own; another\n"
                              "line.toml:7:1: unknown key 'scael'; did you mean 'scale'?");
}

TEST(TomlFile, TellsASyntaxErrorAlone)
{
    const std::vector<std::pair<const char *, TomlPlace>> cases = {
        {"a = ", {1, 5}}, {"a = 1\na = 2\n", {2, 1}}, {"a = 1\n\"\xFF\" = 2", {2, 2}}, {"x = [1,\n", {1, 9}}};
    for (const auto &[text, place] : cases) {
        try {
            TomlFile file("f", text);
            ADD_FAILURE() << text << " is taken for TOML";
        } catch (const TomlError &error) {
            ASSERT_EQ(error.faults.size(), 1u);
            EXPECT_EQ(error.faults[0].place.line, place.line) << text << error.what();
            EXPECT_NE(error.faults[0].what, "");
            EXPECT_NE(std::string(error.what()).find("; mend this first"), std::string::npos);
        }
    }
}

/// The words are the parser's, and say little.
TEST(TomlFile, GuessesTheSlipBehindASyntaxError)
{
    const std::pair<const char *, const char *> cases[] = {{"name = \"a\nhost = \"b\"\n", "closing quote"},
                                                           {"host = a\n", "texts stand in quotes"},
                                                           {"scale = 0,1\n", "decimals have a point"}};
    for (const auto &[text, hint] : cases) {
        try {
            const TomlFile file("f", text);
            ADD_FAILURE() << text;
        } catch (const TomlError &error) {
            EXPECT_NE(std::string(error.what()).find(hint), std::string::npos) << error.what();
        }
    }
}

TEST(TomlFile, TakesNoLetterForABlank)
{
    for (const char *letter : {"\xCF\xA3", "\xC3\xA9", "\xE1\x9A\x81", "\xE2\x81\xA5"})
        EXPECT_THROW(TomlFile("f", std::string("a = ") + letter + "-9\n"), TomlError) << letter;
}

TEST(TomlFile, OfAnyDepthIsReadOrRefused)
{
    const std::string deep(100000, '[');
    EXPECT_THROW(TomlFile("f", "a = " + deep), TomlError);
    EXPECT_THROW(TomlFile("f", "a = " + deep + std::string(100000, ']')), TomlError);
}

TEST(Suggestion, IsTheNearestWord)
{
    const std::vector<std::string> known = {"name", "variable", "scale", "unit"};
    EXPECT_EQ(nearestTo("nmae", known), "name");
    EXPECT_EQ(nearestTo("varable", known), "variable");
    EXPECT_EQ(nearestTo("units", known), "unit");
    EXPECT_EQ(nearestTo("dead_band", known), "");
    EXPECT_EQ(nearestTo("", known), "");
    EXPECT_EQ(nearestTo(std::string(100000, 'x'), known), "");
    EXPECT_EQ(suggestionFor("scales", known), "did you mean 'scale'?");
    EXPECT_EQ(suggestionFor("dead_band", known), "known are name, variable, scale, unit");
}

} // namespace
