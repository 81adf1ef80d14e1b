#include "broker_probe.h"

#include <algorithm>
#include <cerrno>
#include <sys/socket.h>

namespace fgs
{

namespace
{

using Clock = std::chrono::steady_clock;

const auto Limit = std::chrono::seconds(10); ///< of one step
const int Tick = 100;                        ///< milliseconds until the stop is looked at again

} // namespace

BrokerProbe::BrokerProbe(const BrokerSettings &theSettings, const BrokerAddress &theAddress, const Stop &theStop)
    : settings(theSettings), address(theAddress), stop(theStop), handle(makeMqttHandle(theSettings, this))
{
    setCallbacks();
}

BrokerProbe::~BrokerProbe()
{
    mosquitto_disconnect(handle.get());
}

void BrokerProbe::setCallbacks()
{
    mosquitto_connect_callback_set(handle.get(), [](mosquitto *, void *user, int code) {
        of(user).end.refusal = code;
        of(user).isConnected = of(user).end.wasConnected = code == 0;
    });
    mosquitto_disconnect_callback_set(handle.get(), [](mosquitto *, void *user, int result) {
        of(user).end.systemError = errno;
        of(user).end.result = result == MOSQ_ERR_SUCCESS ? int(MOSQ_ERR_NO_CONN) : result;
    });
    mosquitto_publish_callback_set(handle.get(),
                                   [](mosquitto *, void *user, int message) { of(user).acknowledged = message; });
    mosquitto_subscribe_callback_set(
        handle.get(), [](mosquitto *, void *user, int, int topics, const int *granted) {
            of(user).isGranted = std::all_of(granted, granted + topics, [](int qos) { return qos <= 2; });
        });
    mosquitto_message_callback_set(handle.get(), [](mosquitto *, void *user, const mosquitto_message *message) {
        of(user).payloads.emplace_back(static_cast<const char *>(message->payload),
                                       static_cast<std::size_t>(message->payloadlen));
    });
    mosquitto_log_callback_set(handle.get(), [](mosquitto *, void *user, int level, const char *text) {
        noteTlsError(of(user).end, of(user).settings, level, text);
    });
}

/// False: it is not so within the limit, or the connection has ended.
template <typename Condition>
bool BrokerProbe::waitUntil(const Condition &isSo)
{
    const Clock::time_point last = Clock::now() + Limit;
    while (!isSo() && end.result == MOSQ_ERR_SUCCESS && Clock::now() < last && !stop.isRequested()) {
        const int result = mosquitto_loop(handle.get(), Tick, 1);
        if (end.result == MOSQ_ERR_SUCCESS)
            end.result = result;
    }
    return isSo();
}

bool BrokerProbe::connect(const Message &will)
{
    setWill(handle.get(), will);
    end.result =
        mosquitto_connect_async(handle.get(), address.host.c_str(), address.port, int(settings.keepAlive.count()));
    end.systemError = errno;
    if (waitUntil([this] { return isConnected || end.refusal != 0; }) && isConnected)
        return true;
    if (end.result == MOSQ_ERR_SUCCESS)
        end.result = MOSQ_ERR_KEEPALIVE;
    fault = textOf(end, settings, address);
    return false;
}

bool BrokerProbe::subscribe(const std::string &topic)
{
    isGranted.reset();
    end.result = mosquitto_subscribe(handle.get(), nullptr, topic.c_str(), 1);
    return waitUntil([this] { return isGranted.has_value(); }) && *isGranted;
}

bool BrokerProbe::publish(const Message &message)
{
    int number = 0;
    end.result = mosquitto_publish(handle.get(), &number, message.topic.c_str(), int(message.payload.size()),
                                   message.payload.data(), message.qos, message.isRetained);
    return waitUntil([this, &number] { return acknowledged == number; });
}

bool BrokerProbe::receives(const std::string &payload)
{
    return waitUntil([this, &payload] {
        const auto found = std::find(payloads.begin(), payloads.end(), payload);
        if (found == payloads.end())
            return false;
        payloads.erase(payloads.begin(), found);
        return true;
    });
}

void BrokerProbe::cut()
{
    ::shutdown(mosquitto_socket(handle.get()), SHUT_RDWR);
    waitUntil([] { return false; }); // until the library has noticed
}

} // namespace fgs
