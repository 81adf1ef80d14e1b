// Private: address texts to numbers. Not installed.
#ifndef TARN_ADDRESSES_P_H
#define TARN_ADDRESSES_P_H

#include "image/areas_p.h"

/// The number of an address text; 0 if it is none, or the area is none.
int addressOf(const Area &area, const QString &text);

#endif
