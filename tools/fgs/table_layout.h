// How readings stand in the rows of a table: every number whole, however narrow the screen is.
#ifndef FGS_TOOL_TABLE_LAYOUT_H
#define FGS_TOOL_TABLE_LAYOUT_H

#include "watch/reading.h"
#include "watch/tag.h"

#include <QtCore/QStringList>

namespace fgs
{

/// Columns that stand before the values, wide enough for every tag of the table. A reading is of the tag's
/// variable.
class TableLayout
{
public:
    TableLayout(const std::vector<Tag> &tags, Format valueFormat, int screenColumns);

    QString header() const;
    /// How many columns more the widest value needs; 0 if all values are shown.
    int missingColumns() const;
    /// Rows that a reading takes, at least one.
    int rowCount(const Tag &tag, const Reading &reading, const QString &reason) const;
    /// The rows: values of which an element is marked have a star in front. A further row begins with the address
    /// of its first value.
    QStringList rows(const Tag &tag, const Reading &reading, const QString &reason, const std::vector<bool> &marked,
                     Time now) const;

private:
    int valueColumns() const;
    int cellsPerRow(const Tag &tag) const;
    int valueRowCount(const Tag &tag, const Reading &reading) const;
    QStringList valueRows(const Tag &tag, const Reading &reading, const std::vector<bool> &marked) const;
    QStringList textRows(const Tag &tag, const Reading &reading, const std::vector<bool> &marked) const;
    QStringList numberRows(const Tag &tag, const Reading &reading, const std::vector<bool> &marked) const;
    QString furtherLead(const Tag &tag, int row) const;
    QString joined(const QString &age, const QString &place, const QString &wire) const;

    const Format format;
    const int columns;
    int placeWidth = 0, wireWidth = 0, widestValue = 0;
};

/// The text in lines of at most so many characters, broken between words; numbers stay whole.
QStringList wrapped(const QString &text, int columns);

} // namespace fgs

#endif
