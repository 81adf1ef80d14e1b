// Readings, results, events and summaries as text for people.
#ifndef FGS_TOOL_OUTPUT_H
#define FGS_TOOL_OUTPUT_H

#include "tools/controls.h"
#include "watch/wall_clock.h"
#include "watch/writing.h"

#include <cstdio>

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

void printLine(const QString &line);       ///< to stdout, or where printDataTo() says
void printText(const std::string &text);   ///< the same as it stands, with its line ends
void printCsv(const QStringList &rows);    ///< there too, with the ends of lines that CSV has
void printMessage(const QString &message); ///< to stderr
/// A line on stderr, a terminal, that gives way to the next message; empty: it is gone.
void showStatus(const QString &status);
/// From now on data goes to this stream.
void printDataTo(std::FILE *stream);
/// 0, or once stdout takes nothing any more the errno that tells why.
int flushOutput();

} // namespace fgs

#endif
