// Variables in the register areas, as people write them: AREA:ADDRESS[xCOUNT][@STATION].
#ifndef FGS_HOST_VARIABLE_H
#define FGS_HOST_VARIABLE_H

#include "areas.h"

namespace fgs
{

const int MaxStation = 255;

/// Neighbouring registers of one area. Addresses and counts are in bits, words or double words.
struct Variable {
    int area = 0;
    int address = 0;
    int count = 1;
    int station = 1;
};

/// Throws TextError. A text without @STATION is of the given station.
Variable parseVariable(const QString &text, int defaultStation = 1);
/// As parseVariable() reads it, always with the station.
QString textOf(const Variable &variable);

} // namespace fgs

#endif
