#include "output.h"

#include "host/remote_frame.h"
#include "tools/console.h"
#include "watch/csv.h"

#include <algorithm>
#include <QtCore/QStringList>

namespace fgs
{

namespace
{

double milliseconds(Time time)
{
    return std::chrono::duration<double, std::milli>(time).count();
}

QString millisecondsText(Time time)
{
    return QStringLiteral("%1 ms").arg(milliseconds(time), 0, 'f', 1);
}

QString wholeMilliseconds(Time time)
{
    return QString::number(milliseconds(time), 'f', 0);
}

/// "2 no reply, 1 wrong check code"
QString failuresText(const Statistics &statistics)
{
    QStringList kinds;
    for (int i = 1; i < OutcomeCount; ++i)
        if (const quint64 count = statistics.outcomes[static_cast<std::size_t>(i)])
            kinds << QStringLiteral("%1 %2").arg(count).arg(QLatin1String(nameOf(static_cast<Outcome>(i))));
    return kinds.isEmpty() ? QString() : QStringLiteral(" (%1)").arg(kinds.join(QStringLiteral(", ")));
}

QString timeoutAdvice(const RoundTrips &times, Time timeout)
{
    const Time better = betterTimeout(times, timeout);
    return better == Time(0) ? QString()
                             : QStringLiteral("\nthe slow ones come near the time limit of %1 ms; try --timeout %2")
                                   .arg(wholeMilliseconds(timeout), wholeMilliseconds(better));
}

const int LongestBar = 40;

/// A few are seen beside many.
QString bar(quint64 count, quint64 most)
{
    const quint64 length = (count * LongestBar + most - 1) / most;
    return QString(static_cast<int>(length), QLatin1Char('#'));
}

QString boundText(std::size_t bucket)
{
    const std::size_t last = RoundTripBounds.size();
    const Time bound = RoundTripBounds[std::min(bucket, last - 1)];
    return QStringLiteral("%1 %2 ms").arg(bucket < last ? "up to" : "over", 5).arg(milliseconds(bound), 5);
}

/// What stands before every row.
QString stamped(Time when, const TextStyle &style, const QString &text)
{
    return QStringLiteral("%1  %2").arg(style.clock.text(when), text);
}

/// What was asked for, where the controller should hold it and does not.
QString assignedText(const WriteReport &report, Format format)
{
    const bool tells =
        report.held.quality == Quality::Unknown || report.holdsAssigned() || report.result == WriteResult::Refused;
    return tells ? QString()
                 : QStringLiteral(" (asked: %1)")
                       .arg(valuesText(report.assignment.tag, format, report.assignment.values));
}

} // namespace

QString adviceText(const Reason &reason, Time timeout)
{
    if (reason.kind != Reason::Failed || reason.outcome != Outcome::Incomplete)
        return textOf(reason);
    return QStringLiteral("%1 within %2 ms; try --timeout or --block")
        .arg(textOf(reason), wholeMilliseconds(timeout));
}

QString qualityText(const Reading &reading, const TextStyle &style)
{
    if (reading.quality == Quality::Good)
        return QString();
    const QString reason = adviceText(reading.reason, style.timeout);
    return reading.quality == Quality::Stale ? QStringLiteral("(stale: %1)").arg(reason)
                                             : QStringLiteral("-  ") + reason;
}

QString contentText(const Tag &tag, const Reading &reading, const TextStyle &style)
{
    QString quality = qualityText(reading, style);
    if (reading.quality == Quality::Unknown)
        return quality;
    const QString values = valuesText(tag, style.format, reading.values);
    return quality.isEmpty() ? values : values + QStringLiteral("  ") + quality;
}

QString rowText(const Tag &tag, const Reading &reading, const TextStyle &style, Time now)
{
    return stamped(reading.quality == Quality::Unknown ? now : reading.time, style,
                   QStringLiteral("%1  %2").arg(placeText(tag, style.isRemote), contentText(tag, reading, style)));
}

QString rowText(const WriteReport &report, const TextStyle &style, Time now)
{
    const Reading &held = report.held;
    const Tag &tag = report.assignment.tag;
    const QString values =
        held.quality == Quality::Unknown ? QStringLiteral("-") : valuesText(tag, style.format, held.values);
    const QString result =
        textOf(report, [&style](const Reason &reason) { return adviceText(reason, style.timeout); });
    return stamped(held.quality == Quality::Unknown ? now : held.time, style,
                   QStringLiteral("%1  %2  %3%4")
                       .arg(placeText(tag, style.isRemote), values, result, assignedText(report, style.format)));
}

QString summaryText(const Statistics &statistics, const TextStyle &style, Time now)
{
    QString text = QStringLiteral("%1 requests in %2 s: %3 good, %4 failed%5; %6 repeated, %7 given up")
                       .arg(statistics.requests)
                       .arg(seconds(now - style.start))
                       .arg(statistics.of(Outcome::Good))
                       .arg(statistics.failures())
                       .arg(failuresText(statistics))
                       .arg(statistics.retries)
                       .arg(statistics.abandoned);
    if (statistics.strayBytes)
        text += QStringLiteral("; %1 stray bytes").arg(statistics.strayBytes);
    if (statistics.unaskedAnswers)
        text += QStringLiteral("; %1 answers that nobody asked for").arg(statistics.unaskedAnswers);
    if (statistics.linkLost)
        text += QStringLiteral("; link lost %1 times, opened again %2 times")
                    .arg(statistics.linkLost)
                    .arg(statistics.reconnects);
    return text;
}

QString roundTripsText(const RoundTrips &times, Time timeout)
{
    return QStringLiteral("round trip: min %1, mean %2, 99 % within %3, max %4")
               .arg(millisecondsText(times.min()), millisecondsText(times.mean()),
                    millisecondsText(times.quantile(0.99)), millisecondsText(times.max())) +
           timeoutAdvice(times, timeout);
}

QString histogramText(const RoundTrips &times, Time timeout)
{
    const RoundTripCounts &counts = times.histogram();
    const auto isFilled = [](quint64 count) { return count > 0; };
    const auto first = std::size_t(std::find_if(counts.begin(), counts.end(), isFilled) - counts.begin());
    const auto end = std::size_t(counts.rend() - std::find_if(counts.rbegin(), counts.rend(), isFilled));
    QString text = QStringLiteral("%1 round trips").arg(times.count());
    for (std::size_t i = first; i < end; ++i)
        text += QStringLiteral("\n  %1 %2  %3")
                    .arg(boundText(i))
                    .arg(counts[i], 9)
                    .arg(bar(counts[i], *std::max_element(counts.begin(), counts.end())));
    return text +
           QStringLiteral("\n50 % within %1, 95 % within %2, 99 % within %3, max %4")
               .arg(millisecondsText(times.quantile(0.50)), millisecondsText(times.quantile(0.95)),
                    millisecondsText(times.quantile(0.99)), millisecondsText(times.max())) +
           timeoutAdvice(times, timeout);
}

QString seconds(Time time)
{
    return QString::number(std::chrono::duration<double>(time).count(), 'f', 3);
}

void printCsv(const QStringList &rows)
{
    for (const QString &row : rows)
        printText((row + QLatin1String(CsvLineEnd)).toStdString());
}

} // namespace fgs
