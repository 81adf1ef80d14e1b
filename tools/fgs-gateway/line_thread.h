// The thread that has the driver and the line.
#ifndef FGS_GATEWAY_LINE_THREAD_H
#define FGS_GATEWAY_LINE_THREAD_H

#include "gateway/line.h"
#include "watch/line_trace.h"

#include <memory>
#include <thread>

namespace fgs
{

/// Runs as long as it is there. There is one at a time, for the driver is one in a process.
class LineThread
{
public:
    /// All of it outlives the thread; the functions are called on it.
    struct Wiring {
        Mailbox &mailbox;
        OrderDesk &orders;
        LineTrace *trace; ///< null: none is wanted
        bool readOnly;
        std::function<void()> alive;                     ///< as LineLoop::Wiring has it
        std::function<void(const std::string &)> tell;   ///< a line for people
        std::function<void(const std::string &)> failed; ///< it has ended early, and why
    };

    LineThread(std::shared_ptr<const GatewaySettings> theSettings, const Wiring &theWiring);
    /// Ends what the line waits for, and waits for the thread.
    ~LineThread();
    LineThread(const LineThread &) = delete;
    LineThread &operator=(const LineThread &) = delete;

private:
    void run();
    void poll();
    void record(const TraceEntry &entry, const WallClock &clock) const;

    const std::shared_ptr<const GatewaySettings> settings;
    const Wiring wiring;
    Stop stop;
    std::thread thread;
};

} // namespace fgs

#endif
