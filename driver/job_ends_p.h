// Private: what follows from a judged reply. Not installed.
#ifndef TARN_JOB_ENDS_P_H
#define TARN_JOB_ENDS_P_H

#include "driver/tarn_fgsseries_p.h"

/// Settles the request in flight, whose reply was judged with this code. Returns what DataCom() leaves in
/// RetVar.result.
int settle(int code, bool remote) TARN_THREAD(requires_capability(PLC_driver.ListMutex));

#endif
