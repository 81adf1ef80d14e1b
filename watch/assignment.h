// A variable and what to write into it, as people write it.
#ifndef FGS_WATCH_ASSIGNMENT_H
#define FGS_WATCH_ASSIGNMENT_H

#include "tag.h"

#include <functional>

namespace fgs
{

struct Assignment {
    Tag tag;
    std::vector<quint32> values; ///< of its elements
};

/// The tag that stands before the =. Throws TextError.
using TagReader = std::function<Tag(const QString &)>;

/// VAR=VALUE[,VALUE...]; the reader takes VAR. The count of a tag with a name is the name's, of others it may be
/// left out. Values are in engineering units. Of the type text there is one value, all that follows; zeros fill it
/// up to the count. Throws TextError, which names the whole text.
Assignment parseAssignment(const QString &text, const TagReader &reader, Format format);
/// AREA:ADDRESS[xCOUNT][@STATION][:TYPE]=VALUE[,VALUE...], in the same way.
Assignment parseAssignment(const QString &text, int defaultStation, Format format);

} // namespace fgs

#endif
