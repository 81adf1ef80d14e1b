// How registers make values, and how people write them.
#ifndef FGS_WATCH_VALUE_TYPE_H
#define FGS_WATCH_VALUE_TYPE_H

#include "host/areas.h"

#include <QtCore/QStringList>
#include <vector>

namespace fgs
{

/// One element is what an address of an area holds: a bit, a word or a double word.
struct ValueType {
    enum Meaning { Unsigned, Signed, Hex, Float, Text };
    const char *name; ///< "s16"
    AreaKind size;    ///< of one value; a text is counted in words
    Meaning meaning;
    bool highWordFirst; ///< of values over two words; the controller itself puts the low word first
};

/// Of values whose type is not named.
enum class Format { Unsigned, Signed, Hex, Float };

/// Null if there is no such type. Names end in h if the high word comes first: "f32h".
const ValueType *typeNamed(const QString &name);
/// "bit, u16, s16, ..."
QString typeNames();
/// Format::Float is for double words only; words are unsigned then.
const ValueType &typeFor(AreaKind kind, Format format);

/// 0 if an area of the kind cannot hold the type.
int elementsPerValue(const ValueType &type, AreaKind kind);
/// The ends of the range of one value; of a float or a text without meaning. A type without a name takes numbers
/// with and without a sign.
qint64 lowestOf(const ValueType &type);
qint64 highestOf(const ValueType &type);
/// The longest text of one value; 0 if that depends on the value (of Text).
int widestText(const ValueType &type);

/// The values in the elements, one text each; a Text is one value. Characters of a Text that cannot be printed are
/// \xNN, and it ends at the first zero behind which there is nothing else.
QStringList valueTexts(const ValueType &type, AreaKind kind, const std::vector<quint32> &elements);
/// The values in the elements as numbers; none of a Text.
std::vector<double> valueNumbers(const ValueType &type, AreaKind kind, const std::vector<quint32> &elements);
/// A number among those of such values, as valueTexts() writes it; one of single precision with six digits.
QString numberText(const ValueType &type, double number);
/// The mean of such values, with the digits that tell something; nothing longer than widestMean().
QString meanText(const ValueType &type, double mean);
int widestMean(const ValueType &type);
/// Of one value, which may have two elements. Integers are decimal or, with 0x, hexadecimal; a float is one of
/// single precision, to the last bit; a Text takes \xNN too. Throws TextError.
std::vector<quint32> parseValue(const QString &text, const ValueType &type, AreaKind kind);

} // namespace fgs

#endif
