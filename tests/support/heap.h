// The heap of this process, counted block by block: linking heap.cpp puts a counting malloc in front of the
// system's.
#ifndef TARN_TESTS_HEAP_H
#define TARN_TESTS_HEAP_H

namespace heap
{

/// Bytes asked for and not given back. Under a sanitizer from the first call on, so only differences mean
/// something.
long long inUse();

/// The most that was in use since startPeak().
long long peak();
void startPeak();

/// How often memory was asked for.
long long requests();

} // namespace heap

#endif
