#include "input_file.h"

#include "tools/console.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <system_error>
#include <unistd.h>

namespace fgs
{

namespace
{

const std::size_t BufferSize = 1 << 16;

int opened(const std::string &path)
{
    if (path == "-")
        return STDIN_FILENO;
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0)
        throw std::system_error(errno, std::generic_category());
    return fd;
}

} // namespace

InputFile::InputFile(const std::string &path, const Stop &theStop)
    : stop(theStop), fd(opened(path)), buffer(BufferSize)
{
}

InputFile::~InputFile()
{
    if (fd != STDIN_FILENO)
        ::close(fd);
}

/// Bytes read behind the first `from` ones; 0 at the end.
std::size_t InputFile::fill(std::size_t from)
{
    pollfd waits[] = {{fd, POLLIN, 0}, {stop.descriptor(), POLLIN, 0}};
    while (flushOutput() == 0 && !stop.isRequested()) {
        if (::poll(waits, 2, -1) < 0 || waits[0].revents == 0)
            continue;
        const ssize_t count = ::read(fd, buffer.data() + from, buffer.size() - from);
        if (count >= 0)
            return static_cast<std::size_t>(count);
        if (errno == EINTR || errno == EAGAIN)
            continue;
        problem = std::strerror(errno);
        break;
    }
    return 0;
}

std::string_view InputFile::beginning(std::size_t count)
{
    std::size_t size = 0;
    while (size < count) {
        const std::size_t more = fill(size);
        if (more == 0)
            break;
        size += more;
    }
    setg(buffer.data(), buffer.data(), buffer.data() + size);
    return {buffer.data(), std::min(size, count)};
}

InputFile::int_type InputFile::underflow()
{
    const std::size_t size = fill(0);
    setg(buffer.data(), buffer.data(), buffer.data() + size);
    return size ? traits_type::to_int_type(buffer[0]) : traits_type::eof();
}

} // namespace fgs
