#include "host_lookup.h"

#include "descriptor.h"

#include <atomic>
#include <string>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <thread>

namespace fgs
{

/// What the thread and whoever asks have in common.
struct HostLookup::Search {
    Search(const QString &theHost, int thePort) : host(theHost.toStdString()), port(std::to_string(thePort)) {}
    ~Search()
    {
        if (found)
            freeaddrinfo(found);
    }

    /// False: the name is no numeric address, and numeric ones only were wanted.
    bool run(int flags)
    {
        addrinfo wanted = {};
        wanted.ai_flags = flags | AI_NUMERICSERV;
        wanted.ai_socktype = SOCK_STREAM;
        const int result = getaddrinfo(host.c_str(), port.c_str(), &wanted, &found);
        if (result == EAI_NONAME && (flags & AI_NUMERICHOST))
            return false;
        error = result;
        eventfd_write(done.get(), 1);
        return true;
    }

    const std::string host;
    const std::string port;
    addrinfo *found = nullptr;
    std::atomic<int> error{0}; ///< written after `found`
    const Descriptor done{eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)};
};

HostLookup::HostLookup(const QString &host, int port) : search(std::make_shared<Search>(host, port))
{
    if (!search->run(AI_NUMERICHOST))
        std::thread([mine = search] { mine->run(0); }).detach();
}

int HostLookup::descriptor() const
{
    return search->done.get();
}

int HostLookup::error() const
{
    return search->error;
}

const addrinfo *HostLookup::addresses() const
{
    return search->found;
}

} // namespace fgs
