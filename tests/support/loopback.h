// Sockets on the loopback, for what plays the other side.
#ifndef TARN_TESTS_LOOPBACK_H
#define TARN_TESTS_LOOPBACK_H

#include <arpa/inet.h>
#include <cstdint>
#include <stdexcept>
#include <sys/socket.h>

inline sockaddr_in onLoopback(int port)
{
    sockaddr_in local = {};
    local.sin_family = AF_INET;
    local.sin_port = htons(std::uint16_t(port));
    local.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return local;
}

/// A socket of this port, 0 for a free one, which others may bind too while none listens. Throws
/// std::runtime_error.
inline int boundToLoopback(int port)
{
    const int one = 1;
    const int socket = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    ::setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &one, sizeof one);
    const sockaddr_in local = onLoopback(port);
    if (::bind(socket, reinterpret_cast<const sockaddr *>(&local), sizeof local) != 0)
        throw std::runtime_error("no port on the loopback");
    return socket;
}

/// As boundToLoopback(), listening for so many connections at a time.
inline int listenOnLoopback(int port, int queue)
{
    const int listener = boundToLoopback(port);
    if (::listen(listener, queue) != 0)
        throw std::runtime_error("cannot listen on the loopback");
    return listener;
}

inline int portOf(int socket)
{
    sockaddr_in local = {};
    socklen_t size = sizeof local;
    ::getsockname(socket, reinterpret_cast<sockaddr *>(&local), &size);
    return ntohs(local.sin_port);
}

/// A connection, as far as it goes without waiting if the flags say so.
inline int callLoopback(int port, int flags = 0)
{
    const int caller = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | flags, 0);
    const sockaddr_in remote = onLoopback(port);
    ::connect(caller, reinterpret_cast<const sockaddr *>(&remote), sizeof remote);
    return caller;
}

#endif
