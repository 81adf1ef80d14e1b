// The reader of ./bench/plant: subscribes to everything of the plant, and tells what came, how old it was, and
// whether it is right. usage: plant_reader PORT
#include "plant_commands.h"

#include <mosquitto.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <limits>
#include <poll.h>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace
{

using Time = std::int64_t; ///< milliseconds since 1970

const Time Lag = 100; ///< a reader whose newest value is that of so long ago has the current one

/// How old messages were, in steps of 0.1 ms.
class Ages
{
public:
    void add(std::int64_t microseconds)
    {
        const std::int64_t step = std::clamp<std::int64_t>(microseconds / 100, 0, Steps - 1);
        ++counts[std::size_t(step)];
        ++all;
        longest = std::max(longest, microseconds);
    }
    /// Milliseconds, of which so many per mille are not above.
    double perMille(std::int64_t part) const
    {
        std::int64_t left = (all * part + 999) / 1000;
        for (std::size_t i = 0; i < counts.size(); ++i)
            if ((left -= counts[i]) <= 0)
                return double(i + 1) / 10;
        return most();
    }
    double most() const { return double(longest) / 1000; }
    std::int64_t count() const { return all; }

private:
    static const std::int64_t Steps = 600000; ///< a minute
    std::vector<std::int64_t> counts = std::vector<std::int64_t>(std::size_t(Steps));
    std::int64_t all = 0, longest = 0;
};

/// The members "w12":34 of the object behind the key, each given to `use`. False if it reads otherwise.
template <typename Use>
bool readMembers(std::string_view text, std::string_view key, const Use &use)
{
    const std::size_t place = text.find(key);
    if (place == std::string_view::npos)
        return false;
    const char *at = text.data() + place + key.size(), *const end = text.data() + text.size();
    for (const char *before = nullptr; end - at > 4 && *at == '"' && at != before;) {
        int address = 0;
        std::int64_t number = 0;
        before = at;
        at = std::from_chars(at + 2, end, address).ptr + 2;
        at = at < end ? std::from_chars(at, end, number).ptr : before;
        use(address, number);
        at += at < end && *at == ',';
    }
    return at < end && *at == '}';
}

Time timestampOf(std::string_view text)
{
    const std::string_view key = "{\"timestamp\":";
    Time time = 0;
    if (text.substr(0, key.size()) == key)
        std::from_chars(text.data() + key.size(), text.data() + text.size(), time);
    return time;
}

bool endsWith(std::string_view text, std::string_view end)
{
    return text.size() >= end.size() && text.substr(text.size() - end.size()) == end;
}

/// What came of one group of one gateway.
class Group
{
public:
    void arrived(Time time, bool isLive) { (isLive ? live : history).push_back(time); }
    /// The group's values are of this time, as the reader knows since now.
    void note(Time time, Time now)
    {
        newest = std::max(newest, time);
        if (returned == 0 || isSure)
            return;
        notes.push_back({now, newest});
        isSure = now - newest <= Lag;
    }
    void brokerReturned(Time when)
    {
        returned = when;
        notes.clear();
        isSure = false;
    }

    /// All times, each once.
    std::vector<Time> times() const
    {
        std::vector<Time> all = live;
        all.insert(all.end(), history.begin(), history.end());
        std::sort(all.begin(), all.end());
        all.erase(std::unique(all.begin(), all.end()), all.end());
        return all;
    }
    std::size_t lives() const { return live.size(); }
    std::size_t histories() const { return history.size(); }
    /// When the reader first had the current values after the broker's return: the line had read none newer but
    /// those of the last moment. 0: it did not.
    Time rightSince() const
    {
        const std::vector<Time> all = times();
        for (const Note &note : notes) {
            const auto newer = std::upper_bound(all.begin(), all.end(), note.newest);
            if (newer == all.end() || *newer > note.when - Lag)
                return note.when;
        }
        return 0;
    }

private:
    struct Note {
        Time when, newest;
    };
    std::vector<Time> live, history;
    Time newest = 0, returned = 0;
    std::vector<Note> notes; ///< since the broker's return, until one cannot be wrong
    bool isSure = false;
};

class Reader
{
public:
    explicit Reader(int thePort) : port(thePort), client(mosquitto_new("plant-reader", false, this))
    {
        mosquitto_connect_with_flags_callback_set(client, [](mosquitto *of, void *, int code, int flags) {
            if (code == 0 && !(flags & 1)) // no session of before
                mosquitto_subscribe(of, nullptr, "plant/#", 1);
        });
        mosquitto_subscribe_callback_set(client, [](mosquitto *, void *user, int, int, const int *) {
            if (!std::exchange(static_cast<Reader *>(user)->isSubscribed, true))
                plant::answer("\"subscribed\"");
        });
        mosquitto_message_callback_set(client, [](mosquitto *, void *user, const mosquitto_message *message) {
            static_cast<Reader *>(user)->take(*message);
        });
        mosquitto_connect(client, "127.0.0.1", port, 60);
    }
    Reader(const Reader &) = delete;
    Reader &operator=(const Reader &) = delete;
    ~Reader() { mosquitto_destroy(client); }

    /// Until stdin ends.
    void run()
    {
        const int longestWait = 1000, pause = 10;
        for (;;) {
            pollfd wanted[] = {{STDIN_FILENO, POLLIN, 0}, {mosquitto_socket(client), POLLIN, 0}};
            if (mosquitto_want_write(client))
                wanted[1].events |= POLLOUT;
            ::poll(wanted, 2, isConnected ? longestWait : pause);
            if (wanted[0].revents && !carryOutAll())
                return;
            serve(wanted[1].revents);
        }
    }

private:
    void serve(short events)
    {
        if (!isConnected) {
            isConnected = mosquitto_reconnect(client) == MOSQ_ERR_SUCCESS;
            return;
        }
        int result = events & ~POLLOUT ? mosquitto_loop_read(client, 1) : MOSQ_ERR_SUCCESS;
        if (result == MOSQ_ERR_SUCCESS && mosquitto_want_write(client))
            result = mosquitto_loop_write(client, 1);
        if (result == MOSQ_ERR_SUCCESS)
            result = mosquitto_loop_misc(client);
        isConnected = result == MOSQ_ERR_SUCCESS;
    }

    // What comes: plant/NAME/status, plant/NAME/GROUP, and /state and /history behind it.
    void take(const mosquitto_message &message)
    {
        const std::string_view topic = message.topic;
        const std::string_view text(static_cast<const char *>(message.payload), std::size_t(message.payloadlen));
        received += !message.retain; // those were told before
        if (endsWith(topic, "/status"))
            return takeStatus(topic, text);
        const bool isHistory = endsWith(topic, "/history"), isState = endsWith(topic, "/state");
        const std::string_view place = isHistory || isState ? topic.substr(0, topic.rfind('/')) : topic;
        Group &group = groups[std::string(place)];
        if (isState)
            takeState(place, group, text);
        else
            takeValues(place, group, text, !isHistory);
    }
    void takeStatus(std::string_view topic, std::string_view text)
    {
        const bool isUp = text.find("\"online\"") != std::string_view::npos &&
                          text.find("\"link\":\"up\"") != std::string_view::npos;
        online[std::string(topic)] = isUp;
    }
    /// One with errors is of a line that begins, or has been stopped.
    void takeState(std::string_view place, Group &group, std::string_view text)
    {
        if (text.find("\"errors\":{}") == std::string_view::npos)
            return;
        Time oldest = std::numeric_limits<Time>::max();
        readMembers(text, "\"times\":{", [&oldest](int, Time time) { oldest = std::min(oldest, time); });
        wrong += !isRight(place, text, oldest);
        group.note(oldest, plant::millisecondsNow());
    }
    void takeValues(std::string_view place, Group &group, std::string_view text, bool isLive)
    {
        const std::int64_t now = plant::microsecondsNow();
        const Time time = timestampOf(text);
        if (!endsWith(text, "\"errors\":{}}"))
            return;
        wrong += !isRight(place, text, time);
        group.arrived(time, isLive);
        if (!isLive)
            return;
        group.note(time, now / 1000);
        if (isMeasuring)
            ages.add(now - time * 1000);
    }

    /// All values are of the same time; those of sessions are known.
    static bool isRight(std::string_view place, std::string_view text, Time time)
    {
        const int length = 1000;
        int difference = place.substr(0, 15) == "plant/session-" ? 0 : -1, values = 0;
        bool areSame = true;
        const bool isGood = readMembers(text, "\"values\":{", [&](int address, std::int64_t value) {
            const int found = (int(value) - plant::valueAt(address, time) + length) % length;
            difference = difference < 0 ? found : difference;
            areSame = areSame && found == difference;
            ++values;
        });
        return isGood && areSame && values > 0;
    }

    // What is asked.
    bool carryOutAll()
    {
        if (!commands.read())
            return false;
        while (const std::optional<std::string> command = commands.next())
            plant::answer(carryOut(*command));
        return true;
    }
    nlohmann::json carryOut(const std::string &command)
    {
        if (command == "begin")
            ages = Ages();
        if (command == "begin" || command == "end")
            isMeasuring = command == "begin";
        if (command == "returned")
            for (auto &each : groups)
                each.second.brokerReturned(plant::millisecondsNow());
        return command == "figures" ? figures() : brief();
    }
    nlohmann::json brief() const
    {
        const auto up = std::count_if(online.begin(), online.end(), [](const auto &each) { return each.second; });
        return {
            {"received", received}, {"online", up}, {"groups", groups.size()}, {"time", plant::millisecondsNow()}};
    }
    nlohmann::json figures() const
    {
        nlohmann::json all = brief();
        std::size_t live = 0, history = 0, distinct = 0;
        Time right = 0;
        bool areAllRight = true;
        for (const auto &[place, group] : groups) {
            live += group.lives();
            history += group.histories();
            distinct += group.times().size();
            const Time since = group.rightSince();
            areAllRight = areAllRight && since > 0;
            right = std::max(right, since);
        }
        all.update({{"live", live}, {"history", history}, {"messages", distinct}, {"wrong", wrong}});
        all["right"] = areAllRight ? nlohmann::json(right) : nlohmann::json();
        all["ages"] = {ages.perMille(500), ages.perMille(990), ages.perMille(999), ages.most()};
        all["aged"] = ages.count();
        return all;
    }

    const int port;
    mosquitto *const client;
    plant::Commands commands;
    bool isConnected = true, isSubscribed = false, isMeasuring = false;
    std::unordered_map<std::string, Group> groups; ///< by topic
    std::unordered_map<std::string, bool> online;  ///< by topic of the status
    Ages ages;
    std::int64_t received = 0, wrong = 0;
};

} // namespace

int main(int count, char **words)
{
    if (count != 2) {
        std::cerr << "usage: plant_reader PORT\n";
        return 2;
    }
    mosquitto_lib_init();
    Reader(int(std::strtol(words[1], nullptr, 10))).run();
    mosquitto_lib_cleanup();
    return 0;
}
