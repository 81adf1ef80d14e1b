#include "table_layout.h"

#include "output.h"
#include "sparkline.h"

#include <algorithm>

namespace fgs
{

namespace
{

const int AgeWidth = 8; ///< "1234.567" seconds: over an hour the milliseconds go
const QString Gap = QStringLiteral("  ");
const QLatin1Char Space(' ');

QString ageText(const Reading &reading, Time now)
{
    if (reading.quality == Quality::Unknown)
        return QStringLiteral("-");
    const Time age = std::max(Time(0), now - reading.time);
    return age < 1000 * 1s ? seconds(age) : QString::number(age / 1s);
}

/// With its mark, and a space before the next.
int cellWidth(const Tag &tag, Format format)
{
    return widestText(tag, format) + 2;
}

/// What stands in the column of variables.
QString variableText(const Tag &tag)
{
    return tag.name.isEmpty() ? textOf(tag) : titleOf(tag) + QLatin1Char(' ') + textOf(tag);
}

/// The values in the elements from `first` on.
QStringList textsOf(const Tag &tag, Format format, const Reading &reading, std::size_t first, std::size_t last)
{
    const auto begin = reading.values.begin();
    return valueTexts(tag, format, {begin + long(first), begin + long(last)});
}

bool isAny(const std::vector<bool> &marked, std::size_t from, std::size_t count)
{
    for (std::size_t i = from; i < std::min(from + count, marked.size()); ++i)
        if (marked[i])
            return true;
    return false;
}

} // namespace

TableLayout::TableLayout(const std::vector<Tag> &tags, Format valueFormat, int screenColumns, const TableView &view,
                         bool byRemoteFrames)
    : format(valueFormat), columns(screenColumns), isByValue(view.isByValue()), isRemote(byRemoteFrames)
{
    placeWidth = static_cast<int>(QStringLiteral("VARIABLE").size());
    for (const Tag &tag : tags) {
        const int values = tag.variable.count / tag.elementsPerValue(format);
        const Tag last = valueOf(tag, format, values - 1); // a further row names one value, with its station
        placeWidth = std::max({placeWidth, int(variableText(tag).size()), int(textOf(last).size())});
        wireWidth = std::max(wireWidth, int(wireText(last.variable, isRemote).size()));
        widestValue = std::max(widestValue, cellWidth(tag, format) - 1);
        rangeWidth = std::max(rangeWidth, widestMean(tag.scaling, tag.typeIn(format)));
    }
    if (isByValue)
        widestValue = std::max(widestValue, int(QStringLiteral("VALUE").size()) + 1);
    fit(view);
}

/// Leaves out what the screen has no room for.
void TableLayout::fit(const TableView &view)
{
    const auto widthIf = [](bool isShown, int width) { return isShown ? width : 0; };
    rangeWidth = widthIf(view.range, rangeWidth);
    trendWidth = widthIf(view.trend, ValueStatistics::NewestKept);
    const auto lacking = [this] { return std::max(0, widestValue + behindValues() - valueColumns()); };
    if (isByValue && lacking())
        wireWidth = 0;
    missing = lacking();
    for (int *const width : {&trendWidth, &rangeWidth})
        if (lacking())
            *width = 0;
}

/// What the columns behind a value take, with a space in front of each.
int TableLayout::behindValues() const
{
    return (rangeWidth ? 3 * (1 + rangeWidth) : 0) + (trendWidth ? 1 + trendWidth : 0);
}

int TableLayout::valueColumns() const
{
    const int gap = static_cast<int>(Gap.size());
    return columns - AgeWidth - gap - placeWidth - gap - (wireWidth ? wireWidth + gap : 0);
}

/// A power of two, so that the addresses of further rows are easy to count; the space after the last is not needed.
int TableLayout::cellsPerRow(const Tag &tag) const
{
    if (isByValue)
        return 1;
    const int room = (valueColumns() + 1) / cellWidth(tag, format);
    int cells = 1;
    while (2 * cells <= room)
        cells *= 2;
    return cells;
}

int TableLayout::missingColumns() const
{
    return missing;
}

QString TableLayout::header() const
{
    const QString names = joined(QStringLiteral("AGE s"), QStringLiteral("VARIABLE"), QStringLiteral("WIRE"));
    if (!isByValue)
        return (names + QStringLiteral("VALUES (* changed)")).left(columns);
    QString behind;
    for (const char *const name : {"MIN", "MEAN", "MAX"})
        behind += rangeWidth ? Space + QString::fromLatin1(name).rightJustified(rangeWidth) : QString();
    if (trendWidth)
        behind += Space + QStringLiteral("TREND");
    return (names + QStringLiteral("VALUE").rightJustified(widestValue) + behind).left(columns);
}

int TableLayout::rowCount(const Tag &tag, const Reading &reading, const QString &reason) const
{
    return std::max(1, valueRowCount(tag, reading) + int(wrapped(reason, valueColumns()).size()));
}

int TableLayout::valueRowCount(const Tag &tag, const Reading &reading) const
{
    const ValueType &type = tag.typeIn(format);
    if (type.meaning == ValueType::Text)
        return int(textRows(tag, reading, {}).size());
    const int values = static_cast<int>(reading.values.size()) / tag.elementsPerValue(format);
    const int perRow = cellsPerRow(tag);
    return (values + perRow - 1) / perRow;
}

/// A text goes on in the next row.
QStringList TableLayout::textRows(const Tag &tag, const Reading &reading, const std::vector<bool> &marked) const
{
    if (reading.values.empty())
        return {};
    const QString text = (isAny(marked, 0, marked.size()) ? QStringLiteral("*") : QStringLiteral(" ")) +
                         valuesText(tag, format, reading.values);
    const int room = std::max(1, valueColumns());
    QStringList made;
    for (int at = 0; at < text.size(); at += room)
        made << text.mid(at, room);
    return made;
}

/// A number is shown whole or not at all.
QString TableLayout::numberRow(const Tag &tag, const Reading &reading, const std::vector<bool> &marked,
                               int row) const
{
    const std::size_t each = std::size_t(tag.elementsPerValue(format)), perRow = std::size_t(cellsPerRow(tag));
    const int width = isByValue ? widestValue : cellWidth(tag, format) - 1;
    const std::size_t first = std::size_t(row) * perRow * each;
    const std::size_t last = std::min(first + perRow * each, reading.values.size());
    if (valueColumns() < width)
        return QString();
    QStringList cells;
    for (const QString &text : textsOf(tag, format, reading, first, last)) {
        const bool isMarked = isAny(marked, first + std::size_t(cells.size()) * each, each);
        cells << ((isMarked ? QStringLiteral("*") : QString()) + text).rightJustified(width);
    }
    return cells.join(Space);
}

/// Of one value: the columns behind it.
QString TableLayout::statisticsText(const Tag &tag, const ValueStatistics &statistics, std::size_t index) const
{
    const ValueType &type = tag.typeIn(format);
    const ValueStatistics::Value value = statistics.of(index);
    QString text;
    if (value.count == 0)
        return text;
    if (rangeWidth)
        for (const QString &number :
             {numberText(tag.scaling, type, value.smallest), meanText(tag.scaling, type, value.mean),
              numberText(tag.scaling, type, value.largest)})
            text += Space + number.rightJustified(rangeWidth);
    return trendWidth ? text + Space + sparkline(statistics.newestOf(index), sparkLevels()) : text;
}

QString TableLayout::joined(const QString &age, const QString &place, const QString &wire) const
{
    const QString named = age.rightJustified(AgeWidth) + Gap + place.leftJustified(placeWidth) + Gap;
    return wireWidth ? named + wire.leftJustified(wireWidth) + Gap : named;
}

/// What stands before a further row of values.
QString TableLayout::furtherLead(const Tag &tag, int row) const
{
    const ValueType &type = tag.typeIn(format);
    if (type.meaning == ValueType::Text)
        return joined({}, {}, {});
    const Tag first = valueOf(tag, format, row * cellsPerRow(tag));
    return joined({}, textOf(first), wireText(first.variable, isRemote));
}

QStringList TableLayout::rows(const Tag &tag, const Reading &reading, const QString &reason,
                              const std::vector<bool> &marked, Time now, const ValueStatistics &statistics,
                              const RowRange &range) const
{
    const bool isText = tag.typeIn(format).meaning == ValueType::Text;
    const int values = valueRowCount(tag, reading);
    const QStringList lines =
        (isText ? textRows(tag, reading, marked) : QStringList()) + wrapped(reason, valueColumns());
    const int behind = isText ? 0 : values; // rows that are not among the lines
    QStringList made;
    for (int row = range.first; row < std::min(range.last, behind + int(lines.size())); ++row) {
        const QString lead =
            row == 0       ? joined(ageText(reading, now), variableText(tag), wireText(tag.variable, isRemote))
            : row < values ? furtherLead(tag, row)
                           : joined({}, {}, {});
        made << lead + (row >= behind ? lines[row - behind]
                                      : numberRow(tag, reading, marked, row) +
                                            statisticsText(tag, statistics, std::size_t(row)));
    }
    return made;
}

QStringList wrapped(const QString &text, int columns)
{
    QStringList lines;
    for (const QString &word : text.split(Space, Qt::SkipEmptyParts)) {
        if (!lines.isEmpty() && lines.last().size() + 1 + word.size() <= columns)
            lines.last() += Space + word;
        else
            lines << word;
    }
    return lines;
}

} // namespace fgs
