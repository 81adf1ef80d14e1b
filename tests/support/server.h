// Servers of this machine for tests, unpacked beside the build by scripts/servers; each ends with its object.
#ifndef TARN_TESTS_SERVER_H
#define TARN_TESTS_SERVER_H

#include "support/loopback.h"

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <fstream>
#include <spawn.h>
#include <string>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

inline std::string serverProgram(const std::string &name)
{
    return std::string(TARN_SERVERS) + "/usr/" + name;
}

inline bool isServerThere(const std::string &name)
{
    return ::access(serverProgram(name).c_str(), X_OK) == 0;
}

/// Programs of this machine, also where the tests themselves run in an emulator. The output goes to a file.
inline pid_t startServer(const std::vector<std::string> &command, const std::string &log)
{
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, log.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600);
    posix_spawn_file_actions_adddup2(&actions, STDOUT_FILENO, STDERR_FILENO);
    std::vector<char *> argv;
    for (const std::string &word : command)
        argv.push_back(const_cast<char *>(word.c_str())); // NOLINT(cppcoreguidelines-pro-type-const-cast)
    argv.push_back(nullptr);
    pid_t process = -1;
    EXPECT_EQ(::posix_spawnp(&process, argv[0], &actions, nullptr, argv.data(), environ), 0) << command[0];
    posix_spawn_file_actions_destroy(&actions);
    return process;
}

/// Runs it to its end.
inline int runServer(const std::vector<std::string> &command, const std::string &log)
{
    int status = -1;
    ::waitpid(startServer(command, log), &status, 0);
    return status;
}

/// One that listens on a port of the loopback, which it keeps over its restarts.
class Server
{
public:
    Server() : reserved(boundToLoopback(0)) {}
    Server(const Server &) = delete;
    Server &operator=(const Server &) = delete;
    ~Server()
    {
        kill();
        ::close(reserved);
    }

    int port() const { return portOf(reserved); }

    /// Comes back once it listens.
    void start(const std::vector<std::string> &command, const std::string &log)
    {
        process = startServer(command, log);
        while (!listens() && !hasEnded(log))
            std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    void stop() { end(SIGTERM); }
    void kill() { end(SIGKILL); }
    /// It keeps the port, and its clients hear nothing.
    void freeze() const { ::kill(process, SIGSTOP); }
    void thaw() const { ::kill(process, SIGCONT); }

private:
    bool listens() const
    {
        const int caller = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        const sockaddr_in remote = onLoopback(port());
        const bool isThere = ::connect(caller, reinterpret_cast<const sockaddr *>(&remote), sizeof remote) == 0;
        ::close(caller);
        return isThere;
    }

    bool hasEnded(const std::string &log)
    {
        if (::waitpid(process, nullptr, WNOHANG) == 0)
            return false;
        process = -1;
        std::ifstream stream(log);
        ADD_FAILURE() << std::string(std::istreambuf_iterator<char>(stream), {});
        return true;
    }

    void end(int signal)
    {
        if (process <= 0)
            return;
        ::kill(process, signal);
        ::waitpid(process, nullptr, 0);
        process = -1;
    }

    const int reserved;
    pid_t process = -1;
};

#endif
