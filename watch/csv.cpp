#include "csv.h"

#include <algorithm>

namespace fgs
{

namespace
{

QString lineOf(const QStringList &fields)
{
    QStringList quoted;
    std::transform(fields.begin(), fields.end(), std::back_inserter(quoted), csvField);
    return quoted.join(QLatin1Char(','));
}

} // namespace

QString csvHeader()
{
    return QStringLiteral("time,variable,name,value,unit,quality,reason");
}

QStringList csvRows(const Tag &tag, const Reading &reading, Format format, const WallClock &clock, Time now)
{
    const QString time = clock.text(reading.quality == Quality::Good ? reading.time : now);
    const QString quality = QLatin1String(keyOf(reading.quality)), reason = QLatin1String(keyOf(reading.reason));
    const bool isKnown = reading.quality != Quality::Unknown;
    const QStringList values = isKnown ? valueTexts(tag, format, reading.values) : QStringList();
    QStringList rows;
    for (int i = 0; i < tag.variable.count / tag.elementsPerValue(format); ++i)
        rows << lineOf({time, textOf(valueOf(tag, format, i)), tag.name, isKnown ? values[i] : QString(), tag.unit,
                        quality, reason});
    return rows;
}

QString csvField(const QString &text)
{
    const bool isPlain = std::none_of(text.begin(), text.end(), [](QChar letter) {
        return letter == QLatin1Char(',') || letter == QLatin1Char('"') || letter == QLatin1Char('\r') ||
               letter == QLatin1Char('\n');
    });
    QString doubled = text;
    return isPlain
               ? text
               : QLatin1Char('"') + doubled.replace(QLatin1Char('"'), QStringLiteral("\"\"")) + QLatin1Char('"');
}

} // namespace fgs
