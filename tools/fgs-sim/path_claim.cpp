#include "path_claim.h"

#include "endpoint.h"
#include "unix_address.h"

#include <cerrno>
#include <cstring>
#include <filesystem>

namespace fgssim
{

namespace
{

/// The same for all ways to write the path; its last part may be a link.
std::string canonical(const std::string &path)
{
    std::error_code ignored;
    const std::filesystem::path whole = std::filesystem::absolute(path, ignored).lexically_normal();
    const std::filesystem::path folder = std::filesystem::weakly_canonical(whole.parent_path(), ignored);
    return (folder / whole.filename()).string();
}

} // namespace

PathClaim::PathClaim(const std::string &path, const std::string &failure)
    : socket(path.empty() ? -1 : ::socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0))
{
    if (path.empty())
        return;
    const UnixAddress name = UnixAddress::abstractName("fgs-sim:" + canonical(path));
    if (::bind(socket.get(), name.get(), name.size()) == 0 && ::listen(socket.get(), SOMAXCONN) == 0)
        return;
    if (errno != EADDRINUSE)
        refusePath(failure, path, std::strerror(errno));
    const std::string target = linkTarget(path);
    refusePath(failure, path,
               "another fgs-sim" + listenerAt(name) + " has it" + (target.empty() ? "" : ", on " + target),
               "choose another path, or end that one");
}

std::string linkTarget(const std::string &path)
{
    std::error_code none;
    return std::filesystem::read_symlink(path, none).string();
}

void refusePath(const std::string &failure, const std::string &path, const std::string &why,
                const std::string &remedy)
{
    throw EndpointError(failure + " " + path + ": " + why + "; " + remedy);
}

} // namespace fgssim
