#include "trace_file.h"

#include "pcapng.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

namespace formats
{

namespace
{

std::uint32_t le32(std::string_view bytes, std::size_t at)
{
    std::uint32_t value = 0;
    for (std::size_t i = 4; i-- > 0;)
        value = value << 8 | static_cast<unsigned char>(bytes[at + i]);
    return value;
}

/// What helps against an error of the system.
const char *remedyFor(int error)
{
    switch (error) {
    case ENOSPC:
    case EDQUOT:
        return "; make room, or bound the trace with --trace-limit";
    case EACCES:
    case EPERM:
    case EROFS:
        return "; choose a folder that you may write to";
    case ENOENT:
    case ENOTDIR:
        return "; make the folder, or choose another one";
    case EISDIR:
        return "; name a file in it";
    }
    return "";
}

} // namespace

TraceFile::TraceFile(const TraceSettings &theSettings) : settings(theSettings)
{
    open();
}

TraceFile::~TraceFile()
{
    close();
}

void TraceFile::fail(const char *what)
{
    const int error = errno;
    if (error == EPIPE)
        throw TraceError("its reader has gone");
    throw TraceError(std::string(what) + ": " + std::strerror(error) + remedyFor(error));
}

void TraceFile::open()
{
    const int flags = O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC;
    fd = settings.isToStdout() ? STDOUT_FILENO : ::open(settings.path.c_str(), flags, 0666);
    if (fd < 0)
        fail("cannot be opened");
    if (::isatty(fd)) {
        close();
        throw TraceError("is not for a terminal; pipe it: --trace=- | wireshark -k -i -");
    }
    struct stat found = {};
    isRegular = ::fstat(fd, &found) == 0 && S_ISREG(found.st_mode);
    size = 0;
}

void TraceFile::close()
{
    if (fd >= 0 && !settings.isToStdout())
        ::close(fd);
    fd = -1;
}

void TraceFile::write(std::string_view blocks)
{
    settings.limit &&isRegular ? writeInTurn(blocks) : put(blocks);
}

/// Begins the next file in front of the packet that finds no room.
void TraceFile::writeInTurn(std::string_view blocks)
{
    std::size_t written = 0;
    for (std::size_t at = 0; at < blocks.size();) {
        const std::uint32_t length = le32(blocks, at + 4);
        const std::uint64_t sizeNow = size + at - written;
        if (le32(blocks, at) != pcapng::EnhancedPacket) {
            preamble += blocks.substr(at, length);
        } else if (sizeNow + length > settings.limit / 2 && sizeNow > preamble.size()) {
            put(blocks.substr(written, at - written));
            written = at;
            rotate();
        }
        at += length;
    }
    put(blocks.substr(written));
}

void TraceFile::rotate()
{
    close();
    if (std::rename(settings.path.c_str(), (settings.path + ".1").c_str()) != 0)
        fail("cannot be renamed");
    open();
    put(preamble);
}

/// A pipe takes at least PIPE_BUF bytes at once as soon as it takes any.
void TraceFile::put(std::string_view bytes)
{
    while (!bytes.empty()) {
        if (!isRegular)
            awaitRoom();
        const ssize_t count =
            ::write(fd, bytes.data(), isRegular ? bytes.size() : std::min(bytes.size(), std::size_t(PIPE_BUF)));
        if (count < 0 && errno != EINTR && errno != EAGAIN)
            fail("cannot be written");
        const std::size_t taken = count < 0 ? 0 : static_cast<std::size_t>(count);
        size += taken;
        bytes.remove_prefix(taken);
    }
}

void TraceFile::awaitRoom() const
{
    const int turn = 100, mostTurns = 10; // milliseconds
    pollfd wanted = {fd, POLLOUT, 0};
    for (int turns = 0; ::poll(&wanted, 1, turn) <= 0;)
        if (isEnding && ++turns == mostTurns)
            throw TraceError("its reader does not read");
}

} // namespace formats
