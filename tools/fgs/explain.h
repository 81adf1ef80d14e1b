// Transactions in words and as JSON.
#ifndef FGS_TOOL_EXPLAIN_H
#define FGS_TOOL_EXPLAIN_H

#include "transactions.h"
#include "watch/json.h"

namespace fgs
{

/// Every byte with what it says, a line for each field. The source is where the records come from: a file's name,
/// or empty. It ends with an empty line.
std::string explanationOf(const Transaction &transaction, const std::string &source);
/// As docs/json.md has it.
Json jsonOf(const Transaction &transaction, const std::string &source);

/// Nanoseconds since 1970 in UTC as ISO 8601 with microseconds and the offset of the local zone:
/// "2026-11-21T21:15:03.123456+01:00".
std::string timeText(std::int64_t time);
/// From one record to another; none where a time is not known.
std::optional<double> millisecondsBetween(const Record &from, const Record &to);

} // namespace fgs

#endif
