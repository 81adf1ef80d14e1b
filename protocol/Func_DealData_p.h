// Private: the engine that cuts a reply into values of the register image. Not installed.
#ifndef TARN_FUNC_DEALDATA_P_H
#define TARN_FUNC_DEALDATA_P_H

#include "protocol/station_store_p.h"

/// Into a buffer of bytes, words or double words; only elements that the reply holds and the buffer has.
template <typename Element>
void storeElements(const QByteArray *reply, const StoredPiece &piece, Element *buffer);

/// Into the fixed image or the per-station list. lastEntry is the index of the entry written last, carried from
/// one variable of a reply to the next.
void storePiece(const QByteArray *reply, const StoredPiece &piece, int &lastEntry)
    TARN_THREAD(requires_capability(PLC_driver.ImageMutex));

#endif
