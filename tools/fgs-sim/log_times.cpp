#include "log_times.h"

#include "channel.h"

#include <QtCore/QDateTime>

namespace fgssim
{

std::string wallClock()
{
    const QDateTime local = QDateTime::currentDateTime();
    const std::string text = local.toOffsetFromUtc(local.offsetFromUtc()).toString(Qt::ISODateWithMs).toStdString();
    return text.back() == 'Z' ? text.substr(0, text.size() - 1) + "+00:00" : text;
}

Time sinceEpoch(Time when)
{
    return std::chrono::system_clock::now().time_since_epoch() - (now() - when);
}

} // namespace fgssim
