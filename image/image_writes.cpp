// Written records into the register image, in both schemes of storage.
#include "image/conversions_p.h"
#include "image/station_access_p.h"

void WriteDataToLocal(RW_VAR *var)
{
    if (!var)
        return;
    const Area &area = areaOf(var->areaType);
    Locker lock(PLC_driver.ImageMutex);
    if (settings().stationMode)
        writeStation(area, *var);
    else
        writeFixed(area, *var);
}
