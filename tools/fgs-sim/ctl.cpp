#include "ctl.h"

#include "control.h"
#include "unix_address.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <unistd.h>

namespace fgssim
{

namespace
{

int complain(int code, const std::string &text)
{
    std::fprintf(stderr, "fgs-sim ctl: %s\n", text.c_str());
    return code;
}

bool isConnected(const Descriptor &socket, const std::string &path)
{
    if (path.size() > UnixAddress::MaxPath) {
        errno = ENAMETOOLONG;
        return false;
    }
    const UnixAddress address = UnixAddress::file(path);
    return ::connect(socket.get(), address.get(), address.size()) == 0;
}

bool sendLine(const Descriptor &socket, const std::string &line)
{
    const std::string bytes = line + "\n";
    std::size_t sent = 0;
    while (sent < bytes.size()) {
        const ssize_t count = ::send(socket.get(), bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
        if (count <= 0)
            return false;
        sent += std::size_t(count);
    }
    return true;
}

/// The next line; false: there is none. What is behind it stays in the buffer.
bool takeLine(const Descriptor &socket, std::string &buffer, std::string &line)
{
    char chunk[4096];
    for (std::size_t end = buffer.find('\n'); end == std::string::npos; end = buffer.find('\n')) {
        const ssize_t count = ::read(socket.get(), chunk, sizeof chunk);
        if (count <= 0)
            return false;
        buffer.append(chunk, std::size_t(count));
    }
    line = buffer.substr(0, buffer.find('\n'));
    buffer.erase(0, line.size() + 1);
    return true;
}

int printAnswer(const Descriptor &socket, const std::string &path)
{
    const std::string refused = ControlRefused;
    std::string buffer, line;
    while (takeLine(socket, buffer, line)) {
        if (line == ControlDone)
            return std::fflush(stdout) == 0 ? 0 : complain(ExitOther, "cannot write the answer to stdout");
        if (line.rfind(refused, 0) == 0)
            return complain(ExitOther, line.substr(refused.size()));
        std::printf("%s\n", line.c_str());
    }
    return complain(ExitLink, path + " has closed the connection; see whether its fgs-sim still runs");
}

} // namespace

int runCtl(const CtlOptions &options)
{
    const Descriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    if (!isConnected(socket, options.socket))
        return complain(ExitLink, "no fgs-sim listens at " + options.socket + " (" + std::strerror(errno) +
                                      "); start one with --control, or name its socket with --socket");
    if (!sendLine(socket, options.command))
        return complain(ExitLink, "cannot send to " + options.socket + ": " + std::strerror(errno));
    return printAnswer(socket, options.socket);
}

} // namespace fgssim
