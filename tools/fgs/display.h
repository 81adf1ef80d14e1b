// What `fgs poll` shows while it runs.
#ifndef FGS_TOOL_DISPLAY_H
#define FGS_TOOL_DISPLAY_H

#include "output.h"
#include "table_view.h"
#include "tools/console.h"
#include "watch/poll_loop.h"

#include <memory>

namespace fgs
{

class Display : public PollObserver
{
public:
    /// A message while it runs.
    virtual void tell(const QString &message) { printMessage(message); }
    /// The poll is over: what is to remain on the terminal is printed.
    virtual void end() {}
};

enum class LineForm { Text, Json, Csv };

/// When lines are printed: at each change of values or quality, or once, at the end.
enum class LineTime { Change, End };

/// A line for each variable. Without `notes` no events as text; JSON has them always. The tags of both outlive
/// them, and stand in the order of the readings.
std::unique_ptr<Display> makeLines(const std::vector<Tag> &tags, const TextStyle &style, const Link &link,
                                   LineForm form, LineTime time, bool notes);
/// All variables with the ages of their values, drawn over and over; keys change the view, and `stop` ends the poll
/// when a key asks for it.
std::unique_ptr<Display> makeTable(const std::vector<Tag> &tags, const TextStyle &style, const Link &link,
                                   const TableView &view, Stop &stop);

} // namespace fgs

#endif
