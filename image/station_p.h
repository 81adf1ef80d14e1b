// Private: per-station storage, PLC_driver.ExtendVarList. Entries are found by ExtendFindSameVar() and changed only
// here; ImageMutex is held by the caller. Not installed.
#ifndef TARN_STATION_P_H
#define TARN_STATION_P_H

#include "driver/tarn_fgsseries_p.h"

const QByteArray &stationValue(int index) TARN_THREAD(requires_capability(PLC_driver.ImageMutex));
void setStationValue(int index, const QByteArray &value) TARN_THREAD(requires_capability(PLC_driver.ImageMutex));

#endif
