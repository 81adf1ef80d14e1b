// Readings as rows of a table by RFC 4180. docs/csv.md describes them.
#ifndef FGS_WATCH_CSV_H
#define FGS_WATCH_CSV_H

#include "reading.h"
#include "tag.h"
#include "wall_clock.h"

namespace fgs
{

/// The names of the columns, as a line without its end.
QString csvHeader();
/// A line for each value, without its end; what is not known is empty. The reading is of the tag's variable.
QStringList csvRows(const Tag &tag, const Reading &reading, Format format, const WallClock &clock, Time now);
/// Quoted where that is needed.
QString csvField(const QString &text);

/// Behind each line.
const char CsvLineEnd[] = "\r\n";

} // namespace fgs

#endif
