#include "programs.h"

#include "host/variable.h"

#include <gtest/gtest.h>
#include <QtCore/QJsonDocument>
#include <QtCore/QRegularExpression>

namespace
{

std::vector<std::string> texts(const QStringList &list)
{
    std::vector<std::string> texts;
    for (const QString &text : list)
        texts.push_back(text.toStdString());
    return texts;
}

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

QStringList wordsOf(const QString &line, const QString &link)
{
    QStringList words = line.split(QLatin1Char(' '), Qt::SkipEmptyParts);
    for (QString &word : words)
        if (word == QLatin1String("L"))
            word = link;
    const QStringList asking = {QStringLiteral("read"), QStringLiteral("write"), QStringLiteral("poll")};
    if (asking.contains(words.value(0)) && words.contains(link) && !words.contains(QStringLiteral("--timeout")))
        return words.mid(0, 1) + QStringList{QStringLiteral("--timeout"), QStringLiteral("3600000")} + words.mid(1);
    return words;
}

Program::Program(const QString &name, const QStringList &arguments)
    : process(TARN_BINARY_DIR "/" + name.toStdString(), texts(arguments))
{
}

void Program::interrupt(int number)
{
    process.signal(number);
}

Result Program::wait()
{
    const QString out = QString::fromStdString(process.restOfOutput());
    const QString messages = QString::fromStdString(process.restOfLog());
    return {process.wait(), out, messages};
}

Result runFgs(const QStringList &arguments)
{
    return Program(QStringLiteral("fgs"), arguments).wait();
}

Simulator::Simulator(const QStringList &arguments)
    : program(QStringLiteral("fgs-sim"), arguments + QStringList{QStringLiteral("--log"), QStringLiteral("quiet")})
{
    address = program.line();
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
    const fgs::AreaKind kind = fgs::areaOf(area)->kind;
    return kind == fgs::AreaKind::Bit ? full >> 31 : kind == fgs::AreaKind::Word ? full >> 16 : full;
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
    EXPECT_EQ(sum - outcomes.value(QStringLiteral("good")).toDouble(),
              count("retries") + count("abandoned") + outcomes.value(QStringLiteral("linkLost")).toDouble());
}
