// The terminal while a table is shown on it.
#ifndef FGS_TOOL_TERMINAL_H
#define FGS_TOOL_TERMINAL_H

#include "keys.h"

#include <QtCore/QStringList>

namespace fgs
{

/// From construction to destruction the table's own screen is shown, and keys come as they are pressed. There is
/// one.
class Terminal
{
public:
    struct Size {
        int rows = 24;
        int columns = 80;
    };

    /// Whether stdout is a terminal that can be drawn on.
    static bool canDraw();

    Terminal();
    ~Terminal();
    Terminal(const Terminal &) = delete;
    Terminal &operator=(const Terminal &) = delete;

    static Size size();
    /// Fills the screen. False: the terminal is gone.
    static bool draw(const QStringList &lines);

    /// Where keys come from, for poll(); -1: there are none.
    int input() const { return keyboard; }
    /// Takes what has been typed.
    std::vector<Key> keys();

    /// Leaves the table's screen and restores the settings. A signal handler may call it, and call it twice.
    static void giveBack();

private:
    int keyboard = -1;
    std::string typed;
};

} // namespace fgs

#endif
