// The input and output of every link that has a file descriptor: one write for a request, then poll and read until
// the reply is there.
#ifndef FGS_HOST_DESCRIPTOR_LINK_H
#define FGS_HOST_DESCRIPTOR_LINK_H

#include "link.h"

#include <sys/types.h>

namespace fgs
{

class DescriptorLink : public Link
{
public:
    bool open() final;
    bool isOpen() const final { return descriptor >= 0; }
    QString error() const final { return lastError; }
    /// A line that takes no bytes is waited for, for some seconds. If the link ends meanwhile, the frame stays half
    /// sent, and the link is lost.
    bool send(const char *bytes, int size) final;
    int receive(char *bytes, int most, Time deadline) final;
    void close(const QString &why) final { lose(why); }
    Time now() const final;
    void pauseUntil(Time time) final;

protected:
    /// Opens the device and returns its descriptor, which does not block and stays the device's. Negative: that
    /// failed, and `error` says why and what to do, or nothing if the link has ended.
    virtual int openDevice(QString *error) = 0;
    virtual void closeDevice() = 0;
    /// As write() does.
    virtual ssize_t write(int fd, const char *bytes, size_t size);

    /// Waits for one of poll()'s events at a descriptor, or at none if that is negative, until the deadline or the
    /// end of the link. False: nothing came.
    bool waitFor(int fd, short events, Time deadline) const;

private:
    void lose(const QString &why);
    bool isFatal(ssize_t result);
    QString whyNotSent(qint64 sent, int size) const;

    int descriptor = -1;
    QString lastError;
};

} // namespace fgs

#endif
