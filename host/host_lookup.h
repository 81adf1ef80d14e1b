// The addresses of a host by its name.
#ifndef FGS_HOST_HOST_LOOKUP_H
#define FGS_HOST_HOST_LOOKUP_H

#include <memory>
#include <netdb.h>
#include <QtCore/QString>

namespace fgs
{

/// A look-up in a thread of its own, as it may take half a minute. Nobody has to wait for it: neither the object's
/// end nor the program's does.
class HostLookup
{
public:
    HostLookup(const QString &host, int port);

    /// Readable once the look-up is done; what follows is known only then.
    int descriptor() const;
    /// What getaddrinfo() returned.
    int error() const;
    /// The addresses for a stream, the best one first. They live as long as the look-up.
    const addrinfo *addresses() const;

private:
    struct Search;
    std::shared_ptr<Search> search;
};

} // namespace fgs

#endif
