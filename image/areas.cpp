#include "image/areas_p.h"

namespace
{

template <typename Element, int Count>
constexpr int countOf(const Element (&)[Count])
{
    return Count;
}

#define BUFFER(name) PLC_driver.name, countOf(PLC_driver.name)

} // namespace

const Kind kindTable[] = {{0, 0, 0}, {8, 1, 0}, {1, 2, 0}, {1, 4, -1}};

// Row 0..13 by area type; row 14 stands for every other one.
const Area areaTable[] = {
    //    kind        read  write base  buffer and capacity
    {BitKind, 0x00, 0x00, 8, BUFFER(ucArea0)},
    {BitKind, 0x01, 0x01, 8, BUFFER(ucArea1)},
    {BitKind, 0x02, 0x02, 10, BUFFER(ucArea2)},
    {BitKind, 0x05, 0x05, 10, BUFFER(ucArea3)},
    {BitKind, 0x04, 0x04, 10, BUFFER(ucArea4)},
    {WordKind, 0x08, 0x08, 10, BUFFER(usArea5)},
    {WordKind, 0x12, 0x12, 10, BUFFER(usArea6)},
    {WordKind, 0x11, 0x11, 10, BUFFER(usArea7)},
    {WordKind, 0x06, 0x00, 10, BUFFER(usArea8)},
    {WordKind, 0x07, 0x07, 10, BUFFER(usArea9)},
    {DoubleWordKind, 0x13, 0x13, 10, BUFFER(uiArea10)},
    {BitKind, 0x03, 0x03, 10, BUFFER(ucArea11)},
    {WordKind, 0x09, 0x09, 10, BUFFER(usArea12)},
    {WordKind, 0x10, 0x10, 10, BUFFER(usArea13)},
    {NoKind, 0x00, 0x00, 0, 0, 0},
};
static_assert(countOf(areaTable) == AreaTypes + 1, "a row for each area type and one for the rest");

namespace
{

template <typename Element>
bool holds(const Area &area, const Element *pointer)
{
    const Element *const buffer = static_cast<const Element *>(area.buffer);
    return kindOf(area.kind).bytesPerElement == int(sizeof(Element)) && pointer >= buffer &&
           pointer < buffer + area.capacity;
}

} // namespace

template <typename Element>
ImageView<Element> viewOf(Element *buffer)
{
    const qint64 unbounded = Q_INT64_C(1) << 40;
    for (int type = 0; buffer && type < AreaTypes; ++type) {
        const Area &area = areaTable[type];
        if (holds(area, buffer)) {
            const qint64 skipped = buffer - static_cast<Element *>(area.buffer);
            return ImageView<Element>{buffer, -skipped, area.capacity - skipped};
        }
    }
    return ImageView<Element>{buffer, buffer ? -unbounded : 0,
                              buffer ? unbounded : 0}; // Deliberate: behaviour 310.
}

template ImageView<unsigned char> viewOf(unsigned char *);
template ImageView<unsigned short> viewOf(unsigned short *);
template ImageView<unsigned int> viewOf(unsigned int *);
