#include "unix_address.h"

#include "descriptor.h"

#include <cstddef>
#include <cstring>

namespace fgssim
{

UnixAddress::UnixAddress(const std::string &text, std::size_t zeros)
    : length(socklen_t(offsetof(sockaddr_un, sun_path) + zeros + text.size()))
{
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path + zeros, text.data(), text.size());
}

// Abstract names begin with a null character.
UnixAddress UnixAddress::abstractName(const std::string &name)
{
    return {name.size() <= MaxPath ? name : std::to_string(std::hash<std::string>()(name)), 1};
}

UnixAddress UnixAddress::file(const std::string &path)
{
    return {path, 0};
}

std::string listenerAt(const UnixAddress &address)
{
    const Descriptor asking(::socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
    ucred holder{};
    socklen_t size = sizeof holder;
    const bool known = ::connect(asking.get(), address.get(), address.size()) == 0 &&
                       ::getsockopt(asking.get(), SOL_SOCKET, SO_PEERCRED, &holder, &size) == 0;
    return known && holder.pid > 0 ? " (process " + std::to_string(holder.pid) + ")" : "";
}

} // namespace fgssim
