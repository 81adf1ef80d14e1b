// A small HTTP server without threads of its own.
#ifndef FGS_GATEWAY_HTTP_SERVER_H
#define FGS_GATEWAY_HTTP_SERVER_H

#include <chrono>
#include <functional>
#include <memory>
#include <string>

namespace fgs
{

struct HttpReply {
    int status = 200;
    std::string type = "text/plain; charset=utf-8";
    std::string body;
};

/// One thread.
class HttpServer
{
public:
    using Handler = std::function<HttpReply(const std::string &path)>;

    /// Answers GET and HEAD with what the handler says of the path; it tells unknown paths by status 404. Port 0 is
    /// a free one. At most 32 connections at a time, others wait; one on which nothing happens that long is closed.
    /// Throws TextError, which says why it cannot listen and what to do.
    HttpServer(const std::string &address, int port, Handler theHandler,
               std::chrono::seconds longestIdle = std::chrono::seconds(10));
    ~HttpServer();

    int port() const;
    int descriptor() const;                        ///< readable when step() has something to do
    std::chrono::milliseconds longestWait() const; ///< until step() is due all the same; max(): never
    void step();

private:
    struct Daemon;
    const std::unique_ptr<Daemon> daemon;
};

} // namespace fgs

#endif
