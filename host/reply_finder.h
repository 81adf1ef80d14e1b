// Finds the reply to one request in the bytes that arrive on the line.
#ifndef FGS_HOST_REPLY_FINDER_H
#define FGS_HOST_REPLY_FINDER_H

#include "frame.h"
#include "late_replies.h"

namespace fgs
{

/// What the bytes that arrived are, as far as a host can tell. The driver compares neither the station nor the
/// areas and counts of a reply with its request, so a host does; the check code of a reply in its place it leaves
/// to the driver. A remote reply repeats nothing of its request, so any bytes of its length with a good check code
/// are it; few bytes are passed over to look for them, for among many some would pass by chance.
class ReplyFinder
{
public:
    static const int Capacity = 16384; ///< over twice the longest reply
    static const int MostNoise = 16;   ///< bytes ahead of a remote reply

    /// Forgets what has arrived. The request stays valid while its reply is looked for.
    void expect(const Protocol &request, const DataStarts &dataStarts);

    /// Where received bytes go, and how many fit. Without room no reply will be found any more.
    char *room() { return buffer + size; }
    int roomSize() const { return Capacity - size; }
    /// Takes note of bytes put there. Returns whether the reply is there, or a refusal.
    bool take(int count);
    /// Whether as many bytes as the reply has are there, on the remote path, but none are it.
    bool isFullOfOthers() const { return request.isRemote && !found && size - front >= request.replyLen; }

    /// The reply; without one, what has arrived besides other frames.
    FrameView reply() const
    {
        return {buffer + front, found ? request.replyLen : refused ? AcknowledgeSize : size - front};
    }
    /// Everything that has arrived.
    FrameView received() const { return {buffer, size}; }

    /// Whether a good frame has arrived that answers another question to the station.
    bool sawOtherAnswer() const { return otherAnswer; }
    /// Whether a good frame of another station has arrived.
    bool sawOtherStation() const { return otherStation; }
    /// Whether reply() says that the controller does not do what it was asked.
    bool isRefusal() const { return refused; }
    /// Whether what has arrived begins like the reply, but is not all of it.
    bool sawBeginning() const
    {
        return !found && size > front &&
               (request.isRemote ? size - front < request.replyLen : fits(front, size - front));
    }
    /// The same with more than the head, so that it was no noise.
    bool sawPart() const { return !request.isRemote && sawBeginning() && size - front > EntriesAt; }
    /// Whether the driver would take reply() for good although it is not the reply.
    bool wouldPass() const;

private:
    bool isReadReply() const { return request.frame[CommandAt] == char(ReadCommand); }
    bool startsWithRefusal() const;
    bool fits(int at, int known) const;
    bool isEcho(int at) const;
    bool skipOtherFrame();
    bool search();
    bool takeRemote();

    struct Expected {
        bool isRemote;
        const char *frame;
        int frameLen;
        int replyLen;
        int entries;
        int headers[MaxEntries]; ///< where area code and count of each entry stand in the reply
    };
    Expected request{};
    char buffer[Capacity];
    int size = 0;
    int front = 0; ///< what is before it is done with
    bool found = false;
    bool refused = false;
    bool otherAnswer = false;
    bool otherStation = false;
};

} // namespace fgs

#endif
