// A mosquitto of the test's own on a free port of the loopback, with a folder of its own; ends with the object.
#ifndef TARN_TESTS_MOSQUITTO_H
#define TARN_TESTS_MOSQUITTO_H

#include "support/loopback.h"
#include "support/temporary_folder.h"

#include <csignal>
#include <fcntl.h>
#include <fstream>
#include <spawn.h>
#include <string>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

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

class Mosquitto
{
public:
    static std::string program(const std::string &name) { return std::string(TARN_SERVERS) + "/usr/" + name; }
    static bool isThere() { return ::access(program("sbin/mosquitto").c_str(), X_OK) == 0; }

    Mosquitto() : reserved(boundToLoopback(0)) {}
    Mosquitto(const Mosquitto &) = delete;
    Mosquitto &operator=(const Mosquitto &) = delete;
    ~Mosquitto()
    {
        kill();
        ::close(reserved);
    }

    int port() const { return portOf(reserved); }
    std::string file(const std::string &name) const { return folder.path / name; }

    /// Lines of the configuration, besides the listener; anonymous clients are allowed unless they say otherwise.
    std::string configuration = "allow_anonymous true\n";

    /// Comes back once it listens.
    void start()
    {
        std::ofstream(file("mosquitto.conf")) << "listener " << port() << " 127.0.0.1\nuser root\n"
                                              << "max_queued_messages 0\n"
                                              << configuration;
        process = startServer({program("sbin/mosquitto"), "-c", file("mosquitto.conf")}, file("mosquitto.log"));
        while (!listens() && !hasEnded())
            std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    void stop() { end(SIGTERM); }
    void kill() { end(SIGKILL); }
    /// It keeps the port, and its clients hear nothing.
    void freeze() const { ::kill(process, SIGSTOP); }
    void thaw() const { ::kill(process, SIGCONT); }

    std::string log() const
    {
        std::ifstream stream(file("mosquitto.log"));
        return {std::istreambuf_iterator<char>(stream), {}};
    }

    void addUser(const std::string &user, const std::string &password) const
    {
        std::ofstream(file("passwords"), std::ios::app);
        runServer({program("bin/mosquitto_passwd"), "-b", file("passwords"), user, password}, file("tools.log"));
    }

    /// NAME.crt and NAME.key, signed by AUTHORITY.crt, which is made if there is none; for 127.0.0.1.
    void makeCertificate(const std::string &authority, const std::string &name) const
    {
        if (::access(file(authority + ".crt").c_str(), R_OK) != 0)
            openssl("req -x509 -newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes -days 30 -subj /CN=" +
                    authority + " -keyout " + file(authority + ".key") + " -out " + file(authority + ".crt"));
        openssl("req -newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes -subj /CN=" + name + " -keyout " +
                file(name + ".key") + " -out " + file(name + ".csr"));
        std::ofstream(file("extensions")) << "subjectAltName=IP:127.0.0.1,DNS:localhost\n";
        openssl("x509 -req -days 30 -in " + file(name + ".csr") + " -CA " + file(authority + ".crt") + " -CAkey " +
                file(authority + ".key") + " -CAcreateserial -extfile " + file("extensions") + " -out " +
                file(name + ".crt"));
    }

private:
    void openssl(const std::string &arguments) const
    {
        EXPECT_EQ(runServer({"sh", "-c", "openssl " + arguments}, file("tools.log")), 0) << arguments;
    }

    bool listens() const
    {
        const int caller = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        const sockaddr_in remote = onLoopback(port());
        const bool isThere = ::connect(caller, reinterpret_cast<const sockaddr *>(&remote), sizeof remote) == 0;
        ::close(caller);
        return isThere;
    }

    bool hasEnded()
    {
        if (::waitpid(process, nullptr, WNOHANG) == 0)
            return false;
        process = -1;
        ADD_FAILURE() << log();
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

    TemporaryFolder folder;
    const int reserved;
    pid_t process = -1;
};

/// Skips the test where mosquitto is missing.
#define NEED_MOSQUITTO()                                                                                           \
    if (!Mosquitto::isThere())                                                                                     \
    GTEST_SKIP() << "no mosquitto in " TARN_SERVERS "; scripts/servers unpacks it"

#endif
