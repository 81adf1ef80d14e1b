// How readings stand in the rows of a table: every number whole, however narrow the screen is.
#ifndef FGS_TOOL_TABLE_LAYOUT_H
#define FGS_TOOL_TABLE_LAYOUT_H

#include "table_view.h"
#include "watch/value_statistics.h"

#include <climits>
#include <QtCore/QStringList>

namespace fgs
{

/// Rows of a variable, from the first on, without the last.
struct RowRange {
    int first = 0;
    int last = INT_MAX;
};

/// Columns that stand before the values, and behind them if the view has some, wide enough for every tag of the
/// table. With a row for each value, the screen may be too narrow for all: the wire address goes first, then the
/// trend, then the range. A reading is of the tag's variable.
class TableLayout
{
public:
    TableLayout(const std::vector<Tag> &tags, Format valueFormat, int screenColumns,
                const TableView &view = TableView(), bool isRemote = false);

    QString header() const;
    /// How many columns more the widest value, and all that the view has, needs; 0 if all is shown.
    int missingColumns() const;
    /// Rows that a reading takes, at least one.
    int rowCount(const Tag &tag, const Reading &reading, const QString &reason) const;
    /// The rows: values of which an element is marked have a star in front. A further row begins with the address
    /// of its first value.
    QStringList rows(const Tag &tag, const Reading &reading, const QString &reason, const std::vector<bool> &marked,
                     Time now, const ValueStatistics &statistics = ValueStatistics(),
                     const RowRange &range = RowRange()) const;

private:
    int valueColumns() const;
    int cellsPerRow(const Tag &tag) const;
    int valueRowCount(const Tag &tag, const Reading &reading) const;
    QStringList textRows(const Tag &tag, const Reading &reading, const std::vector<bool> &marked) const;
    QString numberRow(const Tag &tag, const Reading &reading, const std::vector<bool> &marked, int row) const;
    QString statisticsText(const Tag &tag, const ValueStatistics &statistics, std::size_t index) const;
    void fit(const TableView &view);
    int behindValues() const;
    QString furtherLead(const Tag &tag, int row) const;
    QString joined(const QString &age, const QString &place, const QString &wire) const;

    const Format format;
    const int columns;
    const bool isByValue;
    const bool isRemote; ///< wire addresses are those of remote frames
    int placeWidth = 0, wireWidth = 0, widestValue = 0;
    int rangeWidth = 0, trendWidth = 0; ///< 0: not shown; the first is that of each of its three columns
    int missing = 0;
};

/// The text in lines of at most so many characters, broken between words; numbers stay whole.
QStringList wrapped(const QString &text, int columns);

} // namespace fgs

#endif
