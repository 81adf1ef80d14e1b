// A link to the controllers: bytes out, bytes in with a deadline, and the clock that deadlines are read from.
// Nothing above a link asks the system for the time or sleeps, so everything above it also runs in virtual time.
#ifndef FGS_HOST_LINK_H
#define FGS_HOST_LINK_H

#include "stop.h"

#include <chrono>
#include <memory>
#include <QtCore/QString>

namespace fgs
{

/// A point on the link's clock, counted from any fixed start, or a span of it. The clock never goes back.
using Time = std::chrono::nanoseconds;

using namespace std::chrono_literals;

/// One thread at a time; now() on any.
class Link
{
public:
    virtual ~Link() = default;

    /// Opens the link, or opens it again. False: error() says why.
    virtual bool open() = 0;
    virtual bool isOpen() const = 0;
    /// Why the link could not be opened or was lost.
    virtual QString error() const = 0;

    /// Sends all bytes. False: the link is lost, and closed.
    virtual bool send(const char *bytes, int size) = 0;
    /// Takes what is there, at most `most` bytes, or waits for something until the deadline. Returns the number of
    /// bytes, 0 when nothing came in time, -1 when the link is lost, and closed.
    virtual int receive(char *bytes, int most, Time deadline) = 0;

    /// Whether it is a connection with something that takes bytes even if no controller does: it may be dead
    /// without being lost, and is worth opening anew.
    virtual bool isConnection() const { return false; }
    /// Gives an open link up; error() says why. Nothing unless isConnection().
    virtual void close(const QString &) {}

    virtual Time now() const = 0;
    /// Lets the time pass; may return early when the process gets a signal.
    virtual void pauseUntil(Time time) = 0;
    /// What one byte takes on the line; 0 if that does not matter.
    virtual Time byteTime() const { return Time(0); }

    /// From the request of `stop` on, and from `end` on, nothing is waited for: a wait under way ends too. open()
    /// fails, receive() takes what is there, pauseUntil() returns. The stop outlives the link.
    void endBy(const Stop *theStop, Time theEnd = Time::max())
    {
        stop = theStop;
        endTime = theEnd;
    }
    bool isEnded() const { return (stop && stop->isRequested()) || (endTime != Time::max() && now() >= endTime); }

protected:
    const Stop *stop = nullptr; ///< null: nobody asks
    Time endTime = Time::max();
};

/// The link that a text names: "/dev/ttyUSB0:19200,8E1" (without settings: 19200,8E1), "tcp:127.0.0.1:5020" or
/// "tcp:[::1]:5020". It is not open yet. Throws TextError. Needs a QCoreApplication.
std::unique_ptr<Link> makeLink(const QString &text);

} // namespace fgs

#endif
