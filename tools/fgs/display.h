// What `fgs poll` shows while it runs.
#ifndef FGS_TOOL_DISPLAY_H
#define FGS_TOOL_DISPLAY_H

#include "output.h"

namespace fgs
{

class Display
{
public:
    virtual ~Display() = default;
    /// How long to wait from one show() to the next.
    virtual Time pause() const = 0;
    virtual void show(const std::vector<Row> &rows, const Host &host, Time elapsed, Time now) = 0;
    /// What happens to the link: to stderr, unless it has a better place.
    virtual void remark(const QString &text) { printMessage(QStringLiteral("fgs: ") + text); }
};

/// A line for each variable that has changed, with the seconds since the start.
std::unique_ptr<Display> makeLines(Format format, bool json);
/// All variables with the ages of their values, drawn over and over on a terminal.
std::unique_ptr<Display> makeTable(Format format);

} // namespace fgs

#endif
