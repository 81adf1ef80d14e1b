// The frames of the controller protocol as far as a host looks into them.
#ifndef FGS_HOST_FRAME_H
#define FGS_HOST_FRAME_H

#include "areas.h"

namespace fgs
{

/// Bytes of a frame; they belong to somebody else.
struct FrameView {
    const char *bytes;
    int size;

    int at(int index) const { return static_cast<unsigned char>(bytes[index]); }
    int le16(int index) const { return at(index) | at(index + 1) << 8; }
    int be16(int index) const { return at(index) << 8 | at(index + 1); }
    FrameView from(int index) const { return {bytes + index, size - index}; }
};

// Offsets and values that requests and replies share.
const int StationAt = 0;
const int CommandAt = 1;
const int CountAt = 2; ///< number of entries
const int EntriesAt = 3;
const int RequestEntrySize = 4; ///< code, count, two bytes of address
const int ReplyHeaderSize = 2;  ///< code, count
const int CrcSize = 2;
const int AcknowledgeSize = 3;
const int ReadCommand = 0xFE;
const int WriteCommand = 0xFF;
const int Acknowledged = 0x20;
const int Rejected = 0x21; ///< in place of Acknowledged: the controller does not do it
const int MaxEntries = 6;  ///< blocks in one request

/// Bytes of data that a count stands for.
int dataSize(const Area &area, int count);
/// The check code of these bytes, which a frame carries behind them with its low byte first.
int checkCode(FrameView bytes);
/// The check code that belongs at the end of the frame; it has at least CrcSize bytes.
int checkFor(FrameView frame);
/// Whether the frame ends with the check code of what is before it.
bool hasGoodCheck(FrameView frame);

/// How long a frame is, as its own counts tell.
struct Extent {
    int size;     ///< 0: no such frame starts so
    bool isExact; ///< otherwise counts are not there, and it has at least so many bytes
};
/// Of a read or a write.
Extent requestExtent(FrameView start);
/// Of the answer to a read, or an acknowledgement.
Extent replyExtent(FrameView start);
/// Bytes of the whole request that starts here; 0 if it is none, or its counts are not there.
int requestSize(FrameView start);
/// The same of a reply.
int replySize(FrameView start);

} // namespace fgs

#endif
