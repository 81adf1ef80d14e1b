// A file descriptor that is closed with its owner.
#ifndef FGS_SIM_DESCRIPTOR_H
#define FGS_SIM_DESCRIPTOR_H

#include <unistd.h>

namespace fgssim
{

class Descriptor
{
public:
    explicit Descriptor(int opened) : fd(opened) {}
    Descriptor(const Descriptor &) = delete;
    Descriptor &operator=(const Descriptor &) = delete;
    ~Descriptor()
    {
        if (fd >= 0)
            ::close(fd);
    }
    int get() const { return fd; }

private:
    const int fd;
};

} // namespace fgssim

#endif
