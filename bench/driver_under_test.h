// The driver as an operation finds it, and the variables that several operations share.
#ifndef BENCH_DRIVER_UNDER_TEST_H
#define BENCH_DRIVER_UNDER_TEST_H

#include <tarn_fgsseries.h>

namespace bench
{

/// Empties the driver and gives it these settings. The record is one for all; station 1, local link 0.
COMINFO &startDriver(int blockWords, bool perStation = false);

HOST_VAR hostVar(int areaType, int station, int address, int length);

/// The good reply to a request, of bytes that count up.
QByteArray replyTo(const Protocol &request);

/// So many variables of all areas and of eight stations, with gaps, in random order; always the same ones.
QList<HOST_VAR> shuffledVariables(int count);

} // namespace bench

#endif
