// Answers the reads of one Modbus client, as the plainest server does, and ends with its parent's signal.
//
//   modbus_server pty    prints the path of a pseudo-terminal
//   modbus_server tcp    prints a port on 127.0.0.1
#include "plain.h"
#include "support/loopback.h"
#include "support/pseudo_terminal.h"

#include <cstdio>
#include <cstring>
#include <netinet/tcp.h>
#include <stdexcept>
#include <string>
#include <unistd.h>

namespace
{

using Bytes = std::basic_string<unsigned char>;

const unsigned char ReadHoldingRegisters = 3;
const std::size_t PduSize = 5; ///< of a request: function, address, count
const std::size_t CrcSize = 2;
const std::size_t TcpHeaderSize = 6; ///< transaction, protocol, length; the unit follows

void require(bool good, const char *what)
{
    if (!good)
        throw std::runtime_error(std::string(what) + ": " + std::strerror(errno));
}

/// Unit, function, number of bytes, words that count up. `unit` is where the request's unit stands.
Bytes answer(const unsigned char *unit)
{
    const int words = unit[4] << 8 | unit[5];
    require(unit[1] == ReadHoldingRegisters, "only reads of holding registers are served");
    Bytes reply(unit, 2);
    reply += static_cast<unsigned char>(2 * words);
    for (int i = 0; i < 2 * words; ++i)
        reply += static_cast<unsigned char>(i);
    return reply;
}

Bytes serialAnswer(const Bytes &request)
{
    Bytes reply = answer(request.data());
    const unsigned crc = plain::crcByTable(reply.data(), static_cast<int>(reply.size()));
    reply += static_cast<unsigned char>(crc);
    reply += static_cast<unsigned char>(crc >> 8);
    return reply;
}

Bytes tcpAnswer(const Bytes &request)
{
    const Bytes body = answer(request.data() + TcpHeaderSize);
    Bytes reply = request.substr(0, TcpHeaderSize);
    reply[4] = static_cast<unsigned char>(body.size() >> 8);
    reply[5] = static_cast<unsigned char>(body.size());
    return reply + body;
}

int terminal()
{
    std::string path;
    const int master = openPseudoTerminal(path);
    openRaw(path); // stays open, so that the client may come late
    std::printf("%s\n", path.c_str());
    std::fflush(stdout);
    return master;
}

int connection()
{
    const int listener = listenOnLoopback(0, 1), on = 1;
    std::printf("%d\n", portOf(listener));
    std::fflush(stdout);
    const int accepted = ::accept(listener, nullptr, nullptr);
    require(accepted >= 0, "no connection");
    ::setsockopt(accepted, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    return accepted;
}

void serve(int line, std::size_t requestSize, Bytes (*answerTo)(const Bytes &))
{
    Bytes request;
    unsigned char chunk[256];
    for (ssize_t count; (count = ::read(line, chunk, sizeof chunk)) > 0;) {
        request.append(chunk, static_cast<std::size_t>(count));
        for (; request.size() >= requestSize; request.erase(0, requestSize)) {
            const Bytes reply = answerTo(request);
            require(::write(line, reply.data(), reply.size()) == ssize_t(reply.size()),
                    "the client takes no reply");
        }
    }
}

} // namespace

int main(int argc, char **argv)
{
    try {
        if (argc == 2 && std::strcmp(argv[1], "pty") == 0)
            serve(terminal(), 1 + PduSize + CrcSize, serialAnswer);
        else if (argc == 2 && std::strcmp(argv[1], "tcp") == 0)
            serve(connection(), TcpHeaderSize + 1 + PduSize, tcpAnswer);
        else
            throw std::runtime_error("usage: modbus_server pty|tcp");
    } catch (const std::exception &error) {
        std::fprintf(stderr, "modbus_server: %s\n", error.what());
        return 1;
    }
    return 0;
}
