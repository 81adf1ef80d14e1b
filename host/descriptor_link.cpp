#include "descriptor_link.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <poll.h>
#include <unistd.h>

namespace fgs
{

namespace
{

const Time SendLimit = 5s; ///< a line that takes no bytes for so long is lost

/// Why a read or write failed, in plain words where the system's own are not.
QString lossOf(int code)
{
    switch (code) {
    case ECONNRESET:
    case EPIPE:
        return QStringLiteral("closed by the other side");
    case ETIMEDOUT:
        return QStringLiteral("the other side does not answer any more");
    case EIO:
    case ENXIO:
    case ENODEV:
        return QStringLiteral("the device is gone");
    default:
        return QString::fromLocal8Bit(std::strerror(code));
    }
}

/// At most a year, which any system's timespec holds.
timespec toTimespec(Time span)
{
    const Time bounded = std::clamp<Time>(span, 0s, 365 * 24h);
    timespec spec;
    spec.tv_sec = static_cast<time_t>(bounded / 1s);
    spec.tv_nsec = static_cast<long>((bounded % 1s).count());
    return spec;
}

} // namespace

bool DescriptorLink::open()
{
    descriptor = -1;
    closeDevice();
    lastError.clear();
    if (!isEnded())
        descriptor = openDevice(&lastError);
    if (!isOpen())
        lose(lastError.isEmpty() ? QStringLiteral("interrupted") : lastError);
    return isOpen();
}

Time DescriptorLink::now() const
{
    return std::chrono::steady_clock::now().time_since_epoch();
}

void DescriptorLink::pauseUntil(Time time)
{
    waitFor(-1, 0, time);
}

/// A signal as such does not end the wait.
bool DescriptorLink::waitFor(int fd, short events, Time deadline) const
{
    pollfd sources[] = {{fd, events, 0}, {stop ? stop->descriptor() : -1, POLLIN, 0}};
    for (;;) {
        const timespec span = toTimespec(std::min(deadline, endTime) - now());
        if (ppoll(sources, 2, &span, nullptr) >= 0 || errno != EINTR)
            return sources[0].revents != 0;
    }
}

void DescriptorLink::lose(const QString &why)
{
    lastError = why;
    descriptor = -1;
    closeDevice();
}

/// Whether a read or write with this result ended the link; if so, it is closed.
bool DescriptorLink::isFatal(ssize_t result)
{
    if (result > 0 || (result < 0 && (errno == EAGAIN || errno == EINTR)))
        return false;
    lose(lossOf(result != 0 ? errno : isConnection() ? EPIPE : ENODEV));
    return true;
}

ssize_t DescriptorLink::write(int fd, const char *bytes, size_t size)
{
    return ::write(fd, bytes, size);
}

QString DescriptorLink::whyNotSent(qint64 sent, int size) const
{
    return QStringLiteral("%1 after %2 of %3 bytes")
        .arg(isEnded() ? QStringLiteral("interrupted") : QStringLiteral("takes no more bytes"))
        .arg(sent)
        .arg(size);
}

bool DescriptorLink::send(const char *bytes, int size)
{
    const char *rest = bytes;
    const char *const end = bytes + size;
    while (isOpen() && rest < end) {
        const ssize_t sent = write(descriptor, rest, static_cast<size_t>(end - rest));
        if (isFatal(sent))
            return false;
        if (sent > 0)
            rest += sent;
        else if (!waitFor(descriptor, POLLOUT, now() + SendLimit))
            lose(whyNotSent(rest - bytes, size));
    }
    return isOpen();
}

int DescriptorLink::receive(char *bytes, int most, Time deadline)
{
    while (isOpen() && waitFor(descriptor, POLLIN, deadline)) {
        const ssize_t received = ::read(descriptor, bytes, static_cast<size_t>(most));
        if (received > 0)
            return static_cast<int>(received);
        if (isFatal(received))
            break;
    }
    return isOpen() ? 0 : -1;
}

} // namespace fgs
