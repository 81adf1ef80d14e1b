// Engineering units: what a number in a register means to people.
#ifndef FGS_WATCH_SCALING_H
#define FGS_WATCH_SCALING_H

#include "value_type.h"

namespace fgs
{

/// value = raw * scale + offset
struct Scaling {
    double scale = 1; ///< not 0
    double offset = 0;

    bool isNone() const { return scale == 1 && offset == 0; }
    double valueOf(double raw) const { return raw * scale + offset; }
    /// Digits behind the point that show every step, and no more than a millionth of one.
    int decimals() const;
};

const double LeastScale = 1e-9, GreatestScale = 1e9;
const double MostOffsetSteps = 1e10; ///< that an offset is long: beside more of them a step would be lost

/// The text of a value whose raw text is given; what is no finite number remains as it is.
QString scaledText(const Scaling &scaling, const ValueType &type, const QString &rawText);
/// A number in these units, as scaledText() writes it.
QString numberText(const Scaling &scaling, const ValueType &type, double value);
/// The mean of such numbers, nothing longer than widestMean().
QString meanText(const Scaling &scaling, const ValueType &type, double mean);
int widestMean(const Scaling &scaling, const ValueType &type);
/// The longest text of one value.
int widestText(const Scaling &scaling, const ValueType &type);
/// The raw text of a value in engineering units. Throws TextError if it lies between two steps of the raw value,
/// which are named, or beyond the range of the type, which is named too.
QString rawText(const Scaling &scaling, const ValueType &type, const QString &text);

} // namespace fgs

#endif
