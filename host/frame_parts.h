// Cuts what was on the line into frames and noise, where nobody says what it is: for whoever only listens.
#ifndef FGS_HOST_FRAME_PARTS_H
#define FGS_HOST_FRAME_PARTS_H

#include "remote_frame.h"

#include <vector>

namespace fgs
{

enum class Shape { ReadRequest, WriteRequest, ReadReply, WriteReply, RemoteRequest, RemoteReply, Noise };

inline bool isRequest(Shape shape)
{
    return shape == Shape::ReadRequest || shape == Shape::WriteRequest || shape == Shape::RemoteRequest;
}

/// A stretch of what was on the line.
struct FramePart {
    Shape shape;
    int at;      ///< where it starts
    int present; ///< bytes of it that are there
    int size;    ///< bytes that it has by its own counts, at least if these are not there; of noise those present
    bool isGood; ///< whole, with the right check code; never of noise
    bool isSure; ///< good, and nothing but this; a read of two data bytes looks like its own answer
    bool isWhole() const { return present >= size; }
};

/// What is known of the line before the bytes came.
struct Listening {
    bool wantsRequest = true;     ///< what could be a request and a reply is a request
    Shape waiting = Shape::Noise; ///< the request that waits for its reply; Noise: none does
    int waitingStation = 0;       ///< that it is to
    int remoteReplySize = 0;      ///< of the reply to it, if it is a remote one
};

/// All bytes in their order. Good frames are found behind noise and behind each other; if there is no good reply,
/// what begins like a frame may be one that is damaged or cut off.
std::vector<FramePart> partsOf(FrameView bytes, const Listening &line);

/// An entry of a request or a reply.
struct FrameEntry {
    int at;           ///< where its code stands
    int code;         ///< of the area
    const Area *area; ///< null: there is none of this code, and nothing after it can be told
    int count;
    int address; ///< -1 in a reply
    int dataAt;
    int dataSize; ///< that its count stands for
    int present;  ///< data bytes that are there
};
/// As far as the bytes go; of a shape that has no entries none.
std::vector<FrameEntry> entriesOf(FrameView frame, Shape shape);

} // namespace fgs

#endif
