// Check codes in the plainest ways, which the driver's is compared with. Frozen: they are not optimised.
#ifndef BENCH_PLAIN_H
#define BENCH_PLAIN_H

namespace plain
{

unsigned short crcByBits(const unsigned char *bytes, int length);
unsigned short crcByTable(const unsigned char *bytes, int length);

} // namespace plain

#endif
