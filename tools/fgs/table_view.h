// What the live table shows beside age, place and value.
#ifndef FGS_TOOL_TABLE_VIEW_H
#define FGS_TOOL_TABLE_VIEW_H

namespace fgs
{

struct TableView {
    bool each = false;  ///< a row for each value
    bool range = false; ///< the smallest, the mean and the largest of each value since the start
    bool trend = false; ///< its newest as a sparkline

    /// Range and trend belong to one value.
    bool isByValue() const { return each || range || trend; }
};

} // namespace fgs

#endif
