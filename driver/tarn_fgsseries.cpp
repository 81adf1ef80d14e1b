// The driver object, the host's settings and the calls before polling starts.
#include "driver/tarn_fgsseries_p.h"

Tarn_FGsSeries PLC_driver;
void *LB;
void *LW;
void *RWI;

const COMINFO noSettings = COMINFO();

Tarn_FGsSeries::Tarn_FGsSeries()
    : settings(0), CallBackFunc(0), CallBackContext(0), CurrentSource(NoSource), WriteTimes(0), OnceReadTimes(0),
      CycleReadCount(0), CommFailFlag(0), spareFlag(0), ucArea0(), ucArea1(), ucArea2(), ucArea11(), ucArea4(),
      ucArea3(), usArea8(), usArea9(), usArea5(), usArea12(), usArea13(), usArea7(), usArea6(), uiArea10()
{
    RetVar.result = 1;
}

void SetComInfo(COMINFO *info)
{
    PLC_driver.settings = info;
    setWord(&COMINFO::status13, 0);
    setWord(&COMINFO::status10, 0);
}

void RegistCallBackFuncIntf(void (*func)(int, int, int, int), int context)
{
    PLC_driver.CallBackFunc = func;
    PLC_driver.CallBackContext = context;
}

int FlashLocalRegister(void *lb, void *lw, void *rwi)
{
    LB = lb;
    LW = lw;
    RWI = rwi;
    return 452; // Deliberate: behaviour 101.
}

int QueryFinishFlag()
{
    return 1; // Deliberate: behaviour 101.
}
