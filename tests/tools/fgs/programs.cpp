#include "programs.h"

#include "host/variable.h"

#include <csignal>
#include <gtest/gtest.h>
#include <memory>
#include <QtCore/QCoreApplication>
#include <QtCore/QJsonDocument>
#include <QtCore/QRegularExpression>

namespace
{

/// QProcess wants an application.
class Application : public ::testing::Environment
{
public:
    void SetUp() override { application = std::make_unique<QCoreApplication>(nameOnly, arguments); }
    void TearDown() override { application.reset(); }

private:
    int nameOnly = 1;
    char name[6] = "tests";
    char *arguments[2] = {name, nullptr};
    std::unique_ptr<QCoreApplication> application;
};

const auto *const environment = ::testing::AddGlobalTestEnvironment(new Application);

} // namespace

std::vector<QJsonObject> Result::objects() const
{
    std::vector<QJsonObject> objects;
    for (const QString &line : lines()) {
        const QJsonDocument document = QJsonDocument::fromJson(line.toUtf8());
        EXPECT_TRUE(document.isObject()) << line.toStdString();
        objects.push_back(document.object());
    }
    return objects;
}

QJsonObject Result::summary() const
{
    const std::vector<QJsonObject> all = objects();
    return all.empty() ? QJsonObject() : all.back().value(QStringLiteral("summary")).toObject();
}

Program::Program(const QString &name, const QStringList &arguments)
{
    process.start(QStringLiteral(TARN_BINARY_DIR "/") + name, arguments, QIODevice::ReadOnly);
    EXPECT_TRUE(process.waitForStarted(LongWait)) << process.errorString().toStdString();
}

Program::~Program()
{
    if (process.state() == QProcess::NotRunning)
        return;
    process.terminate();
    process.waitForFinished(LongWait);
}

QString Program::line(QProcess::ProcessChannel channel)
{
    process.setReadChannel(channel);
    while (!process.canReadLine() && process.waitForReadyRead(LongWait)) {
    }
    return QString::fromUtf8(process.readLine()).trimmed();
}

void Program::interrupt()
{
    ::kill(static_cast<pid_t>(process.processId()), SIGINT);
}

Result Program::wait()
{
    EXPECT_TRUE(process.state() == QProcess::NotRunning || process.waitForFinished(LongWait));
    EXPECT_EQ(process.exitStatus(), QProcess::NormalExit);
    return {process.exitCode(), QString::fromUtf8(process.readAllStandardOutput()),
            QString::fromUtf8(process.readAllStandardError())};
}

Result runFgs(const QStringList &arguments)
{
    return Program(QStringLiteral("fgs"), arguments).wait();
}

Simulator::Simulator(const QStringList &arguments)
    : program(QStringLiteral("fgs-sim"), arguments + QStringList{QStringLiteral("--log"), QStringLiteral("quiet")})
{
    const QString place = program.line(); // a device, or HOST:PORT
    address = place.startsWith(QLatin1Char('/')) ? place : QStringLiteral("tcp:") + place;
}

int Simulator::endAndCountRequests()
{
    program.interrupt();
    const Result result = program.wait();
    const auto number = [&result](const char *form) {
        return QRegularExpression(QLatin1String(form)).match(result.messages).captured(1).toInt();
    };
    return number("requests ([0-9]+)");
}

quint32 patternValue(int station, int area, int address)
{
    const quint32 key = quint32(station) << 24 | quint32(area) << 16 | quint32(address);
    const quint32 full = key * 2654435761u;
    const fgs::Kind kind = fgs::areaOf(area)->kind;
    return kind == fgs::Kind::Bit ? full >> 31 : kind == fgs::Kind::Word ? full >> 16 : full;
}

void expectCountsAddUp(const QJsonObject &summary)
{
    double sum = 0;
    const QJsonObject outcomes = summary.value(QStringLiteral("outcomes")).toObject();
    for (const QString &outcome : outcomes.keys())
        sum += outcomes.value(outcome).toDouble();
    const auto count = [&summary](const char *name) { return summary.value(QLatin1String(name)).toDouble(); };
    EXPECT_GT(sum, 0);
    EXPECT_EQ(count("requests"), sum);
    EXPECT_EQ(sum - outcomes.value(QStringLiteral("good")).toDouble(), count("retries") + count("abandoned"));
}
