#include "areas.h"

namespace fgssim
{

std::string counted(unsigned count, AreaKind kind)
{
    const char *const unit = kind == AreaKind::Bit ? " bit" : kind == AreaKind::Word ? " word" : " double word";
    return std::to_string(count) + unit + (count == 1 ? "" : "s");
}

const Areas &areas()
{
    static const Areas table = {{
        {0, AreaKind::Bit, 0x00, false, 8},
        {1, AreaKind::Bit, 0x01, true, 8},
        {2, AreaKind::Bit, 0x02, true, 10},
        {3, AreaKind::Bit, 0x05, true, 10},
        {4, AreaKind::Bit, 0x04, true, 10},
        {5, AreaKind::Word, 0x08, true, 10},
        {6, AreaKind::Word, 0x12, true, 10},
        {7, AreaKind::Word, 0x11, true, 10},
        {8, AreaKind::Word, 0x06, false, 10},
        {9, AreaKind::Word, 0x07, true, 10},
        {10, AreaKind::DoubleWord, 0x13, true, 10},
        {11, AreaKind::Bit, 0x03, true, 10},
        {12, AreaKind::Word, 0x09, true, 10},
        {13, AreaKind::Word, 0x10, true, 10},
    }};
    return table;
}

const Area *areaOfCode(Byte code)
{
    for (const Area &area : areas()) {
        if (area.code == code)
            return &area;
    }
    return nullptr;
}

std::string addressText(const Area &area, unsigned address)
{
    if (area.base == 10)
        return std::to_string(address);
    std::string text;
    do {
        text.insert(text.begin(), char('0' + address % 8));
        address /= 8;
    } while (address > 0);
    return text;
}

} // namespace fgssim
