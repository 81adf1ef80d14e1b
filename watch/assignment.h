// A variable and what to write into it, as people write it.
#ifndef FGS_WATCH_ASSIGNMENT_H
#define FGS_WATCH_ASSIGNMENT_H

#include "tag.h"

namespace fgs
{

struct Assignment {
    Tag tag;
    std::vector<quint32> values; ///< of its elements
};

/// AREA:ADDRESS[xCOUNT][@STATION][:TYPE]=VALUE[,VALUE...]; the count may be left out. Of the type text there is one
/// value, all that follows; zeros fill it up to the count. Throws TextError, which names the whole text.
Assignment parseAssignment(const QString &text, int defaultStation, Format format);

} // namespace fgs

#endif
