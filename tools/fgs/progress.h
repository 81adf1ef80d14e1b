// A line on the terminal that tells how far something is.
#ifndef FGS_TOOL_PROGRESS_H
#define FGS_TOOL_PROGRESS_H

#include "host/link.h"
#include "watch/progress.h"

namespace fgs
{

/// "reading: 34 %, about 12 s left"
QString progressText(const char *what, double share, Time elapsed);

/// Shown from one second on while stderr is a terminal, and gone with the object.
class Progress
{
public:
    /// Not `isWanted`: nothing is ever shown.
    Progress(std::function<Time()> theClock, bool isWanted);
    ~Progress();
    Progress(const Progress &) = delete;
    Progress &operator=(const Progress &) = delete;

    /// For what takes long; of this object.
    ProgressHook hook();

private:
    void report(const char *what, const std::function<double()> &share);

    const std::function<Time()> clock;
    const bool isShown;
    const char *current = nullptr;
    Time begun{0}, nextLook{0};
};

} // namespace fgs

#endif
