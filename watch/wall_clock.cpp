#include "wall_clock.h"

#include <QtCore/QDateTime>

namespace fgs
{

namespace
{

/// "+01:00"; Qt writes Z for UTC and nothing for the local zone.
QString offsetText(int seconds)
{
    const int minutes = std::abs(seconds) / 60;
    return QStringLiteral("%1%2:%3")
        .arg(QLatin1Char(seconds < 0 ? '-' : '+'))
        .arg(minutes / 60, 2, 10, QLatin1Char('0'))
        .arg(minutes % 60, 2, 10, QLatin1Char('0'));
}

} // namespace

QString WallClock::text(Time when) const
{
    using std::chrono::milliseconds;
    const QDateTime local =
        QDateTime::fromMSecsSinceEpoch(std::chrono::duration_cast<milliseconds>(sinceEpoch(when)).count());
    return local.toString(QStringLiteral("yyyy-MM-ddTHH:mm:ss.zzz")) + offsetText(local.offsetFromUtc());
}

} // namespace fgs
