// The register areas as a host sees them, and variables in them as people write them:
// AREA:ADDRESS[xCOUNT][@STATION].
#ifndef FGS_HOST_VARIABLE_H
#define FGS_HOST_VARIABLE_H

#include <QtCore/QString>

namespace fgs
{

enum class Kind { Bit, Word, DoubleWord };

struct Area {
    int number;
    Kind kind;
    int code;      ///< in frames
    bool writable; ///< by a host
    int base;      ///< of its addresses in texts: 8 or 10
    int capacity;  ///< bits, words or double words in the driver's fixed image
};

const int AreaCount = 14;
const int AddressCount = 65536; ///< addresses that a frame can name in one area
const int MaxStation = 255;

/// Null if there is no such area.
const Area *areaOf(int number);
const Area *areaOfCode(int code);

/// "bit", "word" or "double word".
QString nameOf(Kind kind);

/// Neighbouring registers of one area. Addresses and counts are in bits, words or double words.
struct Variable {
    int area = 0;
    int address = 0;
    int count = 1;
    int station = 1;
};

/// Throws TextError. A text without @STATION is of the given station.
Variable parseVariable(const QString &text, int defaultStation = 1);
/// An address in its area's own base.
QString addressText(int area, int address);
/// As parseVariable() reads it, always with the station.
QString textOf(const Variable &variable);

} // namespace fgs

#endif
