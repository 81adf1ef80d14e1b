// Where the blocks of a trace go: a file, two files in turn, or a pipe.
#ifndef FORMATS_TRACE_FILE_H
#define FORMATS_TRACE_FILE_H

#include "trace_settings.h"

#include <atomic>
#include <stdexcept>
#include <string_view>

namespace formats
{

/// The trace cannot be written; the text says why, and what to do.
class TraceError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// One thread, but for end(). With a limit the file is renamed to FILE.1, in place of the one before, as soon as it
/// has half of it, and begun anew with the same section and interfaces: each of the two opens alone.
class TraceFile
{
public:
    /// Throws TraceError if it cannot be opened, or is a terminal. A file that is there is overwritten.
    explicit TraceFile(const TraceSettings &theSettings);
    TraceFile(const TraceFile &) = delete;
    TraceFile &operator=(const TraceFile &) = delete;
    ~TraceFile();

    /// Whole blocks, the first ever a section header. Throws TraceError, and then is not to be called again.
    void write(std::string_view blocks);
    /// On any thread: a pipe that takes nothing for a second is not waited for any more.
    void end() { isEnding = true; }

private:
    void open();
    void close();
    void writeInTurn(std::string_view blocks);
    void rotate();
    void put(std::string_view bytes);
    void awaitRoom() const;
    [[noreturn]] static void fail(const char *what);

    const TraceSettings settings;
    int fd = -1;
    bool isRegular = false;
    std::string preamble; ///< section header and interfaces, with which each file begins
    std::uint64_t size = 0;
    std::atomic<bool> isEnding{false};
};

} // namespace formats

#endif
