// Values as people write and read them.
#ifndef FGS_WATCH_VALUES_H
#define FGS_WATCH_VALUES_H

#include "host/variable.h"

#include <vector>

namespace fgs
{

enum class Format { Unsigned, Signed, Hex, Float };

/// Bits are 0 or 1 in every format. Float is for double words only.
QString valueText(AreaKind kind, Format format, quint32 value);
QString valuesText(AreaKind kind, Format format, const std::vector<quint32> &values);

/// "1234", "0x04D2" and so on as one of the kind takes it; a float is one of single precision, to the last bit.
/// Throws TextError.
quint32 parseValue(const QString &text, AreaKind kind, Format format);

} // namespace fgs

#endif
