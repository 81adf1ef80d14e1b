// Private: access to per-station storage by area. Not installed.
#ifndef TARN_STATION_ACCESS_P_H
#define TARN_STATION_ACCESS_P_H

#include "image/areas_p.h"

/// Items of a station's area into a byte string, from its position 0.
void readStation(const Area &area, int station, int areaType, int address, int length, QByteArray &out)
    TARN_THREAD(requires_capability(PLC_driver.ImageMutex));
/// The record's data into its station's area.
void writeStation(const Area &area, const RW_VAR &var) TARN_THREAD(requires_capability(PLC_driver.ImageMutex));

#endif
