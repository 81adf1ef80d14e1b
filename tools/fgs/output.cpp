#include "output.h"

#include <cerrno>
#include <cstdio>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
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

const char *reasonKey(const Age &age)
{
    return age.tried == Never ? "notAskedYet" : keyOf(age.outcome);
}

QString reasonText(const Age &age)
{
    return QString::fromLatin1(age.tried == Never ? "not asked yet" : nameOf(age.outcome));
}

QJsonArray valuesJson(const Row &row, Format format)
{
    const Kind kind = areaOf(row.variable.area)->kind;
    QJsonArray values;
    for (quint32 value : row.values) {
        const QString text = valueText(kind, format, value);
        bool isNumber = false;
        const double number = text.toDouble(&isNumber);
        values.append(isNumber && format != Format::Hex ? QJsonValue(number) : QJsonValue(text));
    }
    return values;
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

QString roundTripsText(const RoundTrips &times, Time timeout)
{
    QString text = QStringLiteral("\nround trip: min %1, mean %2, 99 % within %3, max %4")
                       .arg(millisecondsText(times.min()), millisecondsText(times.mean()),
                            millisecondsText(times.quantile(0.99)), millisecondsText(times.max()));
    if (2 * times.quantile(0.99) < timeout)
        return text;
    return text + QStringLiteral("\nthe slow ones come near the time limit of %1 ms; try --timeout %2")
                      .arg(milliseconds(timeout), 0, 'f', 0)
                      .arg(3 * milliseconds(times.quantile(0.99)), 0, 'f', 0);
}

void print(std::FILE *stream, const QByteArray &line)
{
    std::fwrite(line.constData(), 1, static_cast<std::size_t>(line.size()), stream);
    std::fputc('\n', stream);
}

} // namespace

bool Row::operator==(const Row &other) const
{
    return values == other.values && age.isKnown() == other.age.isKnown() && age.outcome == other.age.outcome;
}

Row rowOf(const Host &host, const Variable &variable)
{
    const Age age = host.ageOf(variable);
    return {variable, age, age.isKnown() ? host.values(variable) : std::vector<quint32>()};
}

QString contentText(const Row &row, Format format)
{
    if (!row.age.isKnown())
        return QStringLiteral("-  ") + reasonText(row.age);
    const QString values = valuesText(areaOf(row.variable.area)->kind, format, row.values);
    return row.age.outcome == Outcome::Good ? values : QStringLiteral("%1  (%2)").arg(values, reasonText(row.age));
}

QString rowText(const Row &row, Format format)
{
    const Variable &variable = row.variable;
    const Area &area = *areaOf(variable.area);
    const QString wire =
        QStringLiteral("wire 0x%1:%2").arg(area.code, 2, 16, QLatin1Char('0')).arg(variable.address);
    return QStringLiteral("%1  %2  %3  %4")
        .arg(textOf(variable), -14)
        .arg(nameOf(area.kind), -11)
        .arg(wire, -15)
        .arg(contentText(row, format));
}

QJsonObject rowJson(const Row &row, Format format, Time now)
{
    const Area &area = *areaOf(row.variable.area);
    QJsonObject json;
    json[QStringLiteral("variable")] = textOf(row.variable);
    json[QStringLiteral("area")] = area.number;
    json[QStringLiteral("kind")] = nameOf(area.kind);
    json[QStringLiteral("station")] = row.variable.station;
    json[QStringLiteral("wireCode")] = area.code;
    json[QStringLiteral("wireAddress")] = row.variable.address;
    json[QStringLiteral("values")] = row.age.isKnown() ? QJsonValue(valuesJson(row, format)) : QJsonValue();
    if (row.age.isKnown())
        json[QStringLiteral("ageMs")] = milliseconds(now - row.age.stored);
    if (!row.age.isKnown() || row.age.outcome != Outcome::Good)
        json[QStringLiteral("reason")] = QLatin1String(reasonKey(row.age));
    return json;
}

QString summaryText(const Statistics &statistics, Time elapsed, Time timeout)
{
    QString text = QStringLiteral("%1 requests in %2 s: %3 good, %4 failed%5; %6 repeated, %7 given up")
                       .arg(statistics.requests)
                       .arg(seconds(elapsed))
                       .arg(statistics.of(Outcome::Good))
                       .arg(statistics.failures())
                       .arg(failuresText(statistics))
                       .arg(statistics.retries)
                       .arg(statistics.abandoned);
    if (statistics.strayBytes)
        text += QStringLiteral("; %1 stray bytes").arg(statistics.strayBytes);
    if (statistics.reconnects)
        text += QStringLiteral("; link opened again %1 times").arg(statistics.reconnects);
    return statistics.roundTrips.count() ? text + roundTripsText(statistics.roundTrips, timeout) : text;
}

QJsonObject summaryJson(const Statistics &statistics, Time elapsed)
{
    const auto count = [](quint64 number) { return static_cast<double>(number); };
    QJsonObject summary, outcomes, times;
    for (int i = 0; i < OutcomeCount; ++i)
        outcomes[QLatin1String(keyOf(static_cast<Outcome>(i)))] =
            count(statistics.outcomes[static_cast<std::size_t>(i)]);
    const RoundTrips &trips = statistics.roundTrips;
    times[QStringLiteral("min")] = milliseconds(trips.min());
    times[QStringLiteral("mean")] = milliseconds(trips.mean());
    times[QStringLiteral("p99")] = milliseconds(trips.quantile(0.99));
    times[QStringLiteral("max")] = milliseconds(trips.max());
    summary[QStringLiteral("seconds")] = milliseconds(elapsed) / 1000;
    summary[QStringLiteral("requests")] = count(statistics.requests);
    summary[QStringLiteral("outcomes")] = outcomes;
    summary[QStringLiteral("retries")] = count(statistics.retries);
    summary[QStringLiteral("abandoned")] = count(statistics.abandoned);
    summary[QStringLiteral("strayBytes")] = count(statistics.strayBytes);
    summary[QStringLiteral("reconnects")] = count(statistics.reconnects);
    summary[QStringLiteral("roundTripMs")] = times;
    return QJsonObject{{QStringLiteral("summary"), summary}};
}

QString seconds(Time time)
{
    return QString::number(std::chrono::duration<double>(time).count(), 'f', 3);
}

void printLine(const QString &line)
{
    print(stdout, line.toUtf8());
}

void printJson(const QJsonObject &json)
{
    print(stdout, QJsonDocument(json).toJson(QJsonDocument::Compact));
}

void printMessage(const QString &message)
{
    print(stderr, message.toLocal8Bit());
}

int flushOutput()
{
    static int firstError = 0;
    if (std::fflush(stdout) != 0 && !firstError)
        firstError = errno;
    return firstError;
}

} // namespace fgs
