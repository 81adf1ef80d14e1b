// A pseudo-terminal in the place of a serial device.
#ifndef TARN_TESTS_PSEUDO_TERMINAL_H
#define TARN_TESTS_PSEUDO_TERMINAL_H

#include <cstdlib>
#include <fcntl.h>
#include <stdexcept>
#include <string>
#include <termios.h>

/// The controlling end of a new one and the path of the other. Throws std::runtime_error.
inline int openPseudoTerminal(std::string &path)
{
    const int master = ::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    char name[128];
    if (master < 0 || ::grantpt(master) != 0 || ::unlockpt(master) != 0 ||
        ::ptsname_r(master, name, sizeof name) != 0)
        throw std::runtime_error("no pseudo-terminal");
    path = name;
    return master;
}

/// The other end, raw. While it is held, whoever opens the path too may come and go. Throws std::runtime_error.
inline int openRaw(const std::string &path)
{
    const int terminal = ::open(path.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC);
    termios settings{};
    if (terminal < 0 || ::tcgetattr(terminal, &settings) != 0)
        throw std::runtime_error("cannot open " + path);
    ::cfmakeraw(&settings);
    if (::tcsetattr(terminal, TCSANOW, &settings) != 0)
        throw std::runtime_error("no raw mode for " + path);
    return terminal;
}

#endif
