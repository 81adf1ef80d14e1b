#include "table_layout.h"

#include "output.h"

#include <algorithm>

namespace fgs
{

namespace
{

const int AgeWidth = 8; ///< "1234.567" seconds: over an hour the milliseconds go
const QString Gap = QStringLiteral("  ");

QString wireText(const Variable &variable)
{
    return QStringLiteral("0x%1:%2")
        .arg(areaOf(variable.area)->code, 2, 16, QLatin1Char('0'))
        .arg(variable.address);
}

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

bool isAny(const std::vector<bool> &marked, std::size_t from, std::size_t count)
{
    for (std::size_t i = from; i < std::min(from + count, marked.size()); ++i)
        if (marked[i])
            return true;
    return false;
}

} // namespace

TableLayout::TableLayout(const std::vector<Tag> &tags, Format valueFormat, int screenColumns)
    : format(valueFormat), columns(screenColumns)
{
    placeWidth = static_cast<int>(QStringLiteral("VARIABLE").size());
    for (const Tag &tag : tags) {
        Tag last = tag; // a further row names one value, with its station
        last.variable.count = tag.elementsPerValue(format);
        last.variable.address += tag.variable.count - last.variable.count;
        placeWidth = std::max({placeWidth, int(variableText(tag).size()), int(textOf(last).size())});
        wireWidth = std::max(wireWidth, int(wireText(last.variable).size()));
        widestValue = std::max(widestValue, cellWidth(tag, format) - 1);
    }
}

int TableLayout::valueColumns() const
{
    return columns - AgeWidth - placeWidth - wireWidth - 3 * int(Gap.size());
}

/// A power of two, so that the addresses of further rows are easy to count; the space after the last is not needed.
int TableLayout::cellsPerRow(const Tag &tag) const
{
    const int room = (valueColumns() + 1) / cellWidth(tag, format);
    int cells = 1;
    while (2 * cells <= room)
        cells *= 2;
    return cells;
}

int TableLayout::missingColumns() const
{
    return std::max(0, widestValue - valueColumns());
}

QString TableLayout::header() const
{
    const QString names = joined(QStringLiteral("AGE s"), QStringLiteral("VARIABLE"), QStringLiteral("WIRE"));
    return (names + QStringLiteral("VALUES (* changed)")).left(columns);
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

QStringList TableLayout::valueRows(const Tag &tag, const Reading &reading, const std::vector<bool> &marked) const
{
    return tag.typeIn(format).meaning == ValueType::Text ? textRows(tag, reading, marked)
                                                         : numberRows(tag, reading, marked);
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

QStringList TableLayout::numberRows(const Tag &tag, const Reading &reading, const std::vector<bool> &marked) const
{
    const int perRow = cellsPerRow(tag), each = tag.elementsPerValue(format);
    const QStringList texts = valueTexts(tag, format, reading.values);
    QStringList made;
    for (int i = 0; i < texts.size(); ++i) {
        if (i % perRow == 0)
            made << QString();
        const bool isMarked = isAny(marked, std::size_t(i) * std::size_t(each), std::size_t(each));
        const QString cell = (isMarked ? QStringLiteral("*") : QString()) + texts[i];
        made.last() +=
            (i % perRow == 0 ? QString() : QStringLiteral(" ")) + cell.rightJustified(cellWidth(tag, format) - 1);
    }
    if (valueColumns() < cellWidth(tag, format) - 1) // a number is shown whole or not at all
        for (QString &row : made)
            row.clear();
    return made;
}

QString TableLayout::joined(const QString &age, const QString &place, const QString &wire) const
{
    return age.rightJustified(AgeWidth) + Gap + place.leftJustified(placeWidth) + Gap +
           wire.leftJustified(wireWidth) + Gap;
}

/// What stands before a further row of values.
QString TableLayout::furtherLead(const Tag &tag, int row) const
{
    const ValueType &type = tag.typeIn(format);
    if (type.meaning == ValueType::Text)
        return joined({}, {}, {});
    Tag first = tag;
    first.variable.count = tag.elementsPerValue(format);
    first.variable.address += row * cellsPerRow(tag) * first.variable.count;
    return joined({}, textOf(first), wireText(first.variable));
}

QStringList TableLayout::rows(const Tag &tag, const Reading &reading, const QString &reason,
                              const std::vector<bool> &marked, Time now) const
{
    const QString lead = joined(ageText(reading, now), variableText(tag), wireText(tag.variable));
    QStringList made;
    for (const QString &row : valueRows(tag, reading, marked))
        made << (made.isEmpty() ? lead : furtherLead(tag, int(made.size()))) + row;
    for (const QString &line : wrapped(reason, valueColumns()))
        made << (made.isEmpty() ? lead : joined({}, {}, {})) + line;
    return made;
}

QStringList wrapped(const QString &text, int columns)
{
    QStringList lines;
    for (const QString &word : text.split(QLatin1Char(' '), Qt::SkipEmptyParts)) {
        if (!lines.isEmpty() && lines.last().size() + 1 + word.size() <= columns)
            lines.last() += QLatin1Char(' ') + word;
        else
            lines << word;
    }
    return lines;
}

} // namespace fgs
