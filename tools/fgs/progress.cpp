#include "progress.h"

#include "tools/console.h"

#include <cmath>
#include <unistd.h>

namespace fgs
{

namespace
{

const Time Patience = 1s;   ///< of people, without being told
const Time Between = 200ms; ///< two looks

QString durationText(double seconds)
{
    const auto whole = static_cast<qint64>(std::ceil(seconds));
    return whole < 120 ? QStringLiteral("%1 s").arg(whole)
                       : QStringLiteral("%1 min %2 s").arg(whole / 60).arg(whole % 60);
}

} // namespace

QString progressText(const char *what, double share, Time elapsed)
{
    QString text = QStringLiteral("%1: %2 %").arg(QLatin1String(what)).arg(std::floor(100 * share));
    if (share <= 0)
        return text;
    const double spent = std::chrono::duration<double>(elapsed).count();
    return text + QStringLiteral(", about %1 left").arg(durationText(spent * (1 - share) / share));
}

Progress::Progress(std::function<Time()> theClock, bool isWanted)
    : clock(std::move(theClock)), isShown(isWanted && isatty(STDERR_FILENO) && qgetenv("TERM") != "dumb")
{
}

Progress::~Progress()
{
    showStatus(QString());
}

ProgressHook Progress::hook()
{
    if (!isShown)
        return {};
    return [this](const char *what, const std::function<double()> &share) { report(what, share); };
}

void Progress::report(const char *what, const std::function<double()> &share)
{
    const Time now = clock();
    if (what != current) {
        current = what;
        begun = now;
        nextLook = now + Patience;
    }
    if (now < nextLook)
        return;
    nextLook = now + Between;
    showStatus(progressText(what, share(), now - begun));
}

} // namespace fgs
