// The live table, on a pseudo-terminal, and controllers that the simulator does not play.
#include "programs.h"
#include "support/frames.h"
#include "support/loopback.h"
#include "support/serial_ports.h"

#include <gtest/gtest.h>
#include <pty.h>
#include <QtCore/QRegularExpression>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace
{

struct Shown {
    int code;
    QString text; ///< everything that was written to the terminal
};

/// Runs fgs on a terminal of 8 lines and 70 columns until it ends.
Shown onTerminal(const QString &arguments, const char *environment)
{
    std::vector<std::string> command = commandOf(TARN_BINARY_DIR "/fgs");
    for (const QString &argument : arguments.split(QLatin1Char(' ')))
        command.push_back(argument.toStdString());
    std::vector<char *> list;
    for (std::string &word : command)
        list.push_back(word.data());
    list.push_back(nullptr);
    winsize size = {8, 70, 0, 0};
    int terminal = -1;
    const pid_t child = forkpty(&terminal, nullptr, nullptr, &size);
    if (child == 0) {
        ::putenv(const_cast<char *>(environment));
        ::execv(list[0], list.data());
        ::_exit(127);
    }
    QByteArray all;
    char buffer[4096];
    for (ssize_t count; (count = ::read(terminal, buffer, sizeof buffer)) > 0;)
        all.append(buffer, int(count));
    ::close(terminal);
    int status = 0;
    ::waitpid(child, &status, 0);
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, QString::fromUtf8(all)};
}

const QString Red = QStringLiteral("\x1b[31m");

TEST(Table, IsDrawnOverAndOver)
{
    NEEDS_SERIAL_PORTS();
    Simulator simulator({QStringLiteral("--values"), QStringLiteral("still")});
    const Shown shown = onTerminal(
        QStringLiteral("poll %1 5:100x2 1:7 --count 6 --interval 120 --timeout 3600000").arg(simulator.link()),
        "TERM=xterm");
    EXPECT_EQ(shown.code, 0);
    EXPECT_TRUE(shown.text.contains(QLatin1String(" s  5:100x2@1       word         wire 0x08:100    0 0")))
        << shown.text.toStdString();
    EXPECT_GE(shown.text.count(QLatin1String("\x1b[3A\r")), 2) << "back over two rows and a status line";
    EXPECT_TRUE(shown.text.contains(QLatin1String(" requests, 0 failed, Ctrl-C ends")));
    EXPECT_TRUE(shown.text.contains(QLatin1String(" requests in "))) << "the summary";
    EXPECT_FALSE(shown.text.contains(Red));
}

TEST(Table, ShowsTheReasonInRed)
{
    NEEDS_SERIAL_PORTS();
    Simulator simulator;
    const QString poll =
        QStringLiteral("poll %1 5:0 5:0@9 --timeout 2000 --retries 0 --count 1").arg(simulator.link());
    const Shown shown = onTerminal(poll, "TERM=xterm");
    EXPECT_EQ(shown.code, 8);
    EXPECT_TRUE(shown.text.contains(Red));
    EXPECT_TRUE(shown.text.contains(QLatin1String("5:0@9           word         wire 0x08:0      -")))
        << shown.text.toStdString();
    const Shown plain = onTerminal(poll, "NO_COLOR=1");
    EXPECT_FALSE(plain.text.contains(Red));
}

TEST(Table, FitsOnTheTerminal)
{
    NEEDS_SERIAL_PORTS();
    Simulator simulator;
    const Shown shown = onTerminal(QStringLiteral("poll %1 5:0x90 5:100 5:101 5:102 5:103 5:104 5:105 5:106 "
                                                  "--count 6 --interval 120 --timeout 3600000 --quiet")
                                       .arg(simulator.link()),
                                   "TERM=xterm");
    EXPECT_TRUE(shown.text.contains(QLatin1String("3 more variables; "))) << shown.text.toStdString();
    static const QRegularExpression escapes(QStringLiteral("\x1b\\[[0-9]*[A-Za-z]"));
    for (QString line : shown.text.split(QRegularExpression(QStringLiteral("[\r\n]+"))))
        EXPECT_LT(line.remove(escapes).size(), 70) << line.toStdString();
}

TEST(Table, NeedsATerminalThatCanDraw)
{
    NEEDS_SERIAL_PORTS();
    Simulator simulator;
    const Shown shown =
        onTerminal(QStringLiteral("poll %1 5:0 --count 1 --timeout 3600000").arg(simulator.link()), "TERM=dumb");
    EXPECT_FALSE(shown.text.contains(QLatin1Char('\x1b')));
    EXPECT_TRUE(shown.text.contains(QLatin1String("5:0@1")));
}

/// A controller on TCP that acknowledges every write and does none: all its registers are 0.
class ForgetfulController
{
public:
    ForgetfulController() : listener(listenOnLoopback(port)), server([this] { serve(); }) {}
    ~ForgetfulController()
    {
        server.join();
        ::close(listener);
    }
    QString link() const { return QStringLiteral("tcp:127.0.0.1:%1").arg(port); }

private:
    /// One host, until it goes. Requests come whole over the loopback.
    void serve() const
    {
        const int host = ::accept(listener, nullptr, nullptr);
        char buffer[4096];
        for (ssize_t count; (count = ::read(host, buffer, sizeof buffer)) > 0;) {
            const QByteArray reply = answer(QByteArray(buffer, int(count)));
            EXPECT_EQ(::write(host, reply.constData(), size_t(reply.size())), reply.size());
        }
        ::close(host);
    }

    /// Words only.
    static QByteArray answer(const QByteArray &request)
    {
        if (request.at(1) == char(0xFF))
            return request.left(1) + QByteArray::fromHex("FF20");
        return frames::sealed(request.left(5) + QByteArray(2 * request.at(4), 0));
    }

    int port;
    int listener;
    std::thread server;
};

TEST(Write, ReportsWhatTheControllerHoldsInstead)
{
    ForgetfulController controller;
    const Result result = runFgs(
        QStringLiteral("write %1 5:100=7,8 --timeout 3600000").arg(controller.link()).split(QLatin1Char(' ')));
    EXPECT_EQ(result.code, 7);
    EXPECT_TRUE(result.out.endsWith(QLatin1String("wire 0x08:100    0 0\n"))) << result.out.toStdString();
    EXPECT_EQ(result.messages.section(QLatin1Char('\n'), 0, 0).toStdString(),
              "fgs: variable '5:100x2@1': wrote 7 8, but the controller holds 0 0");
}

TEST(Write, ReportsItInJsonToo)
{
    ForgetfulController controller;
    const Result result = runFgs(QStringLiteral("write %1 5:100=7 --timeout 3600000 --json --quiet")
                                     .arg(controller.link())
                                     .split(QLatin1Char(' ')));
    EXPECT_EQ(result.code, 7);
    ASSERT_EQ(result.objects().size(), 1u);
    EXPECT_EQ(result.objects()[0].value(QStringLiteral("verified")), QJsonValue(false));
}

} // namespace
