// Runs a conversation on a stream of bytes in the event loop.
#ifndef FGS_SIM_CHANNEL_H
#define FGS_SIM_CHANNEL_H

#include "sim/conversation.h"

#include <QtCore/QObject>
#include <QtCore/QTimer>

namespace fgssim
{

/// The time of all conversations and of the log; it never goes back.
Time now();

class Channel : public QObject
{
public:
    /// Sends all bytes, or says false: there is no room, because the other side does not read.
    using Write = std::function<bool(const char *bytes, std::size_t count)>;

    Channel(Simulation &shared, const LineTimes &times, Write to, const std::string &prefix = {},
            QObject *parent = nullptr);

    void receive(const char *bytes, std::size_t count);
    /// What a fault that cuts the link does; without it there is silence. Nothing is used behind it.
    void onCut(std::function<void()> use) { cut = std::move(use); }

    /// Most bytes to be read from a link at once.
    static const std::size_t ChunkSize = 4096;

private:
    void sendDue();
    void wait();

    Conversation conversation;
    Write write;
    std::function<void()> cut;
    QTimer timer;
};

} // namespace fgssim

#endif
