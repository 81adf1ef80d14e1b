#include "search_text.h"

#include "host/text_error.h"

#include <algorithm>
#include <cstdio>
#include <QtCore/QRegularExpression>
#include <QtCore/QStringList>
#include <unistd.h>

namespace fgs
{

namespace
{

QStringList parts(const std::string &list)
{
    return QString::fromStdString(list).split(QLatin1Char(','));
}

[[noreturn]] void refuse(const char *what, const std::string &list, const char *form)
{
    throw TextError(
        QStringLiteral("%1 '%2': %3").arg(QLatin1String(what), QString::fromStdString(list), QLatin1String(form)));
}

} // namespace

ProbeSettings probeOf(const SearchOptions &search)
{
    ProbeSettings probe;
    probe.place = parseProbe(QString::fromStdString(search.probe));
    probe.patience = search.patience;
    return probe;
}

std::vector<int> stationsIn(const std::string &list)
{
    static const QRegularExpression form(QStringLiteral("^([0-9]{1,3})(?:-([0-9]{1,3}))?$"));
    std::vector<int> stations;
    for (const QString &part : parts(list)) {
        const QRegularExpressionMatch match = form.match(part);
        const int first = match.captured(1).toInt();
        const int last = match.captured(2).isEmpty() ? first : match.captured(2).toInt();
        if (!match.hasMatch() || first < 1 || last > MaxStation || first > last)
            refuse("stations", list, "must be numbers and ranges of 1..255, like 1-32 or 1,2,7-9");
        for (int station = first; station <= last; ++station)
            if (std::find(stations.begin(), stations.end(), station) == stations.end())
                stations.push_back(station);
    }
    return stations;
}

std::vector<int> speedsIn(const std::string &list)
{
    std::vector<int> speeds;
    for (const QString &part : parts(list)) {
        bool isNumber = false;
        speeds.push_back(part.toInt(&isNumber));
        if (!isNumber || speeds.back() < 50 || speeds.back() > 4000000)
            refuse("speeds", list, "must be numbers of 50..4000000, like 9600,19200");
    }
    return speeds;
}

std::vector<QString> formatsIn(const std::string &list)
{
    static const QRegularExpression form(QStringLiteral("^[5-8][NEO][12]$"));
    std::vector<QString> formats;
    for (const QString &part : parts(list)) {
        formats.push_back(part.toUpper());
        if (!form.match(formats.back()).hasMatch())
            refuse("formats", list, "must be data bits 5..8, parity N, E or O, and stop bits 1 or 2, like 8E1,8N1");
    }
    return formats;
}

QString durationText(Time time)
{
    const auto whole = std::chrono::ceil<std::chrono::seconds>(time).count();
    return whole < 60 ? QStringLiteral("%1 s").arg(whole)
                      : QStringLiteral("%1 min %2 s").arg(whole / 60).arg(whole % 60);
}

QString numbersText(const std::vector<int> &numbers)
{
    QStringList texts;
    for (const int number : numbers)
        texts << QString::number(number);
    return texts.join(QLatin1Char(' '));
}

ProgressLine::ProgressLine(bool isWanted) : isShown(isWanted && isatty(STDERR_FILENO) == 1) {}

ProgressLine::~ProgressLine()
{
    show(QString());
}

void ProgressLine::show(const QString &text) const
{
    if (!isShown)
        return;
    std::fprintf(stderr, "\r\033[K%s", text.toLocal8Bit().constData());
    std::fflush(stderr);
}

} // namespace fgs
