// A gateway's network side whose line is the test's own poster.
#ifndef TARN_TESTS_LINELESS_GATEWAY_H
#define TARN_TESTS_LINELESS_GATEWAY_H

#include "gateway/network.h"
#include "support/mqtt_user.h"
#include "watch/value_type.h"

#include <algorithm>
#include <ctime>

namespace lineless
{

using namespace fgs;

const int Tags = 4;

inline GatewaySettings gatewaySettings(const std::vector<int> &ports, int tags = Tags)
{
    GatewaySettings settings;
    settings.name = "press7";
    settings.layout.base = "plant";
    settings.groups = {"oven"};
    settings.broker = brokerSettings(ports, "fgs-gateway-press7");
    for (int i = 0; i < tags; ++i) {
        GatewayTag tag;
        tag.tag = parseTag(QStringLiteral("5:%1:u16").arg(i));
        tag.name = "t" + std::to_string(i);
        settings.tags.push_back(tag);
    }
    return settings;
}

/// Clocks that go on when the test says so.
struct TestClock {
    Moment moment{std::time(nullptr) * Epoch(1000), std::chrono::hours(1)};

    void pass(milliseconds time)
    {
        moment.now += time.count();
        moment.steady += time;
    }
    /// Somebody sets the time of day.
    void jump(milliseconds distance) { moment.now += distance.count(); }
    std::function<Moment()> function() const
    {
        return [this] { return moment; };
    }
};

inline Sample sampleOf(std::size_t tag, quint32 value, Epoch time = 1000)
{
    Sample sample;
    sample.tag = tag;
    sample.quality = Quality::Good;
    sample.time = time;
    sample.values = {value};
    return sample;
}

/// A gateway without a line: the test posts.
struct Gateway {
    explicit Gateway(const GatewaySettings &settings, const std::function<Moment()> &clock = {})
        : network(settings,
                  {mailbox, orders, [this](const std::string &line) { say(line); }, false, ShortPauses, clock})
    {
        LineState up;
        up.isUp = true;
        up.since = 1000;
        up.stations[1] = true;
        mailbox.post(up);
    }

    void post(std::size_t tag, quint32 value, Epoch time) { mailbox.post(Snapshot{sampleOf(tag, value, time)}); }
    void step() { network.step(milliseconds(5), -1); }
    void say(const std::string &line)
    {
        log.push_back(line);
        if (told)
            told(line);
    }
    int timesSaid(const std::string &part) const
    {
        return int(std::count_if(log.begin(), log.end(), [&part](const std::string &line) {
            return line.find(part) != std::string::npos;
        }));
    }
    bool hasSaid(const std::string &part) const { return timesSaid(part) > 0; }
    template <typename Condition>
    void stepUntil(Condition condition)
    {
        while (!condition())
            step();
    }

    Mailbox mailbox;
    OrderDesk orders;
    std::vector<std::string> log;
    std::function<void(const std::string &)> told; ///< each line, when it is said
    Network network;
};

inline bool contains(const std::string &text, const std::string &part)
{
    return text.find(part) != std::string::npos;
}

/// "timestamp":MS of a message.
inline Epoch timeIn(const std::string &payload)
{
    const std::size_t place = payload.find("\"timestamp\":");
    return place == std::string::npos ? -1 : std::stoll(payload.substr(place + 12));
}

/// Until it is so.
template <typename Condition>
void stepBoth(Gateway &gateway, MqttUser &user, Condition condition)
{
    while (!condition()) {
        gateway.step();
        user.step(1);
    }
}

} // namespace lineless

#endif
