// A handle of libmosquitto for one try to connect, and what its errors mean for people.
#ifndef FGS_GATEWAY_MQTT_HANDLE_H
#define FGS_GATEWAY_MQTT_HANDLE_H

#include "layout.h"

#include <memory>
#include <mosquitto.h>

namespace fgs
{

struct CloseHandle {
    void operator()(mosquitto *handle) const { mosquitto_destroy(handle); }
};
using MqttHandle = std::unique_ptr<mosquitto, CloseHandle>;

/// With user, password, TLS and window; the user's pointer goes to the callbacks. Throws TextError if a file cannot
/// be read.
MqttHandle makeMqttHandle(const BrokerSettings &settings, void *user);
void setWill(mosquitto *handle, const Message &will);

/// How a connection, or a try for one, came to its end.
struct ConnectionEnd {
    bool wasConnected = false;
    int refusal = 0;      ///< the code of CONNACK
    int result = 0;       ///< of the library
    int systemError = 0;  ///< errno, if result says so
    std::string tlsError; ///< as the library or OpenSSL puts it, without codes
};

/// What the library logs: the first error of TLS is the one that tells why.
void noteTlsError(ConnectionEnd &end, const BrokerSettings &settings, int level, const std::string &text);

/// "broker 127.0.0.1:1883"
std::string nameOf(const BrokerAddress &address);
/// What happened and what to do.
std::string textOf(const ConnectionEnd &end, const BrokerSettings &settings, const BrokerAddress &address);

} // namespace fgs

#endif
