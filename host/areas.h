// The fourteen register areas as a host sees them.
#ifndef FGS_HOST_AREAS_H
#define FGS_HOST_AREAS_H

#include <QtCore/QString>

namespace fgs
{

/// What one address of an area holds; the value is its number of bits.
enum class AreaKind { Bit = 1, Word = 16, DoubleWord = 32 };

struct Area {
    int number;
    AreaKind kind;
    int code;      ///< in frames
    bool writable; ///< by a host
    int base;      ///< of its addresses in texts: 8 or 10
    int capacity;  ///< bits, words or double words in the driver's fixed image
};

const int AreaCount = 14;
const int AddressCount = 65536; ///< addresses that a frame can name in one area

/// Null if there is no such area.
const Area *areaOf(int number);
const Area *areaOfCode(int code);

/// "bit", "word" or "double word".
QString nameOf(AreaKind kind);
/// An address in its area's own base.
QString addressText(int area, int address);

/// Of one value.
inline int bitsOf(AreaKind kind)
{
    return static_cast<int>(kind);
}

// An element is what blocks are made of: a byte of eight bits, a word or a double word.

inline int addressesPerElement(const Area &area)
{
    return area.kind == AreaKind::Bit ? 8 : 1;
}
inline int bytesPerElement(const Area &area)
{
    return addressesPerElement(area) * bitsOf(area.kind) / 8;
}
/// As many as so many addresses take, from the beginning of an element on.
inline int elementsFor(const Area &area, int addresses)
{
    return (addresses + addressesPerElement(area) - 1) / addressesPerElement(area);
}

/// What comes on top of the elements in the length of a cyclic block: the driver reads one double word less than it
/// is asked for.
inline int lengthBias(const Area &area)
{
    return area.kind == AreaKind::DoubleWord ? 1 : 0;
}

} // namespace fgs

#endif
