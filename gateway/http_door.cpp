#include "http_door.h"

#include "host/text_error.h"

#include <algorithm>
#include <utility>

namespace fgs
{

void HttpDoor::open(const std::optional<HttpSettings> &where, milliseconds steady)
{
    place = where;
    try {
        listen(place);
    } catch (const TextError &error) {
        if (error.what() != std::exchange(problem, error.what()))
            log.say(problem + " (it is tried again, everything else goes on)");
        nextTry = steady + pause;
    }
}

/// Another address may have the same port: the old one ends first.
void HttpDoor::move(const std::optional<HttpSettings> &where, milliseconds steady)
{
    try {
        listen(where);
        place = where;
        problem.clear();
    } catch (const TextError &) {
        open(place, steady);
        throw;
    }
}

void HttpDoor::step(milliseconds steady)
{
    if (nextTry && steady >= *nextTry)
        tryAgain(steady);
    if (server)
        server->step();
}

milliseconds HttpDoor::patience(milliseconds steady) const
{
    const milliseconds idle = server ? server->longestWait() : milliseconds::max();
    return nextTry ? std::min(idle, *nextTry - steady) : idle;
}

void HttpDoor::listen(const std::optional<HttpSettings> &where)
{
    server.reset();
    nextTry.reset();
    if (where)
        server = std::make_unique<HttpServer>(where->address, where->port, handler);
}

void HttpDoor::tryAgain(milliseconds steady)
{
    open(place, steady);
    if (server && !std::exchange(problem, {}).empty())
        log.say("HTTP listens on port " + std::to_string(server->port()));
}

} // namespace fgs
