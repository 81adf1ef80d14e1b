// Values as people write and read them.
#ifndef FGS_TOOL_VALUES_H
#define FGS_TOOL_VALUES_H

#include "host/variable.h"

#include <vector>

namespace fgs
{

enum class Format { Unsigned, Signed, Hex, Float };

/// Bits are 0 or 1 in every format. Float is for double words only.
QString valueText(Kind kind, Format format, quint32 value);
QString valuesText(Kind kind, Format format, const std::vector<quint32> &values);

/// One variable and what to write into it.
struct Assignment {
    Variable variable;
    std::vector<quint32> values;
};

/// AREA:ADDRESS[xCOUNT][@STATION]=VALUE[,VALUE...]; the count may be left out. Numbers are decimal or 0x
/// hexadecimal, with Format::Float decimal fractions. Throws TextError.
Assignment parseAssignment(const QString &text, int defaultStation, Format format);

} // namespace fgs

#endif
