// What people ask for: a variable, and what its registers mean.
#ifndef FGS_WATCH_TAG_H
#define FGS_WATCH_TAG_H

#include "host/variable.h"
#include "scaling.h"

namespace fgs
{

struct Tag {
    Variable variable;               ///< counted in elements
    const ValueType *type = nullptr; ///< null: as the format of the whole run says
    QString name = QString();        ///< in a file of named variables; empty: it has none
    QString unit = QString();
    Scaling scaling = Scaling(); ///< none unless there is a type

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

/// "oven_temp [°C]"; empty if it has no name.
QString titleOf(const Tag &tag);
/// Place as people write it, and on the wire, and its name: "5:100x2@1  word  wire 0x08:100..101  oven_temp [°C]".
QString placeText(const Tag &tag, bool isRemote);
/// First address on the wire: "0x08:100", in remote frames "5:100".
QString wireText(const Variable &variable, bool isRemote);

/// The values in the elements in engineering units, one text each.
QStringList valueTexts(const Tag &tag, Format format, const std::vector<quint32> &elements);
/// The same as numbers; none of a text.
std::vector<double> numbersOf(const Tag &tag, Format format, const std::vector<quint32> &elements);
/// The texts with a space between two.
QString valuesText(const Tag &tag, Format format, const std::vector<quint32> &elements);
/// The longest text of one value; 0 if that depends on the value.
int widestText(const Tag &tag, Format format);
/// The elements of one value in engineering units. Throws TextError.
std::vector<quint32> parseValue(const QString &text, const Tag &tag, Format format);

} // namespace fgs

#endif
