// The input and output of every link that has a file descriptor: one write for a request, then poll and read until
// the reply is there.
#ifndef FGS_HOST_DESCRIPTOR_LINK_H
#define FGS_HOST_DESCRIPTOR_LINK_H

#include "link.h"

namespace fgs
{

class DescriptorLink : public Link
{
public:
    bool open() final;
    bool isOpen() const final { return descriptor >= 0; }
    QString error() const final { return lastError; }
    bool send(const char *bytes, int size) final;
    int receive(char *bytes, int most, Time deadline) final;
    void close(const QString &why) final { lose(why); }
    Time now() const final;
    void pauseUntil(Time time) final;

protected:
    /// Opens the device and returns its descriptor, which does not block and stays the device's; negative with a
    /// text in `error` if that fails.
    virtual int openDevice(QString *error) = 0;
    virtual void closeDevice() = 0;

private:
    int waitFor(short events, Time deadline) const;
    void lose(const QString &why);
    bool isFatal(long result);

    int descriptor = -1;
    QString lastError;
};

} // namespace fgs

#endif
