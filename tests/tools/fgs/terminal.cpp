#include "terminal.h"

#include "programs.h"

#include <csignal>
#include <gtest/gtest.h>
#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

Terminal::Terminal(const QString &line, const QString &link, int rows, int columns, const char *environment)
    : drawn(rows, columns)
{
    std::vector<std::string> command = commandOf(TARN_BINARY_DIR "/fgs");
    for (const QString &word : wordsOf(line, link))
        command.push_back(word.toStdString());
    std::vector<char *> list;
    for (std::string &word : command)
        list.push_back(word.data());
    list.push_back(nullptr);
    const winsize size = {static_cast<unsigned short>(rows), static_cast<unsigned short>(columns), 0, 0};
    program = ::forkpty(&terminal, nullptr, nullptr, &size);
    if (program == 0) {
        ::setenv("TERM", "xterm", 1);
        ::unsetenv("NO_COLOR");
        ::putenv(const_cast<char *>(environment));
        ::execv(list[0], list.data());
        ::_exit(127);
    }
}

Terminal::~Terminal()
{
    if (program > 0) {
        ::kill(program, SIGKILL);
        wait();
    }
    ::close(terminal);
}

void Terminal::press(const std::string &keys)
{
    EXPECT_EQ(::write(terminal, keys.data(), keys.size()), ssize_t(keys.size()));
}

bool Terminal::drawMore()
{
    char bytes[4096];
    const ssize_t count = ::read(terminal, bytes, sizeof bytes);
    if (count <= 0)
        return false;
    all.append(bytes, size_t(count));
    drawn.take({bytes, size_t(count)});
    return true;
}

bool Terminal::until(const std::function<bool(const Screen &)> &wanted)
{
    while (!wanted(drawn))
        if (!drawMore())
            return false;
    return true;
}

bool Terminal::untilItShows(const std::string &text)
{
    return until([&text](const Screen &screen) { return screen.shows(text); });
}

int Terminal::wait()
{
    while (drawMore()) {
    }
    int status = 0;
    ::waitpid(program, &status, 0);
    program = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}
