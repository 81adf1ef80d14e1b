// The frames of remote access, as the far end sees them: requests come in, replies go out.
//
//   request   length hostType hostField link station areaH areaL address(4) lengthH lengthL mark(4) hostField(4)
//             data... sum
//   reply     three bytes, data... crcL crcH            to a read
//             six bytes  crcL crcH                      to a write
//
// Numbers of a request go high byte first; the sum is the low byte of the sum of everything before it. A request
// without data reads, one with data writes. The length of a read counts bytes in the bit areas 0 to 4, pairs of
// bytes in area 11, and words otherwise, two for a double word. The length of a write counts bits or words; its
// data is one byte a bit, a word low byte first, and a double word least significant byte first. The data of a
// reply are those of the controller protocol, frame.h.
//
// What a reply holds besides data and CRC is this far end's choice: the station, 'R' or 'W', 1, and zeros.
#ifndef SIM_REMOTE_FRAME_H
#define SIM_REMOTE_FRAME_H

#include "frame.h"

namespace fgssim
{

const std::size_t RemoteReadLength = 22; ///< of the whole request; that of a write without its data

Extent remoteExtent(Slice start);
/// The low byte of the sum.
Byte sumOf(Slice bytes);
unsigned remoteStation(Slice frame);
/// The request in a frame with a good sum; its count is in units of the area, so that of a read of bits is a
/// multiple of eight. Throws Refusal if the far end would not accept it.
Request parseRemoteRequest(Slice frame);

Bytes remoteReadReply(const Request &request, const ValueSource &value);
Bytes remoteWriteReply(const Request &request);

} // namespace fgssim

#endif
