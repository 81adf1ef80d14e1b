// The frames of the controller protocol, as the controller sees them: requests come in, replies go out.
//
//   read request         station FE N  N x (code count addressL addressH)  crcL crcH         N = 1..6
//   read reply           station FE N  N x (code count data...)            crcL crcH
//   write request        station FF 01 code count addressL addressH data... crcL crcH
//   write acknowledgement station FF 20
//   refusal of a write   station FF 21
//
// Counts are in bits, words or double words. The data of a bit area is whole bytes, the lowest address in the
// least significant bit; a word goes high byte first; a double word low word first, each word high byte first.
// A bit write carries one byte, 0 or 1, whatever its count says, and sets one bit.
#ifndef SIM_FRAME_H
#define SIM_FRAME_H

#include "areas.h"
#include "bytes.h"

#include <functional>
#include <stdexcept>

namespace fgssim
{

const Byte ReadCommand = 0xFE;
const Byte WriteCommand = 0xFF;
const Byte WriteAcknowledge = 0x20;
const Byte WriteRefused = 0x21;
const unsigned MaxEntries = 6;
const unsigned EveryStation = 0; ///< station number that means every station

/// Why a controller leaves a request unanswered; the text names the cause.
class Refusal : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// How long the request is that starts with the given bytes.
struct Extent {
    enum class State {
        Open,      ///< more bytes are needed to tell
        Known,     ///< `length` is valid
        Impossible ///< no request starts so; `cause` says why
    };
    State state;
    std::size_t length;
    std::string cause;
};

Extent requestExtent(Slice start);

struct Entry {
    const Area *area;
    unsigned count;   ///< in units of the area; as sent, so any in the write of a bit
    unsigned address; ///< the first one
};

struct Request {
    unsigned station;
    bool write;
    std::vector<Entry> entries;        ///< exactly one in a write
    std::vector<std::uint32_t> values; ///< of a write, from the address on
};

/// The request in a frame with a good CRC. Throws Refusal if a controller would not accept it.
Request parseRequest(Slice frame);

/// The value of one address.
using ValueSource = std::function<std::uint32_t(const Area &area, unsigned address)>;

/// The data of one entry of a read reply.
Bytes entryData(const Entry &entry, const ValueSource &value);
Bytes readReply(const Request &request, const ValueSource &value);
Bytes writeReply(const Request &request);
/// In place of writeReply(): the controller does not do it.
Bytes refusal(const Request &request);

} // namespace fgssim

#endif
