// A listening end on TCP for tests that play the other side.
#ifndef TARN_TESTS_LOOPBACK_H
#define TARN_TESTS_LOOPBACK_H

#include <arpa/inet.h>
#include <sys/socket.h>

/// Listens for one connection on a free port of the loopback. Returns the descriptor.
inline int listenOnLoopback(int &port)
{
    const int listener = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in local = {};
    local.sin_family = AF_INET;
    local.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof local;
    ::bind(listener, reinterpret_cast<sockaddr *>(&local), size);
    ::listen(listener, 1);
    ::getsockname(listener, reinterpret_cast<sockaddr *>(&local), &size);
    port = ntohs(local.sin_port);
    return listener;
}

#endif
