#include "program.h"

#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <csignal>
#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

using fgssim::Byte;
using fgssim::Bytes;

std::string Program::logLineWith(const std::string &text)
{
    for (std::string next = logLine(); !next.empty(); next = logLine()) {
        if (next.find(text) != std::string::npos)
            return next;
    }
    return {};
}

int Program::interrupted()
{
    signal(SIGINT);
    return wait();
}

Client::~Client()
{
    ::close(descriptor);
}

void Client::send(const Bytes &data)
{
    EXPECT_EQ(::write(descriptor, data.data(), data.size()), ssize_t(data.size()));
}

Bytes Client::receive(std::size_t count)
{
    Bytes received;
    while (received.size() < count && readable(descriptor)) {
        Byte chunk[4096];
        const ssize_t size = ::read(descriptor, chunk, std::min(sizeof chunk, count - received.size()));
        if (size <= 0)
            break;
        received.insert(received.end(), chunk, chunk + size);
    }
    return received;
}

bool Client::isClosed()
{
    Byte byte = 0;
    return readable(descriptor) && ::read(descriptor, &byte, 1) <= 0;
}

int openDevice(const std::string &path)
{
    const int descriptor = ::open(path.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC);
    EXPECT_GE(descriptor, 0) << path;
    return descriptor;
}

int openTcp(const std::string &link)
{
    EXPECT_EQ(link.rfind("tcp:", 0), 0u) << link;
    const std::string address = link.substr(4);
    const std::size_t colon = address.rfind(':');
    sockaddr_in peer{};
    peer.sin_family = AF_INET;
    peer.sin_port = htons(std::uint16_t(std::stoi(address.substr(colon + 1))));
    EXPECT_EQ(::inet_pton(AF_INET, address.substr(0, colon).c_str(), &peer.sin_addr), 1);
    const int descriptor = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    EXPECT_EQ(::connect(descriptor, reinterpret_cast<const sockaddr *>(&peer), sizeof peer), 0) << address;
    return descriptor;
}
