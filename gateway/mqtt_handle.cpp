#include "mqtt_handle.h"

#include "host/text_error.h"

#include <cerrno>
#include <cstring>
#include <fstream>
#include <sstream>

namespace fgs
{

namespace
{

void startLibrary()
{
    static const int started = mosquitto_lib_init();
    Q_UNUSED(started);
}

std::ifstream opened(const std::string &file, const std::string &what, const std::string &remedy)
{
    std::ifstream stream(file, std::ios::binary);
    if (!stream)
        throw TextError(QString::fromStdString("cannot read " + what + ' ' + file + ": " + std::strerror(errno) +
                                               "; " + remedy));
    return stream;
}

std::ifstream openedPassword(const BrokerSettings &settings)
{
    if (settings.credential.empty())
        return opened(settings.passwordFile, "password_file",
                      "let the user of the gateway read it, or take password_credential, which a service can "
                      "always read");
    return opened(settings.passwordFile, "the credential",
                  "the service gets it by a line LoadCredential=" + settings.credential +
                      ":FILE, see examples/password.conf; by hand take password_file");
}

/// The first line.
std::string passwordFor(const BrokerSettings &settings)
{
    std::string password;
    std::ifstream stream = openedPassword(settings);
    std::getline(stream, password);
    if (!password.empty() && password.back() == '\r')
        password.pop_back();
    return password;
}

void setUser(mosquitto *handle, const BrokerSettings &settings)
{
    if (settings.user.empty())
        return;
    if (settings.passwordFile.empty())
        mosquitto_username_pw_set(handle, settings.user.c_str(), nullptr);
    else
        mosquitto_username_pw_set(handle, settings.user.c_str(), passwordFor(settings).c_str());
}

const char *orNull(const std::string &text)
{
    return text.empty() ? nullptr : text.c_str();
}

/// Without it OpenSSL asks on the terminal.
int noPassPhrase(char *, int, int, void *)
{
    return 0;
}

void setTls(mosquitto *handle, const TlsSettings &tls)
{
    const char *const remedy = "mend its path in [broker.tls], or let the user of the gateway read it";
    opened(tls.authorities, "ca", remedy);
    if (!tls.certificate.empty()) {
        opened(tls.certificate, "certificate", remedy);
        opened(tls.key, "key", remedy);
    }
    if (mosquitto_tls_set(handle, tls.authorities.c_str(), nullptr, orNull(tls.certificate), orNull(tls.key),
                          noPassPhrase) != MOSQ_ERR_SUCCESS)
        throw TextError(QStringLiteral("cannot use the files of [broker.tls]: a certificate needs its key"));
}

std::string refusalText(int code, const BrokerSettings &settings, const std::string &broker)
{
    switch (code) {
    case 1:
        return broker + " does not speak MQTT 3.1.1";
    case 2:
        return broker + " refuses the client id '" + settings.clientId + "'; check client_id";
    case 3:
        return broker + " is not available";
    case 4:
        return broker + " refuses the password; check user and password_file";
    case 5:
        return broker + " does not let this gateway in; check user, password_file and the broker's access list";
    default:
        return broker + " refuses the connection with code " + std::to_string(code);
    }
}

std::string lossText(const ConnectionEnd &end, const BrokerSettings &settings, const std::string &broker)
{
    if (!end.wasConnected)
        return broker + " closes the connection before it answers; check port and tls";
    return broker + " has closed the connection; it ended, or another client has the id '" + settings.clientId +
           "'";
}

/// The library has no words for a broker that does so while CONNECT is being written.
std::string tlsError(const ConnectionEnd &end, const BrokerSettings &settings)
{
    const bool isBrokenOff = end.result == MOSQ_ERR_ERRNO && end.systemError == EPROTO;
    return end.tlsError.empty() && settings.tls && isBrokenOff ? "the broker has broken it off" : end.tlsError;
}

/// "unexpected eof while reading" of "OpenSSL Error[0]: error:0A000126:SSL routines::unexpected eof while reading",
/// and "host name verification failed" of "Error: host name verification failed."
std::string essenceOf(const std::string &line)
{
    const std::string beginning = "Error: ";
    if (line.compare(0, beginning.size(), beginning) == 0)
        return line.substr(beginning.size(), line.find_last_not_of('.') + 1 - beginning.size());
    const std::size_t place = line.rfind("::");
    return place == std::string::npos ? line : line.substr(place + 2);
}

/// What and remedy.
std::string tlsText(const std::string &error)
{
    if (error.find("host name verification failed") != std::string::npos)
        return "host is none of the names in its certificate; write one of them as host";
    const bool isOtherSpeech = error.find("unexpected eof") != std::string::npos ||
                               error.find("wrong version number") != std::string::npos;
    return error + "; check " + (isOtherSpeech ? "port (is it the one without TLS?), " : "") +
           "ca, certificate and key";
}

std::string resultText(const ConnectionEnd &end, const BrokerSettings &settings, const std::string &broker)
{
    switch (end.result) {
    case MOSQ_ERR_ERRNO:
        if (end.wasConnected)
            return "lost " + broker + ": " + std::strerror(end.systemError);
        return "cannot reach " + broker + ": " + std::strerror(end.systemError) +
               "; check host and port, and whether it runs";
    case MOSQ_ERR_EAI:
        return "cannot reach " + broker + ": its name is not known; check host";
    case MOSQ_ERR_KEEPALIVE:
        return broker + (end.wasConnected ? " no longer answers" : " does not answer");
    case MOSQ_ERR_CONN_LOST:
    case MOSQ_ERR_NO_CONN:
        return lossText(end, settings, broker);
    default:
        return broker + ": " + mosquitto_strerror(end.result);
    }
}

} // namespace

MqttHandle makeMqttHandle(const BrokerSettings &settings, void *user)
{
    startLibrary();
    MqttHandle handle(mosquitto_new(settings.clientId.c_str(), true, user));
    if (!handle)
        throw TextError(QStringLiteral("no memory for the connection to the broker"));
    mosquitto_threaded_set(handle.get(), true);
    mosquitto_max_inflight_messages_set(handle.get(), unsigned(settings.mostInFlight));
    setUser(handle.get(), settings);
    if (settings.tls)
        setTls(handle.get(), *settings.tls);
    return handle;
}

void setWill(mosquitto *handle, const Message &will)
{
    if (!will.topic.empty())
        mosquitto_will_set(handle, will.topic.c_str(), int(will.payload.size()), will.payload.data(), will.qos,
                           will.isRetained);
}

std::string nameOf(const BrokerAddress &address)
{
    const bool isIpv6 = address.host.find(':') != std::string::npos;
    return "broker " + (isIpv6 ? '[' + address.host + ']' : address.host) + ':' + std::to_string(address.port);
}

void noteTlsError(ConnectionEnd &end, const BrokerSettings &settings, int level, const std::string &text)
{
    if (level == MOSQ_LOG_ERR && settings.tls && end.tlsError.empty())
        end.tlsError = essenceOf(text);
}

std::string textOf(const ConnectionEnd &end, const BrokerSettings &settings, const BrokerAddress &address)
{
    const std::string broker = nameOf(address);
    if (end.refusal)
        return refusalText(end.refusal, settings, broker);
    const std::string why = tlsError(end, settings);
    if (!why.empty())
        return "no TLS with " + broker + ": " + tlsText(why);
    return resultText(end, settings, broker);
}

} // namespace fgs
