#include "http_server.h"

#include "host/text_error.h"

#include <microhttpd.h>
#include <netdb.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace fgs
{

namespace
{

const unsigned MostConnections = 32; // more wait until one of them ends
const int ListenQueue = 16;
const std::size_t ConnectionMemory = 8192; // bytes: no request is longer

using Addresses = std::unique_ptr<addrinfo, void (*)(addrinfo *)>;

[[noreturn]] void fail(const std::string &address, int port, const std::string &why, const std::string &remedy)
{
    throw TextError(QString::fromStdString("HTTP cannot listen on " + address + ":" + std::to_string(port) + ": " +
                                           why + "; " + remedy));
}

std::string remedyOf(int error)
{
    switch (error) {
    case EADDRINUSE:
        return "choose another port in [http] listen, or end the program that has it";
    case EACCES:
        return "choose a port from 1024 on in [http] listen";
    case EADDRNOTAVAIL:
        return "choose an address of this machine in [http] listen";
    default:
        return "look at [http] listen";
    }
}

Addresses resolve(const std::string &address, int port)
{
    addrinfo hints = {};
    hints.ai_family = AF_UNSPEC;
    hints.ai_socktype = SOCK_STREAM;
    hints.ai_flags = AI_PASSIVE | AI_NUMERICSERV;
    addrinfo *found = nullptr;
    const int code = ::getaddrinfo(address.c_str(), std::to_string(port).c_str(), &hints, &found);
    if (code != 0)
        fail(address, port, ::gai_strerror(code), remedyOf(EADDRNOTAVAIL));
    return Addresses(found, ::freeaddrinfo);
}

/// Throws TextError.
int listenOn(const std::string &address, int port)
{
    const Addresses found = resolve(address, port);
    const int listener = ::socket(found->ai_family, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    const int one = 1;
    ::setsockopt(listener, SOL_SOCKET, SO_REUSEADDR, &one, sizeof one);
    if (::bind(listener, found->ai_addr, found->ai_addrlen) == 0 && ::listen(listener, ListenQueue) == 0)
        return listener;
    const int error = errno;
    ::close(listener);
    fail(address, port, std::strerror(error), remedyOf(error));
}

int portOf(int listener)
{
    sockaddr_storage local = {};
    socklen_t size = sizeof local;
    ::getsockname(listener, reinterpret_cast<sockaddr *>(&local), &size);
    return ntohs(local.ss_family == AF_INET6 ? reinterpret_cast<const sockaddr_in6 &>(local).sin6_port
                                             : reinterpret_cast<const sockaddr_in &>(local).sin_port);
}

bool isAllowed(const std::string &method)
{
    return method == MHD_HTTP_METHOD_GET || method == MHD_HTTP_METHOD_HEAD;
}

HttpReply replyTo(const HttpServer::Handler &handler, const std::string &method, const std::string &path)
{
    if (!isAllowed(method))
        return {MHD_HTTP_METHOD_NOT_ALLOWED, HttpReply().type, "only GET and HEAD\n"};
    try {
        return handler(path);
    } catch (const std::exception &error) {
        return {MHD_HTTP_INTERNAL_SERVER_ERROR, HttpReply().type, std::string(error.what()) + "\n"};
    }
}

MHD_Result send(MHD_Connection *connection, const HttpReply &reply)
{
    MHD_Response *response = MHD_create_response_from_buffer(
        reply.body.size(), const_cast<char *>(reply.body.data()), MHD_RESPMEM_MUST_COPY);
    if (response == nullptr)
        return MHD_NO;
    MHD_add_response_header(response, MHD_HTTP_HEADER_CONTENT_TYPE, reply.type.c_str());
    MHD_add_response_header(response, MHD_HTTP_HEADER_CACHE_CONTROL, "no-store");
    if (reply.status == MHD_HTTP_METHOD_NOT_ALLOWED)
        MHD_add_response_header(response, MHD_HTTP_HEADER_ALLOW, "GET, HEAD");
    const MHD_Result result = MHD_queue_response(connection, static_cast<unsigned>(reply.status), response);
    MHD_destroy_response(response);
    return result;
}

/// Called with the head, then with its end. What is refused is so at once, and nobody reads the rest.
MHD_Result answer(void *handler, MHD_Connection *connection, const char *path, const char *method, const char *,
                  const char *, std::size_t *size, void **seen)
{
    if (isAllowed(method) && *seen == nullptr) {
        *seen = handler;
        return MHD_YES;
    }
    if (*size > 0) // a body, which nobody wants
        return MHD_NO;
    return send(connection, replyTo(*static_cast<const HttpServer::Handler *>(handler), method, path));
}

} // namespace

struct HttpServer::Daemon {
    Daemon(const std::string &address, int port, Handler theHandler, std::chrono::seconds longestIdle);
    ~Daemon() { MHD_stop_daemon(daemon); }
    Daemon(const Daemon &) = delete;
    Daemon &operator=(const Daemon &) = delete;

    const Handler handler;
    const int listener; ///< the daemon closes it
    MHD_Daemon *const daemon;
};

HttpServer::Daemon::Daemon(const std::string &address, int port, Handler theHandler,
                           std::chrono::seconds longestIdle)
    : handler(std::move(theHandler)), listener(listenOn(address, port)),
      daemon(MHD_start_daemon(MHD_USE_EPOLL, 0, nullptr, nullptr, answer, const_cast<Handler *>(&handler),
                              MHD_OPTION_LISTEN_SOCKET, listener, MHD_OPTION_CONNECTION_LIMIT, MostConnections,
                              MHD_OPTION_CONNECTION_TIMEOUT, static_cast<unsigned>(longestIdle.count()),
                              MHD_OPTION_CONNECTION_MEMORY_LIMIT, ConnectionMemory, MHD_OPTION_END))
{
    if (daemon != nullptr)
        return;
    ::close(listener);
    fail(address, port, "no descriptors or no memory are left", "end other programs");
}

HttpServer::HttpServer(const std::string &address, int port, Handler theHandler, std::chrono::seconds longestIdle)
    : daemon(std::make_unique<Daemon>(address, port, std::move(theHandler), longestIdle))
{
}

HttpServer::~HttpServer() = default;

int HttpServer::port() const
{
    return portOf(daemon->listener);
}

int HttpServer::descriptor() const
{
    return MHD_get_daemon_info(daemon->daemon, MHD_DAEMON_INFO_EPOLL_FD)->epoll_fd;
}

std::chrono::milliseconds HttpServer::longestWait() const
{
    MHD_UNSIGNED_LONG_LONG wait = 0;
    return MHD_get_timeout(daemon->daemon, &wait) == MHD_YES ? std::chrono::milliseconds(wait)
                                                             : std::chrono::milliseconds::max();
}

void HttpServer::step()
{
    MHD_run(daemon->daemon);
}

} // namespace fgs
