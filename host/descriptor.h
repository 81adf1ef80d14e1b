// A file descriptor that is closed with its owner.
#ifndef FGS_HOST_DESCRIPTOR_H
#define FGS_HOST_DESCRIPTOR_H

#include <unistd.h>
#include <utility>

namespace fgs
{

class Descriptor
{
public:
    Descriptor() = default;
    explicit Descriptor(int opened) : fd(opened) {}
    Descriptor(Descriptor &&other) noexcept : fd(std::exchange(other.fd, -1)) {}
    Descriptor &operator=(Descriptor &&other) noexcept
    {
        std::swap(fd, other.fd);
        return *this;
    }
    ~Descriptor()
    {
        if (fd >= 0)
            ::close(fd);
    }

    bool isOpen() const { return fd >= 0; }
    int get() const { return fd; } ///< negative: none

private:
    int fd = -1;
};

} // namespace fgs

#endif
