#include "areas.h"

namespace fgs
{

namespace
{

const Area areas[AreaCount] = {
    {0, AreaKind::Bit, 0x00, false, 8, 2048},        {1, AreaKind::Bit, 0x01, true, 8, 2048},
    {2, AreaKind::Bit, 0x02, true, 10, 12000},       {3, AreaKind::Bit, 0x05, true, 10, 2048},
    {4, AreaKind::Bit, 0x04, true, 10, 2048},        {5, AreaKind::Word, 0x08, true, 10, 10000},
    {6, AreaKind::Word, 0x12, true, 10, 256},        {7, AreaKind::Word, 0x11, true, 10, 256},
    {8, AreaKind::Word, 0x06, false, 10, 256},       {9, AreaKind::Word, 0x07, true, 10, 256},
    {10, AreaKind::DoubleWord, 0x13, true, 10, 256}, {11, AreaKind::Bit, 0x03, true, 10, 1120},
    {12, AreaKind::Word, 0x09, true, 10, 8},         {13, AreaKind::Word, 0x10, true, 10, 8},
};

} // namespace

const Area *areaOf(int number)
{
    return number >= 0 && number < AreaCount ? &areas[number] : nullptr;
}

const Area *areaOfCode(int code)
{
    for (const Area &area : areas)
        if (area.code == code)
            return &area;
    return nullptr;
}

QString nameOf(AreaKind kind)
{
    return kind == AreaKind::Bit    ? QStringLiteral("bit")
           : kind == AreaKind::Word ? QStringLiteral("word")
                                    : QStringLiteral("double word");
}

QString addressText(int area, int address)
{
    return QString::number(address, areaOf(area)->base);
}

} // namespace fgs
