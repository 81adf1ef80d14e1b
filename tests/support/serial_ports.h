// What a build without serial ports can not show.
#ifndef TARN_TESTS_SERIAL_PORTS_H
#define TARN_TESTS_SERIAL_PORTS_H

#include <gtest/gtest.h>

/// Skips the test, unless this build's fgs opens serial ports and pseudo-terminals.
#define NEEDS_SERIAL_PORTS()                                                                                       \
    if (!TARN_SERIAL_PORTS)                                                                                        \
    GTEST_SKIP() << "this build has no serial ports"

#endif
