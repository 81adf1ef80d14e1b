// The live table, as it stands on the screen.
#include "own_controller.h"
#include "terminal.h"

#include <atomic>
#include <gtest/gtest.h>
#include <QtCore/QRegularExpression>
#include <regex>
#include <set>
#include <sstream>

namespace
{

const char Up[] = "\x1b[A", Down[] = "\x1b[B", PageDown[] = "\x1b[6~", PageUp[] = "\x1b[5~", Home[] = "\x1b[H",
           End[] = "\x1b[F";

/// The words of digits alone, a mark of change in front left off.
std::vector<std::string> numbersIn(const std::string &text)
{
    std::vector<std::string> numbers;
    std::istringstream words(text);
    for (std::string word; words >> word;) {
        word.erase(0, word[0] == '*');
        if (!word.empty() && word.find_first_not_of("0123456789") == std::string::npos)
            numbers.push_back(word);
    }
    return numbers;
}

bool isHeader(const std::string &row)
{
    return row.find("AGE") != std::string::npos && row.find("VARIABLE") != std::string::npos &&
           row.find("VALUE") != std::string::npos;
}

/// Five digits each, none the beginning of another.
void holdWords(OwnController &controller, int from, int count)
{
    for (int i = 0; i < count; ++i)
        controller.hold(1, 5, from + i, quint32(50205 + i * 111));
}

TEST(Table, ShowsEveryNumberWhole)
{
    OwnController controller;
    std::vector<std::string> expected;
    holdWords(controller, 100, 4);
    for (int i = 0; i < 4; ++i)
        expected.push_back(std::to_string(50205 + i * 111));
    for (int i = 0; i < 3; ++i) {
        controller.hold(1, 10, i, 4294967295u - quint32(i));
        expected.push_back(std::to_string(4294967295u - quint32(i)));
    }
    Terminal terminal(QStringLiteral("poll L 5:100x4 10:0x3"), controller.link());
    EXPECT_TRUE(terminal.until([&expected](const Screen &screen) {
        std::vector<std::string> shown;
        for (const std::string &number : numbersIn(screen.text()))
            if (number.size() >= 5)
                shown.push_back(number);
        return shown == expected;
    })) << terminal.screen().text();
    for (const std::string &row : terminal.screen().rows())
        EXPECT_LE(row.size(), 80u) << row;
    terminal.press("q");
    EXPECT_EQ(terminal.wait(), 0);
}

/// The last digit stands in the last column of the screen.
TEST(Table, FillsTheScreenToItsLastColumn)
{
    OwnController controller;
    holdWords(controller, 100, 4);
    Terminal terminal(QStringLiteral("poll L 5:100x4"), controller.link(), 24, 58);
    EXPECT_TRUE(terminal.untilItShows("50205  50316  50427  50538\n")) << terminal.screen().text();
}

TEST(Table, NamesItsColumns)
{
    OwnController controller;
    Terminal terminal(QStringLiteral("poll L 5:100"), controller.link());
    EXPECT_TRUE(terminal.until([](const Screen &screen) {
        const std::vector<std::string> rows = screen.rows();
        return std::any_of(rows.begin(), rows.end(), isHeader);
    }));
    EXPECT_TRUE(terminal.untilItShows("5:100"));
}

/// Numbers of at least five digits that are none of those held.
std::set<std::string> strangers(const Screen &screen, const std::set<std::string> &held)
{
    std::set<std::string> strange;
    for (const std::string &number : numbersIn(screen.text()))
        if (number.size() >= 5 && !held.count(number))
            strange.insert(number);
    return strange;
}

TEST(Table, WrapsALongVariableIntoRowsWithAddresses)
{
    for (int columns : {80, 60, 132}) {
        SCOPED_TRACE(columns);
        OwnController controller;
        holdWords(controller, 100, 60);
        std::set<std::string> held;
        for (int i = 0; i < 60; ++i)
            held.insert(std::to_string(50205 + i * 111));
        Terminal terminal(QStringLiteral("poll L 5:100x60"), controller.link(), 40, columns);
        ASSERT_TRUE(terminal.until([&held](const Screen &screen) {
            const std::vector<std::string> shown = numbersIn(screen.text());
            return std::count_if(shown.begin(), shown.end(), [&](const std::string &n) { return held.count(n); }) ==
                       60 &&
                   strangers(screen, held).empty();
        })) << terminal.screen().text();
        int rowsWithValues = 0;
        for (const std::string &row : terminal.screen().rows()) {
            const QRegularExpressionMatch first =
                QRegularExpression(QStringLiteral("[* ]([0-9]{5})(?![0-9])")).match(QString::fromStdString(row));
            if (!first.hasMatch())
                continue;
            ++rowsWithValues;
            const int address = 100 + (first.captured(1).toInt() - 50205) / 111;
            EXPECT_NE(row.find("5:" + std::to_string(address)), std::string::npos)
                << "row without the address of its first value: " << row;
        }
        EXPECT_GT(rowsWithValues, 1);
    }
}

/// It says what is missing, even on the smallest screen.
/// Whether a request was answered, or given up: a poll that ends before has read nothing.
bool countsRequests(const Screen &screen)
{
    return std::regex_search(screen.text(), std::regex("[1-9][0-9]*\\s+requests"));
}

TEST(Table, SaysWhenTheScreenIsTooNarrow)
{
    OwnController controller;
    controller.hold(1, 10, 65530, 4294967295u);
    Terminal terminal(QStringLiteral("poll L 10:65530"), controller.link(), 6, 30);
    EXPECT_TRUE(terminal.until([](const Screen &screen) {
        return screen.shows("too narrow") && screen.shows("10:65530") && countsRequests(screen);
    })) << terminal.screen().text();
    EXPECT_TRUE(strangers(terminal.screen(), {"4294967295"}).empty()) << terminal.screen().text();
    terminal.press("q");
    EXPECT_EQ(terminal.wait(), 0);
}

QString fortyWords()
{
    QString line = QStringLiteral("poll L");
    for (int i = 0; i < 40; ++i)
        line += QStringLiteral(" 5:%1").arg(1000 + i);
    return line;
}

class LongTable : public ::testing::Test
{
protected:
    LongTable()
    {
        holdWords(controller, 1000, 40);
        EXPECT_TRUE(
            terminal.until([](const Screen &screen) { return screen.shows("rows 1-") && screen.shows(" of 40"); }));
        EXPECT_TRUE(showsVariable(0));
    }
    ~LongTable() override
    {
        terminal.press("q");
        EXPECT_EQ(terminal.wait(), 0);
    }
    bool showsVariable(int i)
    {
        return terminal.until([i](const Screen &screen) {
            return screen.shows("5:" + std::to_string(1000 + i)) && screen.shows(std::to_string(50205 + i * 111));
        });
    }
    bool hides(int i)
    {
        return terminal.until([i](const Screen &screen) { return !screen.shows("5:" + std::to_string(1000 + i)); });
    }

    OwnController controller;
    Terminal terminal{fortyWords(), controller.link(), 12, 80};
};

TEST_F(LongTable, IsScrolledRowByRow)
{
    EXPECT_FALSE(terminal.screen().shows("5:1039"));
    terminal.press(Down);
    EXPECT_TRUE(terminal.untilItShows("rows 2-"));
    EXPECT_TRUE(hides(0));
    terminal.press(Up);
    EXPECT_TRUE(terminal.untilItShows("rows 1-"));
    EXPECT_TRUE(showsVariable(0));
}

TEST_F(LongTable, IsScrolledToItsEndAndBack)
{
    terminal.press(End);
    EXPECT_TRUE(showsVariable(39));
    EXPECT_TRUE(terminal.untilItShows("-40 of 40"));
    EXPECT_TRUE(hides(0));
    terminal.press(Home);
    EXPECT_TRUE(showsVariable(0));
    EXPECT_TRUE(terminal.untilItShows("rows 1-"));
}

TEST_F(LongTable, IsScrolledByPages)
{
    for (int i = 0; i < 20; ++i)
        terminal.press(PageDown);
    EXPECT_TRUE(showsVariable(39));
    EXPECT_TRUE(terminal.untilItShows("-40 of 40"));
    for (int i = 0; i < 20; ++i)
        terminal.press(PageUp);
    EXPECT_TRUE(showsVariable(0));
}

TEST(Table, MarksWhatChanged)
{
    OwnController controller;
    controller.hold(1, 5, 100, 11111);
    controller.hold(1, 5, 101, 22222);
    Terminal terminal(QStringLiteral("poll L 5:100x2"), controller.link());
    EXPECT_TRUE(terminal.untilItShows("11111"));
    controller.hold(1, 5, 100, 33333);
    EXPECT_TRUE(terminal.untilItShows("*33333"));
    EXPECT_FALSE(terminal.screen().shows("*22222"));
}

const char Escape[] = "\x1b[";

/// Whether letters were made to look otherwise: colours, bold and the like.
bool isHighlighted(const std::string &written)
{
    return QRegularExpression(QStringLiteral("\x1b\\[[0-9;]*[1-9][0-9;]*m"))
        .match(QString::fromStdString(written))
        .hasMatch();
}

TEST(Table, HighlightsWhatChangedUnlessTold)
{
    for (const char *environment : {"TERM=xterm", "NO_COLOR=1"}) {
        SCOPED_TRACE(environment);
        OwnController controller;
        controller.hold(1, 5, 100, 11111);
        Terminal terminal(QStringLiteral("poll L 5:100"), controller.link(), 24, 80, environment);
        EXPECT_TRUE(terminal.untilItShows("11111"));
        controller.hold(1, 5, 100, 33333);
        EXPECT_TRUE(terminal.untilItShows("*33333"));
        terminal.press("q");
        EXPECT_EQ(terminal.wait(), 0);
        EXPECT_EQ(isHighlighted(terminal.written()), std::string(environment) == "TERM=xterm");
    }
}

TEST(Table, ShowsTheReasonAndTheLink)
{
    OwnController controller([](const Request &request, const QByteArray &good) {
        return request.station == 9 ? Silence : Reply{good};
    });
    Terminal terminal(QStringLiteral("poll L 5:0 5:0@9 --timeout 100 --late 0"), controller.link());
    EXPECT_TRUE(terminal.untilItShows("no reply")) << terminal.screen().text();
    controller.shutDoor();
    EXPECT_TRUE(terminal.untilItShows("link lost")) << terminal.screen().text();
    controller.openDoor();
    EXPECT_TRUE(terminal.until([](const Screen &screen) { return !screen.shows("link lost"); }));
}

TEST(Table, LeavesTheSummaryBehind)
{
    OwnController controller;
    Terminal terminal(QStringLiteral("poll L 5:0"), controller.link());
    EXPECT_TRUE(terminal.until(countsRequests));
    terminal.press("q");
    EXPECT_EQ(terminal.wait(), 0);
    EXPECT_TRUE(terminal.screen().shows(" requests in ")) << terminal.screen().text();
}

/// Whether a row has all of these in their order.
bool showsRow(const Screen &screen, const QString &form)
{
    const QRegularExpression row(form);
    const std::vector<std::string> rows = screen.rows();
    return std::any_of(rows.begin(), rows.end(), [&row](const std::string &each) {
        return row.match(QString::fromStdString(each)).hasMatch();
    });
}

TEST(Table, ShowsTheRangeOfEachValueWhenAKeyAsksForIt)
{
    OwnController controller;
    controller.hold(1, 5, 100, 11111);
    controller.hold(1, 5, 101, 22222);
    Terminal terminal(QStringLiteral("poll L 5:100x2"), controller.link());
    EXPECT_TRUE(terminal.untilItShows("11111"));
    EXPECT_TRUE(terminal.untilItShows("e a row for each value"));
    controller.hold(1, 5, 100, 33333);
    EXPECT_TRUE(terminal.untilItShows("*33333"));
    EXPECT_FALSE(terminal.screen().shows("MEAN"));
    terminal.press("r");
    const QString both = QStringLiteral("5:100x2@1 .* \\*?33333 +11111 +[0-9]+[.][0-9] +33333$");
    EXPECT_TRUE(terminal.until([&](const Screen &screen) {
        return screen.shows("MEAN") && showsRow(screen, both) &&
               showsRow(screen, QStringLiteral("5:101@1 .* 22222 +22222 +22222.0 +22222$"));
    })) << terminal.screen().text();
    terminal.press("t");
    EXPECT_TRUE(terminal.untilItShows("TREND"));
    for (const std::string &row : terminal.screen().rows())
        EXPECT_LE(QString::fromStdString(row).size(), 80) << row;
    terminal.press("rt");
    EXPECT_TRUE(
        terminal.until([](const Screen &screen) { return !screen.shows("MEAN") && !screen.shows("TREND"); }));
    terminal.press("e");
    EXPECT_TRUE(terminal.until([](const Screen &screen) {
        return showsRow(screen, QStringLiteral("5:101@1 .* 22222$")) && screen.shows("VALUE\n");
    })) << terminal.screen().text();
    terminal.press("q");
    EXPECT_EQ(terminal.wait(), 0);
    EXPECT_FALSE(terminal.screen().shows("keys:"));
}

TEST(Table, BeginsWithTheColumnsThatTheOptionNames)
{
    OwnController controller;
    controller.hold(1, 5, 100, 11111);
    Terminal terminal(QStringLiteral("poll L 5:100 --show range,trend"), controller.link());
    EXPECT_TRUE(terminal.until([](const Screen &screen) {
        return screen.shows("TREND") && showsRow(screen, QStringLiteral("11111 +11111 +11111.0 +11111 "));
    })) << terminal.screen().text();
}

/// The controller takes its time until the progress is seen.
TEST(Progress, IsShownAndGoesAway)
{
    std::atomic<bool> isSeen{false};
    OwnController controller([&isSeen](const Request &, const QByteArray &good) {
        if (!isSeen)
            std::this_thread::sleep_for(std::chrono::milliseconds(30));
        return Reply{good};
    });
    Terminal terminal(QStringLiteral("read L 5:0x65535"), controller.link(), 24, 80);
    EXPECT_TRUE(terminal.until([](const Screen &screen) {
        return showsRow(screen, QStringLiteral("^reading: [0-9]+ %, about [0-9]+ (s|min [0-9]+ s) left$"));
    })) << terminal.screen().text();
    isSeen = true;
    EXPECT_EQ(terminal.wait(), 0);
    EXPECT_FALSE(terminal.screen().shows("reading:")) << terminal.screen().text();
    EXPECT_TRUE(terminal.screen().shows(" requests in "));
}

TEST(Progress, OfAWriteIsShownToo)
{
    std::atomic<bool> isSeen{false};
    OwnController controller([&isSeen](const Request &, const QByteArray &good) {
        if (!isSeen)
            std::this_thread::sleep_for(std::chrono::milliseconds(30));
        return Reply{good};
    });
    Terminal terminal(QStringLiteral("write L 2:0=1") + QStringLiteral(",1").repeated(499), controller.link());
    EXPECT_TRUE(terminal.untilItShows("writing: ")) << terminal.screen().text();
    isSeen = true;
    EXPECT_EQ(terminal.wait(), 0);
    EXPECT_FALSE(terminal.screen().shows("writing: ")) << terminal.screen().text();
}

TEST(Table, NeedsATerminalThatCanDraw)
{
    OwnController controller;
    Terminal terminal(QStringLiteral("poll L 5:0 --count 1"), controller.link(), 24, 80, "TERM=dumb");
    EXPECT_EQ(terminal.wait(), 0);
    EXPECT_EQ(terminal.written().find(Escape), std::string::npos);
    EXPECT_TRUE(terminal.screen().shows("5:0@1"));
}

} // namespace
