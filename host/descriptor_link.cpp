#include "descriptor_link.h"

#include <cerrno>
#include <cstring>
#include <poll.h>
#include <unistd.h>

namespace fgs
{

namespace
{

const Time SendLimit = 5s; ///< a line that takes no bytes for so long is lost

timespec toTimespec(Time span)
{
    const Time bounded = span < Time(0) ? Time(0) : span;
    timespec spec;
    spec.tv_sec = static_cast<time_t>(bounded / 1s);
    spec.tv_nsec = static_cast<long>((bounded % 1s).count());
    return spec;
}

} // namespace

bool DescriptorLink::open()
{
    closeDevice();
    lastError.clear();
    descriptor = openDevice(&lastError);
    return isOpen();
}

Time DescriptorLink::now() const
{
    return std::chrono::steady_clock::now().time_since_epoch();
}

void DescriptorLink::pauseUntil(Time time)
{
    const timespec span = toTimespec(time - now());
    ppoll(nullptr, 0, &span, nullptr);
}

/// The result of ppoll(); a signal does not end the wait.
int DescriptorLink::waitFor(short events, Time deadline) const
{
    pollfd line = {descriptor, events, 0};
    for (;;) {
        const timespec span = toTimespec(deadline - now());
        const int ready = ppoll(&line, 1, &span, nullptr);
        if (ready >= 0 || errno != EINTR)
            return ready;
    }
}

void DescriptorLink::lose(const QString &why)
{
    lastError = why;
    descriptor = -1;
    closeDevice();
}

/// Whether a read or write with this result ended the link; if so, it is closed.
bool DescriptorLink::isFatal(long result)
{
    if (result > 0 || (result < 0 && (errno == EAGAIN || errno == EINTR)))
        return false;
    lose(result == 0 ? QStringLiteral("closed by the other side") : QString::fromLocal8Bit(std::strerror(errno)));
    return true;
}

bool DescriptorLink::send(const char *bytes, int size)
{
    const char *const end = bytes + size;
    while (isOpen() && bytes < end) {
        const ssize_t sent = ::write(descriptor, bytes, static_cast<size_t>(end - bytes));
        if (isFatal(sent))
            return false;
        if (sent > 0)
            bytes += sent;
        else if (waitFor(POLLOUT, now() + SendLimit) == 0)
            lose(QStringLiteral("takes no bytes"));
    }
    return isOpen();
}

int DescriptorLink::receive(char *bytes, int most, Time deadline)
{
    while (isOpen() && waitFor(POLLIN, deadline) != 0) {
        const ssize_t received = ::read(descriptor, bytes, static_cast<size_t>(most));
        if (received > 0)
            return static_cast<int>(received);
        if (isFatal(received))
            break;
    }
    return isOpen() ? 0 : -1;
}

} // namespace fgs
