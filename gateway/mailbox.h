// Between the line's thread and the network's: neither waits for the other.
#ifndef FGS_GATEWAY_MAILBOX_H
#define FGS_GATEWAY_MAILBOX_H

#include "sample.h"

#include <algorithm>
#include <deque>
#include <memory>
#include <mutex>

namespace fgs
{

/// An event that poll() can wait for.
class Bell
{
public:
    /// Throws std::runtime_error if the system has no descriptor left.
    Bell();
    ~Bell();
    Bell(const Bell &) = delete;
    Bell &operator=(const Bell &) = delete;

    /// Any thread.
    void ring() const;
    /// Takes all rings back.
    void hush() const;
    int descriptor() const { return event; }

private:
    const int event;
};

/// Bounded: when `most` snapshots wait, the oldest one is thinned. Of a tag with a newer value behind it the old
/// one is dropped and counted, what is left of it joins the next. So the newest value of every tag always arrives.
class Mailbox
{
public:
    explicit Mailbox(std::size_t most = 1024) : mostSnapshots(std::max(most, std::size_t(1))) {}

    // The line's thread.
    void post(Snapshot snapshot);
    void post(const LineState &state);
    void post(const LineEvent &event, Epoch when);

    // The network's thread.
    std::vector<Snapshot> takeSnapshots(); ///< oldest first
    LineState state() const;               ///< to be asked for after what is taken: it does not silence the bell
    std::shared_ptr<const LineState> sharedState() const; ///< the same, not copied
    struct Event {
        LineEvent event;
        Epoch when;
    };
    /// Oldest first; of more than 256 the oldest are dropped.
    std::vector<Event> takeEvents();
    quint64 dropped() const; ///< values

    int descriptor() const
    {
        return bell.descriptor();
    } ///< readable when something was posted; both take*() end that

private:
    void count(const Snapshot &snapshot);
    void thinOldest();

    const std::size_t mostSnapshots;
    mutable std::mutex mutex;
    Bell bell;
    std::deque<Snapshot> snapshots;
    std::vector<std::uint32_t> waiting; ///< samples in them, by tag
    std::deque<Event> events;
    std::shared_ptr<const LineState> newest = std::make_shared<LineState>();
    quint64 droppedValues = 0;
};

} // namespace fgs

#endif
