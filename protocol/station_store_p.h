// Private: cuts a reply into values of per-station storage. Not installed.
#ifndef TARN_STATION_STORE_P_H
#define TARN_STATION_STORE_P_H

#include "image/areas_p.h"

/// Where the data of one variable stands in a reply, and where they belong.
struct StoredPiece {
    const RW_VAR *var; ///< its area, address and station, in the request in flight; null if there is none to store
    int start;         ///< first data byte in the reply
    int length;        ///< data bytes
};

/// Into the per-station list: an entry for each element; then the entry written last takes the size of the whole
/// piece.
void storePerStation(const QByteArray *reply, const StoredPiece &piece, const Area &area, int &lastEntry)
    TARN_THREAD(requires_capability(PLC_driver.ImageMutex));

#endif
