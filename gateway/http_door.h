// Where the gateway's figures can be read, whatever the network does to it.
#ifndef FGS_GATEWAY_HTTP_DOOR_H
#define FGS_GATEWAY_HTTP_DOOR_H

#include "http_server.h"
#include "log.h"
#include "settings.h"

namespace fgs
{

/// Listens where the settings say, if they say so. What cannot listen is tried again, and nothing else waits for
/// it: an address comes with its network, and a port is free when another program ends. The network's thread;
/// `steady` is a clock that never jumps.
class HttpDoor
{
public:
    /// The log outlives it.
    HttpDoor(HttpServer::Handler theHandler, Log &theLog, milliseconds thePause)
        : handler(std::move(theHandler)), log(theLog), pause(thePause)
    {
    }

    /// Says why if it cannot listen.
    void open(const std::optional<HttpSettings> &where, milliseconds steady);
    /// Throws TextError if it cannot listen there; then it listens where it did before.
    void move(const std::optional<HttpSettings> &where, milliseconds steady);
    void step(milliseconds steady);

    int port() const { return server ? server->port() : 0; }              ///< 0: it does not listen
    int descriptor() const { return server ? server->descriptor() : -1; } ///< -1: none
    /// Until step() has something to do; max(): nothing.
    milliseconds patience(milliseconds steady) const;

private:
    void listen(const std::optional<HttpSettings> &where);
    void tryAgain(milliseconds steady);

    const HttpServer::Handler handler;
    Log &log;
    const milliseconds pause; ///< between two tries
    std::optional<HttpSettings> place;
    std::unique_ptr<HttpServer> server;
    std::optional<milliseconds> nextTry;
    std::string problem; ///< as it was told
};

} // namespace fgs

#endif
