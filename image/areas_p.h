// Private: the one table of the fourteen register areas, and the cutting of long variables. Not installed.
#ifndef TARN_AREAS_P_H
#define TARN_AREAS_P_H

#include "driver/tarn_fgsseries_p.h"

enum AreaKind { NoKind, BitKind, WordKind, DoubleWordKind };

/// What a length L of one kind is on the wire and in storage. An element is a byte of eight bits, a word or a
/// double word.
struct Kind {
    int addressesPerElement; ///< also: wire count of one element
    int bytesPerElement;
    int lengthBias; ///< added to a length before it is sent. Deliberate: behaviour 401.
};

/// One register area.
struct Area {
    AreaKind kind;
    int readCode;  ///< area code of a read request
    int writeCode; ///< area code of a write request; 0 where the host may not write
    int base;      ///< number base of address texts
    void *buffer;  ///< first element in the fixed image
    int capacity;  ///< elements in the buffer
};

extern const Kind kindTable[];
extern const Area areaTable[];

const int AreaTypes = 14;
const int DoubleWordArea = 10; ///< the one area of double words

/// The row of an area type; any type outside 0..13 has a row of its own without kind, codes and buffer.
inline const Area &areaOf(int areaType)
{
    return areaTable[areaType < 0 || areaType >= AreaTypes ? AreaTypes : areaType];
}
inline const Kind &kindOf(AreaKind kind)
{
    return kindTable[kind];
}
inline bool isBit(const Area &area)
{
    return area.kind == BitKind;
}

/// Most items that one call handles where no buffer bounds it: the address space of the wire.
/// Deliberate: behaviour 315.
const int MostItems = 65536;

/// The items i of [0, count) for which start + i lies in [first, last). Deliberate: behaviour 309.
struct Clip {
    Clip(qint64 start, qint64 count, qint64 first, qint64 last)
        : begin(qMax(Q_INT64_C(0), first - start)), end(qMin(count, last - start))
    {
    }
    bool isEmpty() const { return begin >= end; }

    qint64 begin;
    qint64 end;
};

/// Elements of a fixed buffer that may be touched: base[first] .. base[end - 1]. Deliberate: behaviour 309.
template <typename Element>
struct ImageView {
    Element *base;
    qint64 first;
    qint64 end;
};

/// The whole buffer of an area whose elements are of this type.
template <typename Element>
ImageView<Element> wholeOf(const Area &area)
{
    return ImageView<Element>{static_cast<Element *>(area.buffer), 0, area.capacity};
}

/// The view of the buffer of PLC_driver that the pointer lies in; a buffer of the caller's own is unbounded.
template <typename Element>
ImageView<Element> viewOf(Element *buffer);

/// A length cut into pieces of at most `limit` units; a limit below 1 makes one piece, a length below 1 none.
/// Deliberate: behaviour 212.
class Pieces
{
public:
    Pieces(int units, int limit) : length(units), block(limit < 1 ? units : limit) {}

    int count() const { return length < 1 ? 0 : qMin((length - 1) / block + 1, MostItems); }
    qint64 offset(int piece) const { return qint64(piece) * block; }
    int size(int piece) const { return cut(qMin(qint64(block), length - offset(piece))); }

private:
    int length;
    int block;
};

/// Bits from `address` on, widened to whole bytes.
inline int alignedBit(int address)
{
    return address & ~7;
}
inline int bytesOfBits(int address, int bits)
{
    return cut((qint64(address & 7) + bits + 7) / 8);
}

#endif
