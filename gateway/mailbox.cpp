#include "mailbox.h"

#include <algorithm>
#include <iterator>
#include <stdexcept>
#include <sys/eventfd.h>
#include <unistd.h>
#include <utility>

namespace fgs
{

namespace
{

const std::size_t MostEvents = 256;

} // namespace

Bell::Bell() : event(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
{
    if (event < 0)
        throw std::runtime_error("cannot make an event descriptor: the system has none left");
}

Bell::~Bell()
{
    ::close(event);
}

void Bell::ring() const
{
    eventfd_write(event, 1); // fails only when it is full, and then it is readable already
}

void Bell::hush() const
{
    eventfd_t rings = 0;
    eventfd_read(event, &rings); // fails only when there are none
}

void Mailbox::post(Snapshot snapshot)
{
    if (snapshot.empty())
        return;
    const std::lock_guard lock(mutex);
    count(snapshot);
    snapshots.push_back(std::move(snapshot));
    if (snapshots.size() > mostSnapshots)
        thinOldest();
    bell.ring();
}

void Mailbox::post(const LineState &state)
{
    const std::lock_guard lock(mutex);
    newest = std::make_shared<const LineState>(state);
    bell.ring();
}

void Mailbox::post(const LineEvent &event, Epoch when)
{
    const std::lock_guard lock(mutex);
    if (events.size() == MostEvents)
        events.pop_front();
    events.push_back({event, when});
    bell.ring();
}

std::vector<Snapshot> Mailbox::takeSnapshots()
{
    const std::lock_guard lock(mutex);
    if (events.empty())
        bell.hush();
    std::fill(waiting.begin(), waiting.end(), 0);
    std::deque<Snapshot> taken = std::exchange(snapshots, {});
    return {std::make_move_iterator(taken.begin()), std::make_move_iterator(taken.end())};
}

LineState Mailbox::state() const
{
    return *sharedState();
}

std::shared_ptr<const LineState> Mailbox::sharedState() const
{
    const std::lock_guard lock(mutex);
    return newest;
}

std::vector<Mailbox::Event> Mailbox::takeEvents()
{
    const std::lock_guard lock(mutex);
    if (snapshots.empty())
        bell.hush();
    const std::deque<Event> taken = std::exchange(events, {});
    return {taken.begin(), taken.end()};
}

quint64 Mailbox::dropped() const
{
    const std::lock_guard lock(mutex);
    return droppedValues;
}

void Mailbox::count(const Snapshot &snapshot)
{
    const std::size_t tags = snapshot.back().tag + 1;
    if (waiting.size() < tags)
        waiting.resize(tags);
    for (const Sample &sample : snapshot)
        ++waiting[sample.tag];
}

void Mailbox::thinOldest()
{
    Snapshot oldest = std::move(snapshots.front());
    snapshots.pop_front();
    const auto isReplaced = [this](const Sample &sample) { return waiting[sample.tag] > 1; };
    const auto kept = std::stable_partition(oldest.begin(), oldest.end(), isReplaced);
    for (auto sample = oldest.begin(); sample != kept; ++sample)
        --waiting[sample->tag];
    droppedValues += static_cast<quint64>(kept - oldest.begin());
    Snapshot &next = snapshots.front();
    Snapshot joined;
    joined.reserve(static_cast<std::size_t>(oldest.end() - kept) + next.size());
    std::merge(std::make_move_iterator(kept), std::make_move_iterator(oldest.end()),
               std::make_move_iterator(next.begin()), std::make_move_iterator(next.end()),
               std::back_inserter(joined), [](const Sample &a, const Sample &b) { return a.tag < b.tag; });
    next = std::move(joined);
}

} // namespace fgs
