#include "channel.h"

namespace fgssim
{

Time now()
{
    return std::chrono::steady_clock::now().time_since_epoch();
}

Channel::Channel(Simulation &shared, const LineTimes &times, Write to, const std::string &prefix, QObject *parent)
    : QObject(parent), conversation(shared, times, prefix), write(std::move(to))
{
    timer.setSingleShot(true);
    timer.setTimerType(Qt::PreciseTimer);
    connect(&timer, &QTimer::timeout, this, [this] {
        conversation.advance(now());
        sendDue();
    });
}

void Channel::receive(const char *bytes, std::size_t count)
{
    conversation.receive(Slice(reinterpret_cast<const Byte *>(bytes), count), now());
    sendDue();
    if (conversation.takeCut() && cut)
        cut();
}

void Channel::sendDue()
{
    const Bytes due = conversation.takeDue(now());
    if (!due.empty() && !write(reinterpret_cast<const char *>(due.data()), due.size()))
        conversation.replyLost();
    wait();
}

void Channel::wait()
{
    using std::chrono::milliseconds;
    const std::optional<Time> event = conversation.nextEvent();
    if (!event)
        return timer.stop();
    const auto left = std::chrono::ceil<milliseconds>(*event - now());
    timer.start(std::max(left, milliseconds(0)));
}

} // namespace fgssim
