// Private: the engine that cuts a reply into values of the register image. Not installed.
#ifndef TARN_STORE_P_H
#define TARN_STORE_P_H

#include "driver/tarn_fgsseries_p.h"

/// Where the data of one variable stands in a reply, and where they belong.
struct StoredPiece {
    const RW_VAR *var; ///< its area, address and station, in the request in flight; null if there is none to store
    int start;         ///< first data byte in the reply
    int length;        ///< data bytes
};

/// Into a buffer of bytes, words or double words; only elements that the reply holds and the buffer has.
template <typename Element>
void storeElements(const QByteArray *reply, const StoredPiece &piece, Element *buffer);

/// Into the fixed image or the per-station list. lastEntry is the index of the entry written last, carried from
/// one variable of a reply to the next.
void storePiece(const QByteArray *reply, const StoredPiece &piece, int &lastEntry)
    TARN_THREAD(requires_capability(PLC_driver.ImageMutex));

struct Area;

/// Into the per-station list: an entry for each element; then the entry written last takes the size of the whole
/// piece. Deliberate: behaviour 441.
void storePerStation(const QByteArray *reply, const StoredPiece &piece, const Area &area, int &lastEntry)
    TARN_THREAD(requires_capability(PLC_driver.ImageMutex));

#endif
