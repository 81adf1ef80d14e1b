// What people ask for: a variable, and what its registers mean.
#ifndef FGS_WATCH_TAG_H
#define FGS_WATCH_TAG_H

#include "host/variable.h"
#include "value_type.h"

namespace fgs
{

struct Tag {
    Variable variable;               ///< counted in elements
    const ValueType *type = nullptr; ///< null: as the format of the whole run says

    const ValueType &typeIn(Format format) const;
    AreaKind kind() const { return areaOf(variable.area)->kind; }
    /// Elements that one value takes; all of a Text.
    int elementsPerValue(Format format) const;
};

/// AREA:ADDRESS[xCOUNT][@STATION][:TYPE]; COUNT counts values, of a text words. Throws TextError.
Tag parseTag(const QString &text, int defaultStation = 1);
/// As parseTag() reads it, always with the station.
QString textOf(const Tag &tag);
std::vector<Variable> variablesOf(const std::vector<Tag> &tags);
/// One of its values, counted from 0, as a tag of its own.
Tag valueOf(const Tag &tag, Format format, int index);

/// The values in the elements as numbers; none of a text.
std::vector<double> numbersOf(const Tag &tag, Format format, const std::vector<quint32> &elements);
/// The values in the elements, with a space between two.
QString valuesText(const Tag &tag, Format format, const std::vector<quint32> &elements);

} // namespace fgs

#endif
