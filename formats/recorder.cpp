#include "recorder.h"

#include <chrono>
#include <csignal>

namespace formats
{

namespace
{

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
      file(settings), waiting(sectionBlock(application))
{
    waiting.reserve(capacity);
    const SignalsHeldBack held;
    thread = std::thread([this] { run(); });
}

unsigned Recorder::addInterface(const Interface &interface)
{
    const std::lock_guard<std::mutex> lock(mutex);
    waiting += interfaceBlock(interface); // beyond the bound if need be: a frame without it cannot be read
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
    bool wasEmpty = false;
    {
        const std::lock_guard<std::mutex> lock(mutex);
        if (!hasFailed && !hasRoom(frameBlockSize(frame))) {
            ++gap;
            ++dropped;
            return;
        }
        ++recorded;
        gap = 0;
        if (hasFailed)
            return;
        wasEmpty = waiting.empty();
        appendFrameBlock(waiting, frame);
    }
    if (wasEmpty)
        changed.notify_one();
}

/// Waits for something to be written. False: nothing is left, and nothing comes any more.
bool Recorder::takeWaiting(std::string &taken)
{
    taken.clear();
    std::unique_lock<std::mutex> lock(mutex);
    changed.wait(lock, [this] { return hasEnded || !waiting.empty(); });
    changed.wait_for(lock, Collecting, [this] { return hasEnded; });
    taken.swap(waiting);
    return !taken.empty();
}

void Recorder::run()
{
    std::string taken;
    taken.reserve(capacity);
    try {
        while (takeWaiting(taken))
            written += file.write(taken);
    } catch (const TraceError &error) {
        failure = error.what();
        const std::lock_guard<std::mutex> lock(mutex);
        hasFailed = true;
        waiting.clear();
    }
}

std::string Recorder::end()
{
    {
        const std::lock_guard<std::mutex> lock(mutex);
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
    if (dropped)
        return "the trace " + path + " has gaps: it could not be written as fast as the frames came; " + missing;
    return {};
}

} // namespace formats
