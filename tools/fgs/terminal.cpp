#include "terminal.h"

#include <atomic>
#include <cstring>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

namespace fgs
{

namespace
{

// The alternate screen, without its cursor and without wrapped lines; and back.
const char Enter[] = "\x1b[?1049h\x1b[?25l\x1b[?7l";
const char Leave[] = "\x1b[?7h\x1b[?25h\x1b[?1049l";

const char Home[] = "\x1b[H";
const char ClearToEndOfLine[] = "\x1b[K";
const char ClearBelow[] = "\x1b[J";

std::atomic<bool> entered{false};
std::atomic<bool> changed{false};
termios before; ///< valid while `changed`

bool writeAll(const char *bytes, std::size_t size)
{
    while (size > 0) {
        const ssize_t written = write(STDOUT_FILENO, bytes, size);
        if (written < 0 && errno != EINTR && errno != EAGAIN)
            return false;
        if (written > 0) {
            bytes += written;
            size -= static_cast<std::size_t>(written);
        }
    }
    return true;
}

/// Keys one by one and unseen; Ctrl-C still is a signal, the others are none.
bool listen()
{
    if (tcgetattr(STDIN_FILENO, &before) != 0)
        return false;
    termios settings = before;
    settings.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO);
    settings.c_cc[VMIN] = 0;
    settings.c_cc[VTIME] = 0;
    settings.c_cc[VSUSP] = _POSIX_VDISABLE;
    settings.c_cc[VQUIT] = _POSIX_VDISABLE;
    changed = tcsetattr(STDIN_FILENO, TCSANOW, &settings) == 0;
    return changed;
}

} // namespace

bool Terminal::canDraw()
{
    return isatty(STDOUT_FILENO) && qgetenv("TERM") != "dumb";
}

Terminal::Terminal()
{
    const bool isForeground = isatty(STDIN_FILENO) && tcgetpgrp(STDIN_FILENO) == getpgrp();
    if (isForeground && listen())
        keyboard = STDIN_FILENO;
    entered = writeAll(Enter, std::strlen(Enter));
}

Terminal::~Terminal()
{
    giveBack();
}

void Terminal::giveBack()
{
    if (changed.exchange(false))
        tcsetattr(STDIN_FILENO, TCSANOW, &before);
    if (entered.exchange(false))
        writeAll(Leave, std::strlen(Leave));
}

Terminal::Size Terminal::size()
{
    winsize size = {};
    if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_row == 0 || size.ws_col == 0)
        return {};
    return {size.ws_row, size.ws_col};
}

bool Terminal::draw(const QStringList &lines)
{
    QByteArray text(Home); // cleared in front: behind a full line it would take the last character
    for (int i = 0; i < lines.size(); ++i)
        text += QByteArray(i ? "\r\n" : "") + (i + 1 < lines.size() ? ClearToEndOfLine : ClearBelow) +
                lines[i].toLocal8Bit();
    return writeAll(text.constData(), static_cast<std::size_t>(text.size()));
}

std::vector<Key> Terminal::keys()
{
    char bytes[64];
    for (ssize_t count = 0; (count = read(keyboard, bytes, sizeof bytes)) > 0;)
        typed.append(bytes, static_cast<std::size_t>(count));
    return takeKeys(typed);
}

} // namespace fgs
