#include "symbolic_link.h"

#include "endpoint.h"

#include <cerrno>
#include <cstddef>
#include <cstring>
#include <filesystem>
#include <sys/socket.h>
#include <sys/un.h>

namespace fgssim
{

namespace
{

[[noreturn]] void refuse(const std::string &path, const std::string &why, const std::string &remedy)
{
    throw EndpointError("--pty: cannot make the link " + path + ": " + why + "; " + remedy);
}

/// The same for all ways to write the path; its last part may be a link.
std::string canonical(const std::string &path)
{
    std::error_code ignored;
    const std::filesystem::path whole = std::filesystem::absolute(path, ignored).lexically_normal();
    const std::filesystem::path folder = std::filesystem::weakly_canonical(whole.parent_path(), ignored);
    return (folder / whole.filename()).string();
}

struct SocketName {
    sockaddr_un address{};
    socklen_t length;

    // Abstract names begin with a null character. A longer path is told apart by its hash.
    explicit SocketName(const std::string &path) : length(0)
    {
        const std::size_t room = sizeof address.sun_path - 1;
        std::string name = "fgs-sim:" + path;
        if (name.size() > room)
            name = "fgs-sim:" + std::to_string(std::hash<std::string>()(path));
        address.sun_family = AF_UNIX;
        std::memcpy(address.sun_path + 1, name.data(), name.size());
        length = socklen_t(offsetof(sockaddr_un, sun_path) + 1 + name.size());
    }
    const sockaddr *get() const { return reinterpret_cast<const sockaddr *>(&address); }
};

/// " (process 1234)", or nothing if it cannot be told.
std::string holderOf(const SocketName &name)
{
    const Descriptor asking(::socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
    ucred holder{};
    socklen_t size = sizeof holder;
    const bool known = ::connect(asking.get(), name.get(), name.length) == 0 &&
                       ::getsockopt(asking.get(), SOL_SOCKET, SO_PEERCRED, &holder, &size) == 0;
    return known && holder.pid > 0 ? " (process " + std::to_string(holder.pid) + ")" : "";
}

/// Where a symbolic link leads; empty if it is none.
std::string target(const std::string &path)
{
    std::error_code none;
    return std::filesystem::read_symlink(path, none).string();
}

} // namespace

PathClaim::PathClaim(const std::string &path)
    : socket(path.empty() ? -1 : ::socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0))
{
    if (path.empty())
        return;
    const SocketName name(canonical(path));
    if (::bind(socket.get(), name.get(), name.length) == 0 && ::listen(socket.get(), SOMAXCONN) == 0)
        return;
    if (errno != EADDRINUSE)
        refuse(path, std::strerror(errno), "choose another path");
    refuse(path, "another fgs-sim" + holderOf(name) + " has it, on " + target(path),
           "choose another path, or end that one");
}

SymbolicLink::SymbolicLink(const std::string &at, const std::string &to) : path(at), destination(to), claim(path)
{
    if (path.empty())
        return;
    if (target(path).rfind("/dev/pts/", 0) == 0)
        ::unlink(path.c_str());
    if (::symlink(destination.c_str(), path.c_str()) != 0)
        refuse(path, std::strerror(errno), "choose another path");
}

SymbolicLink::~SymbolicLink()
{
    if (!path.empty() && target(path) == destination)
        ::unlink(path.c_str());
}

} // namespace fgssim
