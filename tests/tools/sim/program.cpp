#include "program.h"

#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

using fgssim::Byte;
using fgssim::Bytes;

namespace
{

const int LongWait = 20000; // ms; only a broken simulator makes a test wait so long

bool readable(int descriptor)
{
    pollfd wanted = {descriptor, POLLIN, 0};
    return ::poll(&wanted, 1, LongWait) > 0;
}

} // namespace

Program::Program(const std::vector<std::string> &arguments)
{
    int out[2], err[2];
    EXPECT_EQ(::pipe2(out, O_CLOEXEC), 0);
    EXPECT_EQ(::pipe2(err, O_CLOEXEC), 0);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, out[1], STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, err[1], STDERR_FILENO);
    std::vector<char *> argv = {const_cast<char *>(FGS_SIM)};
    for (const std::string &argument : arguments)
        argv.push_back(const_cast<char *>(argument.c_str()));
    argv.push_back(nullptr);
    EXPECT_EQ(::posix_spawn(&process, FGS_SIM, &actions, nullptr, argv.data(), environ), 0);
    posix_spawn_file_actions_destroy(&actions);
    ::close(out[1]);
    ::close(err[1]);
    output = out[0];
    log = err[0];
}

Program::~Program()
{
    if (process > 0) {
        ::kill(process, SIGKILL);
        wait();
    }
    ::close(output);
    ::close(log);
}

void Program::signal(int number)
{
    ::kill(process, number);
}

int Program::wait()
{
    int status = 0;
    EXPECT_EQ(::waitpid(process, &status, 0), process);
    process = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

std::string Program::line(int descriptor)
{
    std::string text;
    char letter = 0;
    while (readable(descriptor) && ::read(descriptor, &letter, 1) == 1 && letter != '\n')
        text += letter;
    return text;
}

std::string Program::rest(int descriptor)
{
    std::string text;
    char letter = 0;
    while (readable(descriptor) && ::read(descriptor, &letter, 1) == 1)
        text += letter;
    return text;
}

std::string Program::logLineWith(const std::string &text)
{
    for (std::string next = logLine(); !next.empty(); next = logLine()) {
        if (next.find(text) != std::string::npos)
            return next;
    }
    return {};
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

int openTcp(const std::string &address)
{
    const std::size_t colon = address.rfind(':');
    sockaddr_in peer{};
    peer.sin_family = AF_INET;
    peer.sin_port = htons(std::uint16_t(std::stoi(address.substr(colon + 1))));
    EXPECT_EQ(::inet_pton(AF_INET, address.substr(0, colon).c_str(), &peer.sin_addr), 1);
    const int descriptor = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    EXPECT_EQ(::connect(descriptor, reinterpret_cast<const sockaddr *>(&peer), sizeof peer), 0) << address;
    return descriptor;
}
