// The baseline that the driver is compared with: everything done in the plainest way. Frozen: it is not optimised.
#ifndef BENCH_PLAIN_H
#define BENCH_PLAIN_H

#include <tarn_fgsseries.h>

namespace plain
{

unsigned short crcByBits(const unsigned char *bytes, int length);
unsigned short crcByTable(const unsigned char *bytes, int length);

/// Swaps neighbours until all addresses rise.
void bubbleSort(QList<RW_VAR> &list);

/// The cyclic list for these variables, bubble-sorted.
QList<RW_VAR> cyclicList(const QList<HOST_VAR> &hostVars, const COMINFO &settings);

/// Walks the list for the entry; appends one if there is none.
int findStationValue(QList<EXTENDVAR> &list, int station, int areaType, int address);

/// Walks the queue for a write of the same place, which takes the new value.
void queueWrite(QList<RW_VAR> &queue, const RW_VAR &var);

} // namespace plain

#endif
