#include "network.h"

#include "host/text_error.h"
#include "http_door.h"
#include "log.h"
#include "sender.h"
#include "settings_difference.h"
#include "watch/line_event_text.h"

#include <algorithm>
#include <climits>
#include <poll.h>
#include <utility>

namespace fgs
{

namespace
{

const milliseconds CommitPeriod{1000};
const milliseconds ChangeTime{1000};        ///< for the farewell to a connection that is given up
const milliseconds HostGone{200};           ///< for the death before a host that is gone
const milliseconds ShortestPatience{30000}; ///< with a broker that acknowledges nothing

using Clock = std::chrono::steady_clock;

Moment thisMoment()
{
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    const auto steady = Clock::now().time_since_epoch();
    return {std::chrono::duration_cast<milliseconds>(now).count(),
            std::chrono::duration_cast<milliseconds>(steady)};
}

/// Of a wait for the network.
class Deadline
{
public:
    explicit Deadline(milliseconds limit) : end(Clock::now() + limit) {}

    bool isOver() const { return Clock::now() >= end; }
    /// 0: it is over.
    milliseconds left() const
    {
        return std::max(std::chrono::duration_cast<milliseconds>(end - Clock::now()), milliseconds(0));
    }

private:
    const Clock::time_point end;
};

std::string contentsOf(LayoutKind layout)
{
    return layout == LayoutKind::Plain ? "plain" : "sparkplug";
}

/// Until one of them is readable, or the time is over.
void waitFor(const std::vector<int> &descriptors, milliseconds wait)
{
    std::vector<pollfd> wanted;
    for (int descriptor : descriptors)
        if (descriptor >= 0)
            wanted.push_back({descriptor, POLLIN, 0});
    const std::int64_t limit = std::clamp<std::int64_t>(wait.count(), 0, INT_MAX);
    ::poll(wanted.data(), wanted.size(), int(limit));
}

} // namespace

struct Network::Parts {
    using Settings = std::shared_ptr<const GatewaySettings>;

    Parts(const GatewaySettings &theSettings, const Wiring &theWiring);

    Moment thisMoment() const { return wiring.clock ? wiring.clock() : fgs::thisMoment(); }
    milliseconds steadyNow() const { return thisMoment().steady; }
    Epoch epochNow() const { return thisMoment().now; }

    void makeContent(std::unique_ptr<Layout> newLayout);
    void makeSpool();
    void makeSender();
    HttpReply page(const std::string &path) const;

    void wait(milliseconds longest, int wake) const;
    void work();
    void takeLine();
    void takeNews();
    void take(const MqttClient::News &item);
    void connected(const std::string &broker);
    void subscribed(const std::string &refused);
    void subscribeAgain();
    void arrived(const Received &message);
    void takeCommand(const Incoming &incoming, const Received &message);
    void wantRebirth();
    std::string hostName() const;
    void hostTold(bool isOnline);
    void hostLost();
    void leaveTheSilent();
    void stepCommands();
    void logAnswersBehind(std::size_t known);
    void commit();
    void commitNow();
    MqttClient::Parting sayGoodbye(milliseconds limit);
    void leave(milliseconds limit);
    void apply(const GatewaySettings &after);
    void rebuild(const SettingsDifference &difference, std::unique_ptr<Layout> newLayout,
                 std::unique_ptr<MqttClient> newClient);
    void changeContent(std::unique_ptr<Layout> newLayout, bool areOtherTags);
    GatewayFigures figures() const;

    Wiring wiring;
    Log log;
    Settings settings;
    Settings contentSettings; ///< those that layout, reporter and desk refer to
    std::unique_ptr<Layout> layout;
    std::unique_ptr<Reporter> reporter;
    std::unique_ptr<CommandDesk> desk;
    std::unique_ptr<Spool> spool;
    std::unique_ptr<MqttClient> client;
    std::unique_ptr<Sender> sender;
    HttpDoor http;
    bool isSubscribed = false;
    bool isLeaving = false;                       ///< this connection, because the primary host is gone
    std::optional<milliseconds> waitsSince;       ///< for an acknowledgement, and none has come
    std::optional<milliseconds> nextSubscription; ///< of topics that were refused
    milliseconds nextCommit{0};
    quint64 sentBefore = 0, acknowledgedBefore = 0, droppedBefore = 0; ///< by parts that are no more
    quint64 overrunTold = 0;                                           ///< of this client
    std::string brokerTold; ///< that it is connected to, as the log has it; empty: to none
    quint64 rebirths = 0;   ///< that were asked for beside the desk
};

Network::Parts::Parts(const GatewaySettings &theSettings, const Wiring &theWiring)
    : wiring(theWiring), log(theWiring.tell), settings(std::make_shared<const GatewaySettings>(theSettings)),
      client(std::make_unique<MqttClient>(theSettings.broker, theWiring.pauses)),
      http([this](const std::string &path) { return page(path); }, log, theWiring.pauses.longest)
{
    contentSettings = settings;
    desk = std::make_unique<CommandDesk>(*contentSettings, wiring.orders, wiring.readOnly, epochNow());
    makeContent(makeLayout(*settings));
    makeSpool();
    makeSender();
    http.open(settings->http, steadyNow());
    client->start();
}

void Network::Parts::makeContent(std::unique_ptr<Layout> newLayout)
{
    layout = std::move(newLayout);
    reporter = std::make_unique<Reporter>(contentSettings->tags);
}

void Network::Parts::makeSpool()
{
    if (settings->spool)
        spool = std::make_unique<Spool>(*settings->spool, contentsOf(settings->layout.kind),
                                        [this](const std::string &text) { log.say(text); });
}

void Network::Parts::makeSender()
{
    if (sender) {
        sentBefore += sender->sentMessages();
        acknowledgedBefore += sender->acknowledgedMessages();
    }
    const int perSecond = settings->spool ? settings->spool->historyPerSecond : 0;
    sender = std::make_unique<Sender>(Sender::Parts{*client, *layout, *reporter, *desk, spool.get(), perSecond});
}

HttpReply Network::Parts::page(const std::string &path) const
{
    if (path == "/metrics")
        return {200, "text/plain; version=0.0.4; charset=utf-8", metricsText(figures())};
    if (path != "/healthz")
        return {404, "text/plain; charset=utf-8", "there are /metrics and /healthz\n"};
    const Health health = healthOf(figures());
    return {health.isOk ? 200 : 503, "application/json", health.text};
}

void Network::Parts::wait(milliseconds longest, int wake) const
{
    milliseconds limit = std::min(
        {longest, sender->patience(steadyNow()), desk->nextLimit() - steadyNow(), http.patience(steadyNow())});
    if (spool)
        limit = std::min(limit, nextCommit - steadyNow());
    if (nextSubscription)
        limit = std::min(limit, *nextSubscription - steadyNow());
    waitFor({wake, wiring.mailbox.descriptor(), wiring.orders.endsDescriptor(), client->descriptor(),
             http.descriptor()},
            limit);
}

void Network::Parts::work()
{
    takeLine();
    takeNews();
    subscribeAgain();
    stepCommands();
    sender->send(*wiring.mailbox.sharedState(), thisMoment());
    leaveTheSilent();
    commit();
    http.step(steadyNow());
    log.step(steadyNow());
}

void Network::Parts::takeLine()
{
    for (const Snapshot &snapshot : wiring.mailbox.takeSnapshots()) {
        reporter->take(snapshot, steadyNow());
        sender->keepDue(steadyNow());
    }
    for (const Mailbox::Event &event : wiring.mailbox.takeEvents())
        log.say(textOf(event.event).toStdString());
}

void Network::Parts::takeNews()
{
    for (const MqttClient::News &item : client->takeNews())
        take(item);
    if (client->overrun() == overrunTold)
        return;
    overrunTold = client->overrun();
    log.saySeldom("messages come faster than they can be looked at; some were dropped", steadyNow());
}

void Network::Parts::take(const MqttClient::News &item)
{
    using News = MqttClient::News;
    switch (item.kind) {
    case News::WillWanted:
        client->connect(layout->will(epochNow()));
        break;
    case News::Connected:
        connected(item.text);
        break;
    case News::Subscribed:
        subscribed(item.text);
        break;
    case News::Disconnected:
        isSubscribed = isLeaving = false;
        nextSubscription.reset();
        sender->stop();
        if (log.saySeldom(item.text, steadyNow()))
            brokerTold.clear();
        break;
    case News::Delivered:
        waitsSince.reset();
        sender->acknowledged(item.message);
        break;
    case News::Arrived:
        arrived(item.received);
        break;
    }
}

/// Who throws it out again and again is told of as seldom as the loss.
void Network::Parts::connected(const std::string &broker)
{
    if (std::exchange(brokerTold, broker) != broker)
        log.say("connected to " + broker);
    const std::vector<std::string> topics = layout->subscriptions();
    client->subscribe(topics);
    if (topics.empty())
        subscribed({});
}

/// Publishes also where it may not read.
void Network::Parts::subscribed(const std::string &refused)
{
    waitsSince.reset();
    nextSubscription.reset();
    if (!refused.empty()) {
        log.saySeldom("the broker does not let this gateway read " + refused +
                          "; check its access list (it is asked again)",
                      steadyNow());
        nextSubscription = steadyNow() + wiring.pauses.longest;
    }
    if (std::exchange(isSubscribed, true))
        return;
    if (layout->awaitsHost())
        log.saySeldom("waits until " + hostName() + " is online", steadyNow());
    sender->begin();
}

/// A cluster refuses everything while it chooses a new leader.
void Network::Parts::subscribeAgain()
{
    if (!nextSubscription || steadyNow() < *nextSubscription)
        return;
    nextSubscription.reset();
    client->subscribe(layout->subscriptions());
}

/// Nothing in it: somebody has deleted what the broker kept.
void Network::Parts::arrived(const Received &message)
{
    if (message.payload.empty())
        return;
    const Incoming incoming = layout->incoming(message);
    switch (incoming.kind) {
    case Incoming::Nothing:
        break;
    case Incoming::Command:
        takeCommand(incoming, message);
        break;
    case Incoming::Rebirth:
        wantRebirth();
        break;
    case Incoming::HostState:
        hostTold(incoming.isHostOnline);
        break;
    case Incoming::OldHostState:
        log.saySeldom(hostName() + " tells an older state than before; it is ignored", steadyNow());
        break;
    }
}

void Network::Parts::takeCommand(const Incoming &incoming, const Received &message)
{
    const std::size_t known = desk->answers().size();
    if (incoming.fault.empty() || message.isRetained)
        desk->take(incoming.command, message.isRetained, wiring.mailbox.state(), epochNow(), steadyNow());
    else
        desk->refuse(incoming.fault, epochNow());
    logAnswersBehind(known);
}

/// Writes nothing, so it needs neither a good clock nor what is left of the rate.
void Network::Parts::wantRebirth()
{
    ++rebirths;
    log.saySeldom("told anew: a host asks for a rebirth", steadyNow());
    sender->wantBirths();
}

std::string Network::Parts::hostName() const
{
    return "the primary host '" + settings->layout.primaryHost + "'";
}

void Network::Parts::hostTold(bool isOnline)
{
    if (!isOnline)
        return hostLost();
    log.saySeldom(hostName() + " is online", steadyNow());
}

/// A session that was born dies; one that only waits for the host goes elsewhere if there is an elsewhere.
void Network::Parts::hostLost()
{
    if (isLeaving || (!sender->isTold() && settings->broker.addresses.size() < 2))
        return;
    isLeaving = true;
    log.saySeldom("the primary host is offline; leaving the broker", steadyNow());
    const MqttClient::Parting parting = sayGoodbye(HostGone);
    if (isLeaving)
        client->walkOn(parting);
}

/// One that answers pings and nothing else. The will tells its readers.
void Network::Parts::leaveTheSilent()
{
    const milliseconds steady = steadyNow();
    if (!client->isConnected() || (isSubscribed && !client->isAwaiting()))
        waitsSince.reset();
    else if (!waitsSince)
        waitsSince = steady;
    else if (steady - *waitsSince >= std::max<milliseconds>(2 * settings->broker.keepAlive, ShortestPatience)) {
        log.saySeldom("the broker acknowledges nothing any more; leaving it (look at its log and its disk)",
                      steady);
        waitsSince.reset();
        client->walkOn(MqttClient::Parting::ByWill);
    }
}

void Network::Parts::stepCommands()
{
    const std::size_t known = desk->answers().size();
    desk->step(epochNow(), steadyNow());
    logAnswersBehind(known);
    if (desk->takeRebirth())
        sender->wantBirths();
}

void Network::Parts::logAnswersBehind(std::size_t known)
{
    for (std::size_t i = known; i < desk->answers().size(); ++i)
        log.say(desk->answers()[i], steadyNow());
}

void Network::Parts::commit()
{
    const milliseconds steady = steadyNow();
    if (!spool || steady < nextCommit)
        return;
    spool->commit(epochNow());
    nextCommit = steady + CommitPeriod;
}

void Network::Parts::commitNow()
{
    nextCommit = milliseconds(0);
    commit();
}

/// The last words; if there is no room for them within the limit, they are left to the will.
MqttClient::Parting Network::Parts::sayGoodbye(milliseconds limit)
{
    const Deadline deadline(limit);
    sender->beginFarewell(wiring.mailbox.state(), thisMoment());
    while (!sender->sendFarewell()) {
        if (deadline.isOver())
            return MqttClient::Parting::ByWill;
        waitFor({client->descriptor()}, deadline.left());
        takeNews();
    }
    return MqttClient::Parting::Clean;
}

void Network::Parts::leave(milliseconds limit)
{
    const Deadline deadline(limit);
    const MqttClient::Parting parting = sayGoodbye(limit / 2);
    client->stop(deadline.left(), parting);
    takeNews();
    isSubscribed = false;
    nextSubscription.reset();
    sender->stop();
}

void Network::Parts::apply(const GatewaySettings &after)
{
    const SettingsDifference difference = differenceOf(*settings, after);
    std::unique_ptr<Layout> newLayout = difference.content ? makeLayout(after) : nullptr;
    std::unique_ptr<MqttClient> newClient =
        difference.connection ? std::make_unique<MqttClient>(after.broker, wiring.pauses) : nullptr;
    if (difference.http)
        http.move(after.http, steadyNow());
    const bool isToldAnew = newLayout || newClient || difference.spool;
    if (isToldAnew)
        work();
    if (newClient)
        leave(ChangeTime);
    settings = std::make_shared<const GatewaySettings>(after);
    if (isToldAnew)
        rebuild(difference, std::move(newLayout), std::move(newClient));
}

/// Layout and client are those of before if none is given. Births tell what has not gone out.
void Network::Parts::rebuild(const SettingsDifference &difference, std::unique_ptr<Layout> newLayout,
                             std::unique_ptr<MqttClient> newClient)
{
    if (newLayout)
        changeContent(std::move(newLayout), difference.tags);
    if (difference.spool) {
        droppedBefore += spool ? spool->dropped() : 0;
        spool.reset();
        makeSpool();
    }
    if (newClient) {
        client = std::move(newClient);
        overrunTold = 0;
        brokerTold.clear();
    }
    makeSender();
    if (difference.connection)
        client->start();
    else if (isSubscribed)
        sender->begin();
}

/// Values of before mean something if the tags are the same. Commands go on where they were.
void Network::Parts::changeContent(std::unique_ptr<Layout> newLayout, bool areOtherTags)
{
    const Snapshot values = reporter->newest();
    droppedBefore += reporter->replaced();
    desk->changeSettings(*settings, areOtherTags);
    contentSettings = settings;
    newLayout->resume(layout->sessions());
    makeContent(std::move(newLayout));
    if (!areOtherTags)
        reporter->take(values, steadyNow());
}

GatewayFigures Network::Parts::figures() const
{
    GatewayFigures made;
    const Epoch now = epochNow();
    made.line = wiring.mailbox.state();
    made.isBrokerUp = client->isConnected();
    made.awaitsHost = made.isBrokerUp && layout->awaitsHost();
    made.sent = sentBefore + sender->sentMessages();
    made.acknowledged = acknowledgedBefore + sender->acknowledgedMessages();
    made.dropped = droppedBefore + wiring.mailbox.dropped() + reporter->replaced() + desk->answersDropped();
    made.tags = reporter->newest().size();
    for (const Sample &sample : reporter->newest()) {
        made.staleTags += sample.quality != Quality::Good;
        if (sample.quality != Quality::Unknown)
            made.oldestValueAge = std::max(made.oldestValueAge, double(now - sample.time) / 1000);
    }
    made.commands = desk->commands() + rebirths;
    for (std::size_t i = 0; i < made.commandFailures.size(); ++i)
        made.commandFailures[i] = desk->failures(CommandFailure(i));
    made.hasSpool = spool != nullptr;
    if (!spool)
        return made;
    made.spoolProblem = spool->problem();
    made.dropped += spool->dropped();
    made.spoolBytes = spool->bytes();
    const Epoch oldest = spool->oldestTime();
    made.spoolOldestAge = oldest ? std::max(double(now - oldest) / 1000, 0.0) : 0;
    return made;
}

Network::Network(const GatewaySettings &theSettings, const Wiring &theWiring)
    : parts(std::make_unique<Parts>(theSettings, theWiring))
{
}

Network::~Network() = default;

void Network::step(milliseconds wait, int wake)
{
    parts->wait(wait, wake);
    parts->work();
}

/// Answers first, as long as half of the time. What is not acknowledged is on the disk before a wait that may be
/// longer than who ended it has patience.
void Network::end(milliseconds limit)
{
    const Deadline deadline(limit), forAnswers(limit / 2);
    parts->work();
    while (parts->client->isConnected() && !parts->desk->answers().empty() && !forAnswers.isOver()) {
        waitFor({parts->client->descriptor()}, forAnswers.left());
        parts->work();
    }
    parts->commitNow();
    parts->leave(deadline.left());
    parts->commitNow();
}

void Network::apply(const GatewaySettings &settings)
{
    parts->apply(settings);
}

bool Network::isBrokerUp() const
{
    return parts->client->isConnected();
}

GatewayFigures Network::figures() const
{
    return parts->figures();
}

int Network::httpPort() const
{
    return parts->http.port();
}

} // namespace fgs
