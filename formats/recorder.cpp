#include "recorder.h"

#include <chrono>
#include <csignal>
#include <cstring>

namespace formats
{

namespace
{

/// Bytes of a queue that are left to what is no frame: without an interface no frame of it can be read.
const std::size_t BlocksReserve = 1 << 20;

/// What comes within it is written together.
const std::chrono::milliseconds Collecting(50);

/// Nanoseconds by which times go back because two clocks are read one after the other.
const std::int64_t Jitter = 1000000;

/// A thread that is started meanwhile gets no signals: they are for the threads that wait for them.
class SignalsHeldBack
{
public:
    SignalsHeldBack()
    {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &before);
    }
    ~SignalsHeldBack() { pthread_sigmask(SIG_SETMASK, &before, nullptr); }

private:
    sigset_t before;
};

} // namespace

Recorder::Recorder(const TraceSettings &settings, const std::string &application, std::size_t queueBytes)
    : path(settings.isToStdout() ? "to the standard output" : "'" + settings.path + "'"), capacity(queueBytes),
      file(settings), queues{Queue(capacity + BlocksReserve), Queue(capacity + BlocksReserve)}
{
    appendBlock(sectionBlock(application));
    const SignalsHeldBack held;
    thread = std::thread([this] { run(); });
}

/// Beyond the bound of frames if need be, as far as the reserve goes. False: there is no room.
bool Recorder::appendBlock(const std::string &block)
{
    if (waiting->size + block.size() > capacity + BlocksReserve)
        return false;
    std::memcpy(waiting->bytes.get() + waiting->size, block.data(), block.size());
    waiting->size += block.size();
    return true;
}

unsigned Recorder::addInterface(const Interface &interface)
{
    const std::lock_guard<Lock> lock(mutex);
    hasTooManyInterfaces = hasTooManyInterfaces || !appendBlock(interfaceBlock(interface));
    hasFailed = hasFailed || hasTooManyInterfaces;
    return interfaces++;
}

void Recorder::record(const Frame &given)
{
    Frame frame = given;
    if (frame.time < latest && latest - frame.time < Jitter)
        frame.time = latest;
    latest = frame.time;
    gap ? appendMarked(frame) : append(frame);
}

/// Tells that frames are missing before it.
void Recorder::appendMarked(Frame frame)
{
    const std::string comment =
        std::to_string(gap) +
        " frames before this one are missing: the trace could not be written as fast as they came";
    const std::string both = frame.comment.empty() ? comment : comment + "; " + std::string(frame.comment);
    frame.comment = both;
    append(frame);
}

void Recorder::append(const Frame &frame)
{
    const std::size_t size = frameBlockSize(frame);
    bool wasEmpty = false;
    {
        const std::lock_guard<Lock> lock(mutex);
        wasEmpty = waiting->size == 0;
        if (!hasFailed && waiting->size + size > capacity) {
            ++gap;
            ++dropped;
            return;
        }
        ++recorded;
        gap = 0;
        if (hasFailed)
            return;
        writeFrameBlock(waiting->bytes.get() + waiting->size, size, frame);
        waiting->size += size;
        ++waiting->frames;
    }
    if (wasEmpty)
        changed.notify_one();
}

/// Waits for something to be written. False: nothing is left, and nothing comes any more.
bool Recorder::takeWaiting(Queue *&taken)
{
    std::unique_lock<Lock> lock(mutex);
    taken->size = 0;
    taken->frames = 0;
    changed.wait(lock, [this] { return hasEnded || waiting->size > 0; });
    changed.wait_for(lock, Collecting, [this] { return hasEnded; });
    std::swap(taken, waiting);
    return taken->size > 0;
}

void Recorder::run()
{
    Queue *taken = &queues[1];
    try {
        while (takeWaiting(taken)) {
            file.write({taken->bytes.get(), taken->size});
            written += taken->frames;
        }
    } catch (const TraceError &error) {
        failure = error.what();
        isFailureNew.store(true, std::memory_order_release);
        const std::lock_guard<Lock> lock(mutex);
        hasFailed = true;
    }
}

std::string Recorder::tellFailure()
{
    isFailureNew = false;
    return "the trace " + path + " ends here: " + failure;
}

std::string Recorder::end()
{
    {
        const std::lock_guard<Lock> lock(mutex);
        hasEnded = true;
    }
    file.end();
    changed.notify_one();
    if (thread.joinable())
        thread.join();
    return problem();
}

std::string Recorder::problem() const
{
    const std::string missing = "up to " + std::to_string(recorded + dropped - written) + " of " +
                                std::to_string(recorded + dropped) + " frames are missing";
    if (!failure.empty())
        return "the trace " + path + " has ended early: " + failure + "; " + missing;
    if (hasTooManyInterfaces)
        return "the trace " + path + " has ended early: lines came faster than it could be written; " + missing;
    if (dropped)
        return "the trace " + path + " has gaps: it could not be written as fast as the frames came; " + missing;
    return {};
}

} // namespace formats
