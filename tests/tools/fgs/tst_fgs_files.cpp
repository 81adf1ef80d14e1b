// fgs with a file of named variables, against a controller of the tests' own.
#include "own_controller.h"
#include "rows.h"
#include "support/temporary_folder.h"
#include "support/texts.h"

#include <gtest/gtest.h>
#include <QtCore/QFile>
#include <QtCore/QJsonArray>

namespace
{

class Files : public ::testing::Test
{
protected:
    /// FILE stands for the file in the arguments, L for the link.
    Result run(const char *arguments)
    {
        QString line = QString::fromLatin1(arguments);
        return runFgs(wordsOf(line.replace(QLatin1String("FILE"), path), controller.link()));
    }
    void write(const QString &text)
    {
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(text.toUtf8());
    }
    /// Group and tags of the tests, with a link.
    void writeOven(const QString &link)
    {
        write(QStringLiteral("link = \"%1\"\n[[group]]\nname = \"oven\"\ntag = [\n"
                             "{name = \"temp\", variable = \"5:100:s16\", scale = 0.1, unit = \"°C\"},\n"
                             "{name = \"sp\", variable = \"5:101x2:s16\", scale = 0.1, offset = 5},\n"
                             "{name = \"on\", variable = \"2:17@2\"} ]\n")
                  .arg(link));
    }
    void SetUp() override
    {
        writeOven(controller.link());
        controller.hold(1, 5, 100, 0xFFF6);
        controller.hold(1, 5, 101, 100);
        controller.hold(1, 5, 102, 200);
        controller.hold(2, 2, 17, 1);
    }

    OwnController controller;
    TemporaryFolder folder;
    const QString path = QString::fromStdString((folder.path / "line.toml").string());
};

TEST_F(Files, AreReadWhole)
{
    const Result result = run("read FILE --quiet");
    EXPECT_EQ(result.code, 0) << result.messages.toStdString();
    EXPECT_EQ(placesOf(result), (Texts{"5:100@1:s16", "5:101x2@1:s16", "2:17@2"}));
    EXPECT_EQ(contentsOf(result),
              (Texts{"temp [°C]         -1.0", "sp                15.0 25.0", "on                1"}));
}

TEST_F(Files, GiveNamesThatStandBesideVariables)
{
    EXPECT_EQ(contentsOf(run("read FILE on 5:100 temp --quiet")),
              (Texts{"on                1", "65526", "temp [°C]         -1.0"}));
    const Result result = run("read FILE tepm");
    EXPECT_EQ(result.code, 2);
    EXPECT_TRUE(contains(result.messages, QStringLiteral("did you mean 'temp'?")));
}

TEST_F(Files, ArePolled)
{
    const Result result = run("poll FILE --count 2 --quiet");
    EXPECT_EQ(result.code, 0) << result.messages.toStdString();
    EXPECT_EQ(contentsOf(result),
              (Texts{"temp [°C]         -1.0", "sp                15.0 25.0", "on                1"}));
}

TEST_F(Files, AreWrittenInEngineeringUnits)
{
    const Result result = run("write FILE temp=-2.5 sp=6,7.5 --json --quiet");
    EXPECT_EQ(result.code, 0) << result.messages.toStdString();
    const std::vector<QJsonObject> rows = result.objects();
    ASSERT_EQ(rows.size(), 2u);
    EXPECT_EQ(textsOf(rows, "result"), (Texts{"verified", "verified"}));
    EXPECT_EQ(textsOf(rows, "name"), (Texts{"temp", "sp"}));
    EXPECT_EQ(rows[0].value(QStringLiteral("unit")).toString(), QStringLiteral("°C"));
    EXPECT_EQ(rows[1].value(QStringLiteral("assigned")).toArray(), (QJsonArray{6, 7.5}));
    EXPECT_EQ(rows[1].value(QStringLiteral("values")).toArray(), (QJsonArray{6, 7.5}));
    EXPECT_EQ(rows[1].value(QStringLiteral("raw")).toArray(), (QJsonArray{10, 25}));
    EXPECT_EQ(controller.held(1, 5, 100), 0xFFE7u);
    EXPECT_EQ(controller.held(1, 5, 102), 25u);
}

TEST_F(Files, RefuseWhatIsNoStepBeforeAnythingIsSent)
{
    const Result result = run("write FILE sp=6,7 temp=-2.55");
    EXPECT_EQ(result.code, 2);
    EXPECT_TRUE(contains(result.messages, QStringLiteral("the nearest values are -2.6 and -2.5")));
    EXPECT_TRUE(controller.log().empty());
}

TEST_F(Files, HaveALinkThatMayBeReplaced)
{
    writeOven(QStringLiteral("/dev/no-such-device"));
    EXPECT_EQ(run("read FILE on").code, 3);
    EXPECT_EQ(contentsOf(run("read FILE on --link L --quiet")), (Texts{"on                1"}));
    const Result plain = run("read L 5:100 --link L");
    EXPECT_EQ(plain.code, 2);
    EXPECT_TRUE(contains(plain.messages, QStringLiteral("--link")));
}

TEST_F(Files, NeedALinkAndWritesAnAssignment)
{
    write(QStringLiteral("[[group]]\nname = \"g\"\ntag = [{name = \"a\", variable = \"5:1\"}]\n"));
    const Result noLink = run("read FILE");
    EXPECT_EQ(noLink.code, 2);
    EXPECT_TRUE(contains(noLink.messages, QStringLiteral("has no link; add one")));
    EXPECT_EQ(run("read FILE --link L --quiet").code, 0);
    const Result noAssignment = run("write FILE --link L");
    EXPECT_EQ(noAssignment.code, 2);
    EXPECT_TRUE(contains(noAssignment.messages, QStringLiteral("ASSIGNMENT is required")));
}

TEST_F(Files, TellAllTheirErrors)
{
    write(QStringLiteral(
        "lnk = \"x\"\n[[group]]\nname = \"ack\"\ntag = [{name = \"a\", variable = \"5:1\", scale = 0}]\n"));
    const Result result = run("poll FILE --count 1");
    EXPECT_EQ(result.code, 2);
    EXPECT_EQ(result.messages.split(QLatin1Char('\n'), Qt::SkipEmptyParts).size(), 3)
        << result.messages.toStdString();
    EXPECT_TRUE(contains(result.messages, path + QStringLiteral(":4:47: the scale is 0")));
    EXPECT_EQ(run("read /no/such/file.toml").code, 2);
}

} // namespace
