// A mosquitto of the test's own on a free port of the loopback, with a folder of its own; ends with the object.
#ifndef TARN_TESTS_MOSQUITTO_H
#define TARN_TESTS_MOSQUITTO_H

#include "support/server.h"
#include "support/temporary_folder.h"

class Mosquitto
{
public:
    static std::string program(const std::string &name) { return serverProgram(name); }
    static bool isThere() { return isServerThere("sbin/mosquitto"); }

    int port() const { return server.port(); }
    std::string file(const std::string &name) const { return folder.path / name; }

    /// Lines of the configuration, besides the listener; anonymous clients are allowed unless they say otherwise.
    std::string configuration = "allow_anonymous true\n";

    /// Comes back once it listens.
    void start()
    {
        std::ofstream(file("mosquitto.conf")) << "listener " << port() << " 127.0.0.1\nuser root\n"
                                              << "max_queued_messages 0\n"
                                              << configuration;
        server.start({program("sbin/mosquitto"), "-c", file("mosquitto.conf")}, file("mosquitto.log"));
    }
    void stop() { server.stop(); }
    void kill() { server.kill(); }
    void freeze() const { server.freeze(); }
    void thaw() const { server.thaw(); }

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

    /// AUTHORITY.crt and AUTHORITY.key.
    void makeAuthority(const std::string &authority, int days = 30) const
    {
        openssl("req -x509 -newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes -days " + std::to_string(days) +
                " -subj /CN=" + authority + " -keyout " + file(authority + ".key") + " -out " +
                file(authority + ".crt"));
    }

    /// NAME.crt and NAME.key, signed by AUTHORITY.crt, which is made if there is none.
    void makeCertificate(const std::string &authority, const std::string &name,
                         const std::string &hosts = "IP:127.0.0.1,DNS:localhost") const
    {
        if (::access(file(authority + ".crt").c_str(), R_OK) != 0)
            makeAuthority(authority);
        openssl("req -newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes -subj /CN=" + name + " -keyout " +
                file(name + ".key") + " -out " + file(name + ".csr"));
        std::ofstream(file("extensions")) << "subjectAltName=" + hosts + "\n";
        openssl("x509 -req -days 30 -in " + file(name + ".csr") + " -CA " + file(authority + ".crt") + " -CAkey " +
                file(authority + ".key") + " -CAcreateserial -extfile " + file("extensions") + " -out " +
                file(name + ".crt"));
    }

private:
    void openssl(const std::string &arguments) const
    {
        EXPECT_EQ(runServer({"sh", "-c", "openssl " + arguments}, file("tools.log")), 0) << arguments;
    }

    TemporaryFolder folder;
    Server server;
};

/// Skips the test where mosquitto is missing.
#define NEED_MOSQUITTO()                                                                                           \
    if (!Mosquitto::isThere())                                                                                     \
    GTEST_SKIP() << "no mosquitto in " TARN_SERVERS "; scripts/servers unpacks it"

#endif
