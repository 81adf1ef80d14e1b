#include "mqtt_client.h"

#include "mqtt_handle.h"

#include "host/text_error.h"

#include <algorithm>
#include <cerrno>
#include <condition_variable>
#include <csignal>
#include <mutex>
#include <random>
#include <thread>

namespace fgs
{

namespace
{

using Clock = std::chrono::steady_clock;

const milliseconds FarewellTime{500}; ///< for DISCONNECT to leave
const int ShortestKeepAlive = 5;      ///< seconds; the library takes nothing shorter
const int Tick = 1000;                ///< milliseconds; how finely the library looks at its keep-alive

/// Signals are for other threads; and nobody is to die of a broken pipe inside the library.
template <typename Function>
std::thread threadWithoutSignals(Function function)
{
    sigset_t all, before;
    ::sigfillset(&all);
    ::pthread_sigmask(SIG_SETMASK, &all, &before);
    std::thread thread(std::move(function));
    ::pthread_sigmask(SIG_SETMASK, &before, nullptr);
    return thread;
}

} // namespace

struct MqttClient::Shared {
    Shared(const BrokerSettings &theSettings, const ReconnectPauses &thePauses)
        : settings(theSettings), pauses(thePauses)
    {
    }

    void run();
    bool pause();
    std::optional<Message> nextWill();
    const BrokerAddress &address() const { return settings.addresses[tries % settings.addresses.size()]; }
    milliseconds pauseNow();
    void tell(News item);
    void tellLocked(News item);
    void arrived(const mosquitto_message &message);
    bool isCurrent() const { return isUp && seen == session; }
    bool hasRoom() const { return inFlight < settings.mostInFlight; }
    void leaveLocked(Parting with);

    const BrokerSettings settings;
    const ReconnectPauses pauses;
    Bell bell;
    std::thread thread;

    // The client's thread.
    std::size_t tries = 0;     ///< the next address
    std::size_t vainTries = 0; ///< since a connection lasted
    std::minstd_rand random{std::random_device()()};

    mutable std::mutex mutex; ///< of what follows
    std::condition_variable changed;
    std::vector<News> news;
    std::size_t waitingBytes = 0;
    quint64 dropped = 0;
    std::optional<Message> will;
    mosquitto *handle = nullptr; ///< from before the try until it is over
    bool isUp = false;
    int session = 0; ///< connections so far
    int seen = 0;    ///< the connection that the user knows of
    int inFlight = 0;
    std::vector<std::string> subscribed;
    bool isLeaving = false; ///< this connection
    Parting parting = Parting::Clean;
    bool isEnding = false; ///< for good
    Clock::time_point endBy = Clock::time_point::max();
};

/// One try, and the connection that comes of it. The client's thread; the callbacks come on it too, but for
/// logged(), which may come on the user's.
class MqttClient::Connection
{
public:
    explicit Connection(Shared &theShared) : shared(theShared), address(theShared.address()) {}

    void run(const Message &will);

private:
    void connect(const Message &will);
    void setCallbacks();
    void loop();
    int tick();
    void finish(const std::string &text);

    void connected(int code);
    void acknowledged(int message);
    void subscribed(int topics, const int *granted);
    void disconnected(int result);
    void logged(int level, const char *text);

    static Connection &of(void *user) { return *static_cast<Connection *>(user); }

    Shared &shared;
    const BrokerAddress address;
    MqttHandle handle;
    ConnectionEnd end;
    bool isParting = false; ///< it has had its turn to send DISCONNECT
};

void MqttClient::Connection::run(const Message &will)
{
    try {
        connect(will);
        loop();
        finish(textOf(end, shared.settings, address));
    } catch (const TextError &error) {
        finish(error.what());
    }
}

void MqttClient::Connection::connect(const Message &will)
{
    handle = makeMqttHandle(shared.settings, this);
    setWill(handle.get(), will);
    setCallbacks();
    const int keepAlive = std::max(int(shared.settings.keepAlive.count()), ShortestKeepAlive);
    {
        const std::lock_guard<std::mutex> lock(shared.mutex);
        shared.handle = handle.get();
    }
    end.result = mosquitto_connect_async(handle.get(), address.host.c_str(), address.port, keepAlive);
    end.systemError = errno;
}

void MqttClient::Connection::setCallbacks()
{
    mosquitto_connect_callback_set(handle.get(),
                                   [](mosquitto *, void *user, int code) { of(user).connected(code); });
    mosquitto_disconnect_callback_set(handle.get(),
                                      [](mosquitto *, void *user, int result) { of(user).disconnected(result); });
    mosquitto_publish_callback_set(handle.get(),
                                   [](mosquitto *, void *user, int message) { of(user).acknowledged(message); });
    mosquitto_subscribe_callback_set(
        handle.get(),
        [](mosquitto *, void *user, int, int topics, const int *granted) { of(user).subscribed(topics, granted); });
    mosquitto_message_callback_set(handle.get(), [](mosquitto *, void *user, const mosquitto_message *message) {
        of(user).shared.arrived(*message);
    });
    mosquitto_log_callback_set(
        handle.get(), [](mosquitto *, void *user, int level, const char *text) { of(user).logged(level, text); });
}

void MqttClient::Connection::loop()
{
    while (end.result == MOSQ_ERR_SUCCESS) {
        const int wait = tick();
        if (wait < 0)
            return;
        const int result = mosquitto_loop(handle.get(), wait, 1);
        if (end.result == MOSQ_ERR_SUCCESS)
            end.result = result;
    }
}

/// Milliseconds, negative: it is time to end. One turn at least, for DISCONNECT only waits until then.
int MqttClient::Connection::tick()
{
    const std::lock_guard<std::mutex> lock(shared.mutex);
    if (!shared.isLeaving)
        return Tick;
    if (!end.wasConnected || shared.parting == Parting::ByWill)
        return -1;
    const auto left = std::chrono::duration_cast<milliseconds>(shared.endBy - Clock::now());
    const std::int64_t least = std::exchange(isParting, true) ? -1 : 0;
    return int(std::clamp<std::int64_t>(left.count(), least, Tick));
}

void MqttClient::Connection::finish(const std::string &text)
{
    const std::lock_guard<std::mutex> lock(shared.mutex);
    shared.handle = nullptr;
    shared.isUp = false;
    shared.inFlight = 0;
    shared.tellLocked({News::Disconnected, 0, shared.isLeaving ? "left " + nameOf(address) : text});
    shared.isLeaving = shared.isEnding;
    shared.parting = Parting::Clean;
    shared.changed.notify_all();
}

void MqttClient::Connection::connected(int code)
{
    end.refusal = code;
    if (code != 0)
        return;
    end.wasConnected = true;
    mosquitto_log_callback_set(handle.get(), nullptr); // spares it the texts for every message
    const std::lock_guard<std::mutex> lock(shared.mutex);
    shared.isUp = true;
    shared.inFlight = 0;
    ++shared.session;
    shared.tellLocked({News::Connected, 0, nameOf(address)});
}

void MqttClient::Connection::acknowledged(int message)
{
    const std::lock_guard<std::mutex> lock(shared.mutex);
    --shared.inFlight;
    shared.tellLocked({News::Delivered, message});
    shared.changed.notify_all();
}

void MqttClient::Connection::subscribed(int topics, const int *granted)
{
    const std::lock_guard<std::mutex> lock(shared.mutex);
    std::string refused;
    for (std::size_t i = 0; i < std::min(std::size_t(topics), shared.subscribed.size()); ++i)
        if (granted[i] > 2)
            refused += (refused.empty() ? "" : ", ") + shared.subscribed[i];
    shared.tellLocked({News::Subscribed, 0, refused});
}

void MqttClient::Connection::disconnected(int result)
{
    end.systemError = errno;
    end.result = result == MOSQ_ERR_SUCCESS ? int(MOSQ_ERR_NO_CONN) : result;
}

void MqttClient::Connection::logged(int level, const char *text)
{
    noteTlsError(end, shared.settings, level, text);
}

void MqttClient::Shared::run()
{
    while (pause()) {
        const std::optional<Message> given = nextWill();
        if (!given)
            return;
        const Clock::time_point begin = Clock::now();
        Connection(*this).run(*given);
        vainTries = Clock::now() - begin >= pauses.longest ? 1 : vainTries + 1;
        ++tries;
    }
}

/// False at the end.
bool MqttClient::Shared::pause()
{
    const milliseconds wait = pauseNow();
    std::unique_lock<std::mutex> lock(mutex);
    changed.wait_for(lock, wait, [this] { return isEnding; });
    return !isEnding;
}

milliseconds MqttClient::Shared::pauseNow()
{
    const std::size_t addresses = settings.addresses.size();
    if (vainTries == 0 || vainTries % addresses != 0)
        return milliseconds(0);
    const std::size_t doublings = std::min<std::size_t>(vainTries / addresses - 1, 16);
    const milliseconds whole = std::min(pauses.longest, pauses.shortest * (1 << doublings));
    return whole - milliseconds(std::uniform_int_distribution<std::int64_t>(0, whole.count() / 4)(random));
}

std::optional<Message> MqttClient::Shared::nextWill()
{
    std::unique_lock<std::mutex> lock(mutex);
    tellLocked({News::WillWanted});
    changed.wait(lock, [this] { return will || isEnding; });
    if (isEnding)
        return std::nullopt;
    std::optional<Message> given = std::move(will);
    will.reset();
    return given;
}

void MqttClient::Shared::tellLocked(News item)
{
    news.push_back(std::move(item));
    bell.ring();
}

void MqttClient::Shared::arrived(const mosquitto_message &message)
{
    const std::size_t length = std::min(std::size_t(message.payloadlen), LongestPayload);
    std::string topic = message.topic;
    const std::size_t size = topic.size() + length;
    const std::lock_guard<std::mutex> lock(mutex);
    if (waitingBytes + size > MostWaiting) {
        ++dropped;
        return;
    }
    waitingBytes += size;
    std::string payload(static_cast<const char *>(message.payload), length);
    tellLocked({News::Arrived, 0, {}, {std::move(topic), std::move(payload), message.retain}});
}

/// One that has been left already is left in that way.
void MqttClient::Shared::leaveLocked(Parting with)
{
    if (!std::exchange(isLeaving, true))
        parting = with;
    endBy = Clock::now() + FarewellTime;
    if (handle && parting == Parting::Clean)
        mosquitto_disconnect(handle);
}

MqttClient::MqttClient(const BrokerSettings &theSettings, const ReconnectPauses &thePauses)
    : shared(std::make_unique<Shared>(theSettings, thePauses))
{
    makeMqttHandle(theSettings, nullptr);
}

MqttClient::~MqttClient()
{
    stop(milliseconds(0));
}

void MqttClient::start()
{
    shared->thread = threadWithoutSignals([this] { shared->run(); });
}

void MqttClient::connect(const Message &will)
{
    const std::lock_guard<std::mutex> lock(shared->mutex);
    shared->will = will;
    shared->changed.notify_all();
}

void MqttClient::stop(milliseconds limit, Parting parting)
{
    if (!shared->thread.joinable())
        return;
    {
        std::unique_lock<std::mutex> lock(shared->mutex);
        shared->changed.wait_for(lock, limit, [this] { return !shared->isUp || shared->inFlight == 0; });
        shared->isEnding = true;
        shared->leaveLocked(parting);
        shared->changed.notify_all();
    }
    shared->thread.join();
}

int MqttClient::publish(const Message &message)
{
    const std::lock_guard<std::mutex> lock(shared->mutex);
    int number = 0;
    if (!shared->isCurrent() || !shared->hasRoom())
        return 0;
    if (mosquitto_publish(shared->handle, &number, message.topic.c_str(), int(message.payload.size()),
                          message.payload.data(), message.qos, message.isRetained) != MOSQ_ERR_SUCCESS)
        return 0;
    ++shared->inFlight;
    return number;
}

void MqttClient::subscribe(const std::vector<std::string> &topics)
{
    const std::lock_guard<std::mutex> lock(shared->mutex);
    if (!shared->isCurrent() || topics.empty())
        return;
    shared->subscribed = topics;
    std::vector<char *> names;
    names.reserve(shared->subscribed.size());
    for (std::string &topic : shared->subscribed)
        names.push_back(topic.data());
    mosquitto_subscribe_multiple(shared->handle, nullptr, int(names.size()), names.data(), 1, 0, nullptr);
}

bool MqttClient::isConnected() const
{
    const std::lock_guard<std::mutex> lock(shared->mutex);
    return shared->isCurrent();
}

bool MqttClient::hasRoom() const
{
    const std::lock_guard<std::mutex> lock(shared->mutex);
    return shared->hasRoom();
}

bool MqttClient::isAwaiting() const
{
    const std::lock_guard<std::mutex> lock(shared->mutex);
    return shared->inFlight > 0;
}

void MqttClient::walkOn(Parting parting)
{
    const std::lock_guard<std::mutex> lock(shared->mutex);
    if (shared->handle)
        shared->leaveLocked(parting);
}

std::vector<MqttClient::News> MqttClient::takeNews()
{
    const std::lock_guard<std::mutex> lock(shared->mutex);
    shared->bell.hush();
    shared->waitingBytes = 0;
    shared->seen = shared->session;
    return std::exchange(shared->news, {});
}

int MqttClient::descriptor() const
{
    return shared->bell.descriptor();
}

quint64 MqttClient::overrun() const
{
    const std::lock_guard<std::mutex> lock(shared->mutex);
    return shared->dropped;
}

} // namespace fgs
