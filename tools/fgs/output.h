// Readings, results and summaries as text for people.
#ifndef FGS_TOOL_OUTPUT_H
#define FGS_TOOL_OUTPUT_H

#include "watch/wall_clock.h"
#include "watch/writing.h"

namespace fgs
{

/// How texts are written, the same for a whole run.
struct TextStyle {
    Format format;
    const WallClock &clock;
    Time timeout;  ///< of an answer
    Time start;    ///< of the run
    bool isRemote; ///< everything goes by remote frames
};

/// The reason, and with an answer that broke off what to try.
QString adviceText(const Reason &reason, Time timeout);
/// "-  no reply" without values, "(stale: no reply)" beside old ones, nothing beside good ones.
QString qualityText(const Reading &reading, const TextStyle &style);
/// The values, or what stands for them, or both.
QString contentText(const Tag &tag, const Reading &reading, const TextStyle &style);
/// Time, place, content. Of a reading without values the time is now.
QString rowText(const Tag &tag, const Reading &reading, const TextStyle &style, Time now);
QString rowText(const WriteReport &report, const TextStyle &style, Time now);
QString summaryText(const Statistics &statistics, const TextStyle &style, Time now);
/// In a line; in another what to try if the times come near the limit. There is at least one, like below.
QString roundTripsText(const RoundTrips &times, Time timeout);
/// How many took how long, as bars, then as above.
QString histogramText(const RoundTrips &times, Time timeout);

/// "1.234"
QString seconds(Time time);

/// To where printLine() prints, with the ends of lines that CSV has.
void printCsv(const QStringList &rows);

} // namespace fgs

#endif
