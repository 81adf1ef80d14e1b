#include "channel.h"
#include "endpoint.h"
#include "symbolic_link.h"

#include <QtCore/QSocketNotifier>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <stdlib.h>
#include <termios.h>
#include <unistd.h>

namespace fgssim
{

namespace
{

void require(bool success, const std::string &what)
{
    if (!success)
        throw EndpointError("--pty: " + what + ": " + std::strerror(errno));
}

int openMaster()
{
    const int fd = ::posix_openpt(O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
    require(fd >= 0, "no pseudo-terminal can be opened (see /proc/sys/kernel/pty/max)");
    return fd;
}

std::string unlockedSlave(int master)
{
    char path[128];
    require(::grantpt(master) == 0 && ::unlockpt(master) == 0 && ::ptsname_r(master, path, sizeof path) == 0,
            "the pseudo-terminal cannot be used");
    return path;
}

int openRaw(const std::string &path)
{
    const int fd = ::open(path.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC);
    require(fd >= 0, "cannot open " + path);
    termios settings{};
    const bool known = ::tcgetattr(fd, &settings) == 0;
    ::cfmakeraw(&settings);
    require(known && ::tcsetattr(fd, TCSANOW, &settings) == 0, "cannot set " + path + " to raw mode");
    return fd;
}

class PtyEndpoint : public Endpoint
{
public:
    PtyEndpoint(Simulation &simulation, const LineTimes &times, const PtyAddress &address)
        : master(openMaster()), path(unlockedSlave(master.get())), slave(openRaw(path)),
          symbolicLink(address.link, path),
          channel(simulation, times, [this](const char *bytes, std::size_t count) { return send(bytes, count); }),
          readable(master.get(), QSocketNotifier::Read)
    {
        QObject::connect(&readable, &QSocketNotifier::activated, &channel, [this] { receive(); });
    }

    std::string address() const override { return path; }

private:
    bool send(const char *bytes, std::size_t count)
    {
        return ::write(master.get(), bytes, count) == ssize_t(count);
    }

    void receive()
    {
        char bytes[Channel::ChunkSize];
        const ssize_t count = ::read(master.get(), bytes, sizeof bytes);
        if (count > 0)
            channel.receive(bytes, std::size_t(count));
    }

    const Descriptor master;
    const std::string path;
    const Descriptor slave; // kept open, so that a client may close its end and another one come
    const SymbolicLink symbolicLink;
    Channel channel;
    QSocketNotifier readable;
};

} // namespace

std::unique_ptr<Endpoint> openEndpoint(Simulation &simulation, const LineTimes &times, const PtyAddress &address)
{
    return std::make_unique<PtyEndpoint>(simulation, times, address);
}

} // namespace fgssim
