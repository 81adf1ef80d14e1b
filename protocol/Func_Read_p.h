// Private: the grouped read. Not installed.
#ifndef TARN_FUNC_READ_P_H
#define TARN_FUNC_READ_P_H

#include "protocol/frame_p.h"

/// One read request for 1 to GroupLimit variables, as ReadRegister1() .. ReadRegister6() build it.
void readGroup(RW_VAR *const *vars, int count);

#endif
