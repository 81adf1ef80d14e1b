// Private: access to the fixed image by area. Not installed.
#ifndef TARN_CONVERSIONS_P_H
#define TARN_CONVERSIONS_P_H

#include "image/areas_p.h"

/// Makes the array at least `size` long, with zeros up to `written`, from where on the caller fills it. Returns its
/// bytes; null if no array is so long.
char *grown(QByteArray &array, qint64 size, qint64 written);

/// Items of an area into a byte string, from its position 0; items outside of the area are left out.
void readFixed(const Area &area, int address, int length, QByteArray &out)
    TARN_THREAD(requires_capability(PLC_driver.ImageMutex));
/// The record's data into its area; items outside of the area are left out.
void writeFixed(const Area &area, const RW_VAR &var) TARN_THREAD(requires_capability(PLC_driver.ImageMutex));

#endif
