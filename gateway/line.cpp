#include "line.h"

#include "host/text_error.h"

#include <algorithm>
#include <utility>

namespace fgs
{

namespace
{

const Time OrderPatience = 5s;   ///< for a lost link, when an order is read back
const Time StatisticsPause = 1s; ///< between two states that only count on

/// Nothing of it was sent.
OrderEnd unsentEnd(const Order &order)
{
    OrderEnd end;
    end.number = order.number;
    std::transform(order.assignments.begin(), order.assignments.end(), std::back_inserter(end.reports), notSent);
    return end;
}

/// Times of the link's clock in the time of day: one time is always the same, whatever the clock does meanwhile.
class Epochs
{
public:
    explicit Epochs(const WallClock &theClock) : clock(theClock) {}

    Epoch of(Time when)
    {
        if (when != last) {
            last = when;
            epoch = std::chrono::duration_cast<milliseconds>(clock.sinceEpoch(when)).count();
        }
        return epoch;
    }

private:
    const WallClock &clock;
    Time last = Never;
    Epoch epoch = 0;
};

/// Whether the stations answer, from what is read and what is told of the line.
class StationsUp
{
public:
    explicit StationsUp(const std::vector<Variable> &variables)
    {
        for (const Variable &variable : variables)
            stations[variable.station] = {};
    }

    /// Returns whether that is news. What a station answered before it was lost says nothing.
    bool answered(int station, Time when)
    {
        Standing &standing = stations[station];
        return when > standing.lost && !std::exchange(standing.answers, true);
    }
    void lost(int station, Time when) { stations[station] = {false, when}; }
    void allLost(Time when)
    {
        for (auto &[station, standing] : stations)
            standing = {false, when};
    }
    std::map<int, bool> all() const
    {
        std::map<int, bool> answers;
        for (const auto &[station, standing] : stations)
            answers[station] = standing.answers;
        return answers;
    }

private:
    struct Standing {
        bool answers = false;
        Time lost = Never;
    };
    std::map<int, Standing> stations;
};

/// Time from the start of each request to the end of its answer, or to when it was given up. Sending it is in that;
/// the silence before a request is not.
class BusyTime
{
public:
    void note(const TraceEntry &entry)
    {
        if (entry.event == TraceEntry::Sent)
            sentAt = entry.time;
        else if (entry.event == TraceEntry::Received)
            total += entry.time - sentAt;
    }
    milliseconds sum() const { return std::chrono::duration_cast<milliseconds>(total); }

private:
    Time sentAt{0}, total{0};
};

/// The host of a line while it is polled.
class LineRun : public PollObserver
{
public:
    LineRun(const GatewaySettings &settings, Link &theLink, const WallClock &clock,
            const LineLoop::Wiring &theWiring)
        : link(theLink), wiring(theWiring), interval(settings.interval), variables(settings.variables()),
          told(variables.size()), epochs(clock), stations(variables),
          host(linkedDriver(), link, variables, settings.host)
    {
        host.setTrace([this](const TraceEntry &entry) {
            busy.note(entry);
            if (wiring.trace)
                wiring.trace(entry);
        });
    }

    void run()
    {
        stand(link.isOpen() || link.open(), link.now(), link.error());
        PollLoop(host, link, variables, {interval, 0}, *this).run();
        while (const std::optional<Order> order = wiring.orders.take())
            wiring.orders.finish(unsentEnd(*order));
        postState();
    }

    void updated(const std::vector<Reading> &readings, const std::vector<std::size_t> &which) override
    {
        Snapshot snapshot;
        snapshot.reserve(which.size());
        bool areStationsNews = false;
        for (std::size_t tag : which) {
            snapshot.push_back(sampleOf(tag, readings[tag]));
            if (readings[tag].quality == Quality::Good)
                areStationsNews |= stations.answered(variables[tag].station, readings[tag].time);
        }
        wiring.mailbox.post(std::move(snapshot));
        if (areStationsNews)
            postState();
    }

    void happened(const LineEvent &event) override
    {
        wiring.mailbox.post(event, epochs.of(event.time));
        switch (event.kind) {
        case LineEvent::LinkLost:
            stations.allLost(event.time);
            return stand(false, event.time, event.text);
        case LineEvent::LinkOpen:
            return stand(true, event.time, {});
        case LineEvent::StationDown:
            stations.lost(event.station, event.time);
            return postState();
        case LineEvent::StationUp:
            if (stations.answered(event.station, event.time))
                postState();
            return;
        default:
            return;
        }
    }

    bool betweenRequests() override
    {
        wiring.alive();
        refreshState();
        const std::optional<Order> order = wiring.orders.take();
        if (!order)
            return false;
        wiring.orders.finish(wiring.readOnly ? unsentEnd(*order) : carriedOut(*order));
        return !wiring.readOnly;
    }

private:
    /// What was told of a tag last.
    struct Told {
        Time time = Never;
        Epoch epoch = 0;
        std::vector<quint32> values;
    };

    Sample sampleOf(std::size_t tag, const Reading &reading)
    {
        Sample sample;
        sample.tag = tag;
        sample.quality = reading.quality;
        sample.reason = reading.reason;
        if (reading.quality == Quality::Unknown) {
            sample.time = epochs.of(link.now());
            return sample;
        }
        note(told[tag], reading);
        sample.time = told[tag].epoch;
        sample.values = told[tag].values;
        return sample;
    }

    /// The driver's image shows a write at once; what the controller holds is known only by reading it later.
    void note(Told &before, const Reading &reading)
    {
        if (before.time == Never || reading.time > lastOrder)
            before.values = reading.values;
        if (before.time != reading.time)
            before.epoch = epochs.of(reading.time);
        before.time = reading.time;
    }

    OrderEnd carriedOut(const Order &order)
    {
        lastOrder = link.now();
        try {
            OrderEnd end;
            end.number = order.number;
            end.reports = writeAll(host, link, order.assignments, OrderPatience,
                                   [this](const char *, const std::function<double()> &) { wiring.alive(); });
            for (std::size_t i = 0; i < order.tags.size(); ++i)
                end.heldTimes.push_back(heldTime(order.tags[i], end.reports[i].held));
            end.isLinkLost =
                end.reports.front().result == WriteResult::NotSent && !link.isOpen() && !link.isEnded();
            return end;
        } catch (const TextError &) { // of an area that nobody can write, before anything was sent
            return unsentEnd(order);
        }
    }

    /// As it will be told of the tag, if it is all of it. 0 if nothing was read back.
    Epoch heldTime(std::size_t tag, const Reading &held)
    {
        if (held.quality == Quality::Unknown)
            return 0;
        if (held.variable.count < variables[tag].count)
            return epochs.of(held.time);
        note(told[tag], held);
        return told[tag].epoch;
    }

    void stand(bool isUp, Time since, const QString &error)
    {
        state.isUp = isUp;
        state.since = epochs.of(since);
        state.error = isUp ? std::string() : error.toStdString();
        postState();
    }

    /// Why the link cannot be opened may change while it is tried.
    void refreshState()
    {
        std::string error = state.isUp ? std::string() : link.error().toStdString();
        if (error == state.error && link.now() < posted + StatisticsPause)
            return;
        state.error = std::move(error);
        postState();
    }

    void postState()
    {
        state.stations = stations.all();
        state.statistics = host.statistics();
        state.busy = busy.sum();
        wiring.mailbox.post(state);
        posted = link.now();
    }

    Link &link;
    const LineLoop::Wiring &wiring;
    const Time interval;
    const std::vector<Variable> variables;
    std::vector<Told> told; ///< by tag
    Epochs epochs;
    StationsUp stations;
    BusyTime busy;
    LineState state;
    Time posted{0};
    Time lastOrder = Never;
    Host host;
};

} // namespace

LineLoop::LineLoop(const GatewaySettings &theSettings, Link &theLink, const WallClock &theClock,
                   const Wiring &theWiring)
    : settings(theSettings), link(theLink), clock(theClock), wiring(theWiring)
{
}

void LineLoop::run()
{
    LineRun(settings, link, clock, wiring).run();
}

} // namespace fgs
