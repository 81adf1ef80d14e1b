#include "stop.h"

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <stdexcept>
#include <string>
#include <sys/eventfd.h>
#include <unistd.h>

namespace fgs
{

static_assert(std::atomic<bool>::is_always_lock_free, "a signal handler uses it");

Stop::Stop() : event(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
{
    if (event < 0)
        throw std::runtime_error(std::string("cannot make an event: ") + std::strerror(errno));
}

Stop::~Stop()
{
    close(event);
}

void Stop::request()
{
    const int before = errno; // a signal handler leaves it alone
    requested = true;
    const std::uint64_t one = 1;
    while (write(event, &one, sizeof one) < 0 && errno == EINTR) {
    }
    errno = before;
}

} // namespace fgs
