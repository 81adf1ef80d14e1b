// What the tests of fgs-sim say to it, and what it answers.
#ifndef SIM_EXCHANGES_H
#define SIM_EXCHANGES_H

#include "sim/sim_frames.h"

const fgssim::Bytes Write = bytes("01 FF 01 08 02 64 00 12 34 56 78 6B 0D");
const fgssim::Bytes Acknowledgement = bytes("01 FF 20");
const fgssim::Bytes ReadTwo = bytes("01 FE 01 08 02 64 00 AA BE");
const fgssim::Bytes AnswerTwo = bytes("01 FE 01 08 02 12 34 56 78 9A D4"); ///< after Write
const fgssim::Bytes ReadOnly = sealed("01 FF 01 06 01 05 00 00 2A");       ///< a write that is rejected

#endif
