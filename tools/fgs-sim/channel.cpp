#include "channel.h"

namespace fgssim
{

namespace
{

Time now()
{
    return std::chrono::duration_cast<Time>(std::chrono::steady_clock::now().time_since_epoch());
}

} // namespace

Channel::Channel(Simulation &shared, const Timing &times, Write to, const std::string &prefix, QObject *parent)
    : QObject(parent), session(shared, times, prefix), write(std::move(to))
{
    timer.setSingleShot(true);
    timer.setTimerType(Qt::PreciseTimer);
    connect(&timer, &QTimer::timeout, this, [this] {
        session.advance(now());
        sendDue();
    });
}

void Channel::receive(const char *bytes, std::size_t count)
{
    session.receive(Slice(reinterpret_cast<const Byte *>(bytes), count), now());
    sendDue();
}

void Channel::sendDue()
{
    const Bytes due = session.takeDue(now());
    if (!due.empty() && !write(reinterpret_cast<const char *>(due.data()), due.size()))
        session.replyLost();
    wait();
}

void Channel::wait()
{
    using std::chrono::milliseconds;
    const std::optional<Time> event = session.nextEvent();
    if (!event)
        return timer.stop();
    const auto left = std::chrono::ceil<milliseconds>(*event - now());
    timer.start(std::max(left, milliseconds(0)));
}

} // namespace fgssim
