// fgs on a terminal of its own.
#ifndef FGS_TESTS_TERMINAL_H
#define FGS_TESTS_TERMINAL_H

#include "screen.h"

#include <functional>
#include <QtCore/QString>
#include <sys/types.h>

class Terminal
{
public:
    /// The words of the command line, L standing for the link; environment: one NAME=VALUE more.
    Terminal(const QString &line, const QString &link, int rows = 24, int columns = 80,
             const char *environment = "TERM=xterm");
    Terminal(const Terminal &) = delete;
    Terminal &operator=(const Terminal &) = delete;
    ~Terminal(); ///< kills the program if it is still there

    void press(const std::string &keys);
    /// Draws what comes until the screen is so; false if the program ended before.
    bool until(const std::function<bool(const Screen &)> &wanted);
    bool untilItShows(const std::string &text);
    /// Draws to the end. Returns the exit code, or minus the signal that ended the program.
    int wait();

    const Screen &screen() const { return drawn; }
    /// Everything that was written.
    const std::string &written() const { return all; }

private:
    bool drawMore();

    Screen drawn;
    std::string all;
    int terminal = -1;
    pid_t program = -1;
};

#endif
