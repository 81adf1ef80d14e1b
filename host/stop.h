// A wish to end what is waited for.
#ifndef FGS_HOST_STOP_H
#define FGS_HOST_STOP_H

#include <atomic>

namespace fgs
{

/// Any thread may ask, a signal handler too, and every wait that knows of it ends at once. It cannot be taken back.
class Stop
{
public:
    /// Throws std::runtime_error if the system has no descriptor left.
    Stop();
    ~Stop();
    Stop(const Stop &) = delete;
    Stop &operator=(const Stop &) = delete;

    void request();
    bool isRequested() const { return requested; }
    /// Readable from the request on, for poll().
    int descriptor() const { return event; }

private:
    std::atomic<bool> requested{false};
    const int event;
};

} // namespace fgs

#endif
