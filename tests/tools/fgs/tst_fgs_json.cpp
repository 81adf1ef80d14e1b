// The page about JSON: its examples run, and it names every key.
#include "own_controller.h"
#include "programs.h"
#include "support/shell.h"
#include "support/temporary_folder.h"

#include <fstream>
#include <QtCore/QFile>
#include <QtCore/QJsonArray>
#include <QtCore/QRegularExpression>
#include <set>
#include <sys/stat.h>

namespace
{

QString page()
{
    QFile file(QStringLiteral(TARN_SOURCE_DIR "/docs/json.md"));
    EXPECT_TRUE(file.open(QIODevice::ReadOnly));
    return QString::fromUtf8(file.readAll());
}

struct Example {
    QString command, output;
};

/// The commands behind a prompt, each with the lines below it.
std::vector<Example> examplesOn(const QString &text)
{
    std::vector<Example> examples;
    bool isOpen = false;
    for (const QString &line : text.split(QLatin1Char('\n'))) {
        if (line.startsWith(QLatin1String("    $ "))) {
            examples.push_back({line.mid(6), QString()});
            isOpen = true;
        } else if (isOpen && line.startsWith(QLatin1String("    "))) {
            examples.back().output += line.mid(4) + QLatin1Char('\n');
        } else {
            isOpen = false;
        }
    }
    return examples;
}

/// The arguments of the simulated controller that the page names, on a free port.
QStringList simulatorOn(const QString &text)
{
    const QRegularExpressionMatch match =
        QRegularExpression(QStringLiteral("`fgs-sim --tcp 5020 ([^`]*)`")).match(text);
    EXPECT_TRUE(match.hasMatch());
    return QStringList{QStringLiteral("--tcp"), QStringLiteral("0")} +
           match.captured(1).split(QLatin1Char(' '), Qt::SkipEmptyParts);
}

/// A command fgs in the folder, which in a cross build calls the emulator, and which waits for what a busy machine
/// answers late.
void makeCommand(const TemporaryFolder &folder)
{
    const std::string path = folder.path / "fgs";
    std::ofstream script(path);
    script
        << "#!/bin/sh\ncase \"$*\" in *--timeout*) ;; read*|write*|poll*) set -- \"$@\" --timeout 3600000 ;; esac\n"
        << "exec";
    for (const std::string &word : commandOf(TARN_BINARY_DIR "/fgs"))
        script << " '" << word << "'";
    script << " \"$@\"\n";
    script.close();
    ASSERT_EQ(::chmod(path.c_str(), 0755), 0);
}

TEST(JsonPage, ItsExamplesPrintWhatItSays)
{
    if (!isInstalled("jq"))
        GTEST_SKIP() << "jq is missing: apt-get install jq";
    const QString text = page();
    const Simulator simulator(simulatorOn(text));
    const TemporaryFolder folder;
    makeCommand(folder);
    const std::vector<Example> examples = examplesOn(text);
    EXPECT_GE(examples.size(), 5U);
    for (Example example : examples) {
        example.command.replace(QStringLiteral("tcp:127.0.0.1:5020"), simulator.link());
        example.command.replace(QStringLiteral("--timeout 100 "), QStringLiteral("--timeout 1000 "));
        const std::string command = example.command.toStdString();
        EXPECT_NE(command.find(simulator.link().toStdString()), std::string::npos) << command;
        EXPECT_EQ(outputOf("PATH='" + folder.path.string() + "':\"$PATH\"; " + command + " 2>/dev/null"),
                  example.output.toStdString())
            << command;
    }
}

void collectKeys(const QJsonValue &value, std::set<std::string> &keys)
{
    const QJsonObject object = value.toObject();
    for (const QString &key : object.keys()) {
        keys.insert(key.toStdString());
        collectKeys(object.value(key), keys);
    }
    for (const QJsonValue &each : value.toArray())
        collectKeys(each, keys);
}

/// Of readings with and without values, results, events and summaries.
TEST(JsonPage, NamesEveryKey)
{
    OwnController controller([](const Request &request, const QByteArray &good) {
        return request.station == 9         ? Silence
               : request.touches(7, 0)      ? Reply{good.left(good.size() - 1)}
               : request.touches(6, 0, 999) ? refuse(request)
                                            : Reply{good};
    });
    std::set<std::string> keys;
    for (const char *line :
         {"read --json --timeout 600 --late 0 L 5:0 5:10:f32 5:20x2:text 7:0", "write --json L 5:0=1",
          "write --json --timeout 600 --late 0 L 5:0@9=1", "write --json --timeout 600 --late 0 L 6:1=1",
          "poll --json --timeout 600 --late 0 --count 3 L 5:0 5:0@9"})
        for (const QJsonObject &object : runFgs(line, controller.link()).objects())
            collectKeys(object, keys);
    EXPECT_GT(keys.size(), 40U);
    const QString text = page();
    for (const std::string &key : keys)
        EXPECT_TRUE(
            text.contains(QRegularExpression(QStringLiteral("[`\"]%1[`\"]").arg(QString::fromStdString(key)))))
            << key;
}

} // namespace
