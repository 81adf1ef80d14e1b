// Records frames into a trace without ever holding up the line that they come from.
#ifndef FORMATS_RECORDER_H
#define FORMATS_RECORDER_H

#include "pcapng_writer.h"
#include "trace_file.h"

#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>

namespace formats
{

/// A thread of its own writes; frames wait for it in a queue of bounded size. What finds no room there is left out:
/// the comment of the next frame says how many were, and so does end(). If the trace cannot be written any more, it
/// ends, and nothing else does. All calls on one thread.
class Recorder
{
public:
    static const std::size_t UsualQueue = 4 << 20; ///< bytes; about 30,000 frames

    /// Throws TraceError if it cannot be opened.
    Recorder(const TraceSettings &settings, const std::string &application, std::size_t queueBytes = UsualQueue);
    Recorder(const Recorder &) = delete;
    Recorder &operator=(const Recorder &) = delete;
    ~Recorder() { end(); }

    /// Returns its number for Frame.
    unsigned addInterface(const Interface &interface);
    /// A time that is less than a millisecond before that of the last frame is taken for that.
    void record(const Frame &frame);
    /// Frames so far that found no room in the queue.
    std::uint64_t droppedFrames() const { return dropped; }

    /// Once, as soon as the trace has ended early: in words why, and what to do. Otherwise empty.
    std::string news() { return isFailureNew.load(std::memory_order_acquire) ? tellFailure() : std::string(); }

    /// Writes what waits. Returns in words what is wrong with the trace, and what to do; empty if nothing.
    std::string end();

private:
    /// Held for a frame or for less; costs a third of a std::mutex.
    class Lock
    {
    public:
        void lock()
        {
            while (isHeld.exchange(true, std::memory_order_acquire))
                std::this_thread::yield();
        }
        void unlock() { isHeld.store(false, std::memory_order_release); }

    private:
        std::atomic<bool> isHeld{false};
    };

    /// Whole blocks in memory that is there from the start.
    struct Queue {
        explicit Queue(std::size_t capacity) : bytes(new char[capacity]) {}

        const std::unique_ptr<char[]> bytes;
        std::size_t size = 0;
        std::uint64_t frames = 0;
    };

    void run();
    bool takeWaiting(Queue *&taken);
    bool appendBlock(const std::string &block);
    void append(const Frame &frame);
    void appendMarked(Frame frame);
    std::string tellFailure();
    std::string problem() const;

    const std::string path;
    const std::size_t capacity;
    TraceFile file;
    std::uint64_t recorded = 0, dropped = 0;
    std::int64_t latest = 0; ///< time of a frame
    std::uint64_t gap = 0;   ///< frames left out since the last one that was not
    unsigned interfaces = 0;
    std::uint64_t written = 0; ///< frames; the writing thread's, like the failure, until it has ended
    std::string failure;       ///< everybody's once it is new
    std::atomic<bool> isFailureNew{false};
    Lock mutex; ///< guards what follows
    std::condition_variable_any changed;
    Queue queues[2]; ///< one waits, and the other is written or empty
    Queue *waiting = &queues[0];
    bool hasEnded = false;
    bool hasFailed = false;
    bool hasTooManyInterfaces = false;
    std::thread thread;
};

} // namespace formats

#endif
