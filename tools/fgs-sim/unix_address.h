// Addresses of local sockets.
#ifndef FGS_SIM_UNIX_ADDRESS_H
#define FGS_SIM_UNIX_ADDRESS_H

#include <string>
#include <sys/socket.h>
#include <sys/un.h>

namespace fgssim
{

class UnixAddress
{
public:
    /// The longest path of a socket, in characters.
    static const std::size_t MaxPath = sizeof(sockaddr_un::sun_path) - 1;

    /// A name without a file, which ends with the process. A longer one than MaxPath is told apart by its hash.
    static UnixAddress abstractName(const std::string &name);
    /// REQUIRES: no longer than MaxPath.
    static UnixAddress file(const std::string &path);

    const sockaddr *get() const { return reinterpret_cast<const sockaddr *>(&address); }
    socklen_t size() const { return length; }

private:
    /// The text stands behind so many zeros.
    UnixAddress(const std::string &text, std::size_t zeros);

    sockaddr_un address{};
    socklen_t length;
};

/// " (process 1234)": who listens there; empty if nobody does, or it cannot be told.
std::string listenerAt(const UnixAddress &address);

} // namespace fgssim

#endif
