// Gateways without lines for ./bench/plant: everything of them between the line and the broker, fed with values as
// a line would read them. A thread feeds all of them; each has those of every gateway. usage: plant_sessions
// MESSAGES FILE.toml...   (messages a second of each; one in turn of each of its groups)
#include "plant_commands.h"

#include "gateway/network.h"
#include "host/text_error.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <atomic>
#include <csignal>
#include <cstdlib>
#include <future>
#include <poll.h>
#include <thread>

namespace
{

using namespace fgs;
using Clock = std::chrono::steady_clock;
using Figures = std::map<std::string, std::int64_t>;

const milliseconds LongestStep{1000}, FarewellLimit{5000};

/// One gateway.
class Session
{
public:
    explicit Session(const std::string &file)
        : settings(readGatewaySettings(QString::fromStdString(file))), groups(settings.groups.size()),
          network(settings, {mailbox, orders, [](const std::string &) {}})
    {
        for (std::size_t i = 0; i < settings.tags.size(); ++i)
            groups[settings.tags[i].group].tags.push_back(i);
        tellLine();
        thread = std::thread([this] { run(); });
    }
    ~Session()
    {
        isEnding = true;
        wake.ring();
        thread.join();
    }

    /// As if one request had read the group now.
    void read(std::size_t number)
    {
        Group &group = groups[number % groups.size()];
        const Epoch now = plant::millisecondsNow();
        Snapshot snapshot;
        for (const std::size_t tag : group.tags)
            snapshot.push_back({tag, Quality::Good, Reason(), now, {valueOf(tag, now)}});
        due += std::exchange(group.told, snapshot.front().values) != snapshot.front().values;
        mailbox.post(std::move(snapshot));
    }

    /// They are the network's thread's.
    void addTo(Figures &sum)
    {
        std::promise<GatewayFigures> asked;
        question = &asked;
        wake.ring();
        const GatewayFigures figures = asked.get_future().get();
        const int perMessage = int(settings.tags.size() / groups.size());
        sum["due"] += due;
        sum["sent"] += std::int64_t(figures.sent);
        sum["acknowledged"] += std::int64_t(figures.acknowledged);
        sum["replaced"] += std::int64_t(figures.dropped) / perMessage;
        sum["spoolBytes"] += figures.spoolBytes;
    }

private:
    struct Group {
        std::vector<std::size_t> tags;
        std::vector<quint32> told; ///< of the first tag; all of them change at the same time
    };

    quint32 valueOf(std::size_t tag, Epoch when) const
    {
        return quint32(plant::valueAt(settings.tags[tag].tag.variable.address, when));
    }
    void tellLine()
    {
        LineState state;
        state.isUp = true;
        state.since = plant::millisecondsNow();
        state.stations[1] = true;
        mailbox.post(state);
    }
    void run()
    {
        while (!isEnding) {
            network.step(LongestStep, wake.descriptor());
            wake.hush();
            if (std::promise<GatewayFigures> *const asked = question.exchange(nullptr))
                asked->set_value(network.figures());
        }
        network.end(FarewellLimit);
    }

    const GatewaySettings settings;
    std::vector<Group> groups;
    std::int64_t due = 0; ///< messages that have something to tell
    Mailbox mailbox;
    OrderDesk orders;
    Network network;
    Bell wake;
    std::atomic<std::promise<GatewayFigures> *> question{nullptr};
    std::atomic<bool> isEnding{false};
    std::thread thread;
};

/// Feeds the sessions in turn, at even distances.
class Feeder
{
public:
    Feeder(int messages, const std::vector<std::string> &files)
    {
        for (const std::string &file : files)
            sessions.push_back(std::make_unique<Session>(file));
        distance = std::chrono::nanoseconds(std::int64_t(1e9 / messages / double(sessions.size())));
    }

    void run()
    {
        pollfd input = {STDIN_FILENO, POLLIN, 0};
        do {
            while (wait(input) == 0)
                feed();
        } while (commands.read() && carryOutAll());
    }

private:
    /// For a command, or the next message. 0: it is due.
    int wait(pollfd &input) const
    {
        const std::chrono::nanoseconds most(999999999), left = due() - Clock::now();
        const timespec time = {0, long(std::clamp(left, std::chrono::nanoseconds(0), most).count())};
        return ::ppoll(&input, 1, isFeeding ? &time : nullptr, nullptr);
    }
    Clock::time_point due() const { return begin + distance * fed; }
    void feed()
    {
        for (; due() <= Clock::now(); ++fed)
            sessions[std::size_t(fed) % sessions.size()]->read(std::size_t(fed) / sessions.size());
    }
    bool carryOutAll()
    {
        while (const std::optional<std::string> command = commands.next())
            carryOut(*command);
        return true;
    }
    void carryOut(const std::string &command)
    {
        if (command != "figures") {
            isFeeding = command == "go";
            begin = Clock::now();
            fed = 0;
        }
        Figures sum;
        for (const std::unique_ptr<Session> &session : sessions)
            session->addTo(sum);
        plant::answer(nlohmann::json(sum));
    }

    std::vector<std::unique_ptr<Session>> sessions;
    plant::Commands commands;
    std::chrono::nanoseconds distance{0}; ///< between two messages of all
    Clock::time_point begin;
    std::int64_t fed = 0; ///< messages since then
    bool isFeeding = false;
};

} // namespace

int main(int count, char **words)
{
    std::signal(SIGPIPE, SIG_IGN);
    try {
        const int messages = count > 2 ? int(std::strtol(words[1], nullptr, 10)) : 0;
        if (messages <= 0)
            throw TextError(QStringLiteral("usage: plant_sessions MESSAGES FILE.toml..."));
        Feeder(messages, {words + 2, words + count}).run();
        return 0;
    } catch (const std::exception &error) {
        std::cerr << "plant_sessions: " << error.what() << '\n';
        return 1;
    }
}
