// A variable and what to write into it, as people write it.
#ifndef FGS_WATCH_ASSIGNMENT_H
#define FGS_WATCH_ASSIGNMENT_H

#include "values.h"

namespace fgs
{

struct Assignment {
    Variable variable;
    std::vector<quint32> values;
};

/// AREA:ADDRESS[xCOUNT][@STATION]=VALUE[,VALUE...]; the count may be left out. Numbers are decimal or 0x
/// hexadecimal, with Format::Float decimal fractions. Throws TextError, which names the whole text.
Assignment parseAssignment(const QString &text, int defaultStation, Format format);

} // namespace fgs

#endif
