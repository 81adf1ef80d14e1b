// The check code of the frames: CRC-16, polynomial 0x8005 reflected (0xA001), start 0xFFFF, no final XOR;
// "123456789" gives 0x4B37. It ends a frame low byte first.
#ifndef SIM_CRC_H
#define SIM_CRC_H

#include "bytes.h"

namespace fgssim
{

const std::size_t CrcLength = 2;

unsigned crc16(Slice bytes);
/// Whether the last two bytes are the CRC of those before them.
bool hasGoodCrc(Slice frame);
void appendCrc(Bytes &frame);

} // namespace fgssim

#endif
