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

/// The widest text of a value.
int digitsOf(AreaKind kind, Format format)
{
    if (kind == AreaKind::Bit)
        return 1;
    const bool isWord = kind == AreaKind::Word;
    switch (format) {
    case Format::Hex:
        return isWord ? 6 : 10;
    case Format::Signed:
        return isWord ? 6 : 11;
    case Format::Float:
        return isWord ? 5 : 14;
    case Format::Unsigned:
        break;
    }
    return isWord ? 5 : 10;
}

} // namespace

TableLayout::TableLayout(const std::vector<Variable> &variables, Format valueFormat, int screenColumns)
    : format(valueFormat), columns(screenColumns)
{
    placeWidth = static_cast<int>(QStringLiteral("VARIABLE").size());
    for (const Variable &variable : variables) {
        Variable last = variable; // a further row names one value, with its station
        last.address += variable.count - 1;
        last.count = 1;
        placeWidth = std::max({placeWidth, int(textOf(variable).size()), int(textOf(last).size())});
        wireWidth = std::max(wireWidth, int(wireText(last).size()));
        widestValue = std::max(widestValue, cellWidth(areaOf(variable.area)->kind) - 1);
    }
}

int TableLayout::valueColumns() const
{
    return columns - AgeWidth - placeWidth - wireWidth - 3 * int(Gap.size());
}

/// With its mark, and a space before the next.
int TableLayout::cellWidth(AreaKind kind) const
{
    return digitsOf(kind, format) + 2;
}

/// A power of two, so that the addresses of further rows are easy to count; the space after the last is not needed.
int TableLayout::cellsPerRow(AreaKind kind) const
{
    const int room = (valueColumns() + 1) / cellWidth(kind);
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

int TableLayout::rowCount(const Reading &reading, const QString &reason) const
{
    const int perRow = cellsPerRow(areaOf(reading.variable.area)->kind);
    const int ofValues = (static_cast<int>(reading.values.size()) + perRow - 1) / perRow;
    return std::max(1, ofValues + int(wrapped(reason, valueColumns()).size()));
}

QStringList TableLayout::valueRows(const Reading &reading, const std::vector<bool> &marked) const
{
    const AreaKind kind = areaOf(reading.variable.area)->kind;
    const std::size_t perRow = static_cast<std::size_t>(cellsPerRow(kind));
    QStringList made;
    for (std::size_t i = 0; i < reading.values.size(); ++i) {
        if (i % perRow == 0)
            made << QString();
        const bool isMarked = i < marked.size() && marked[i];
        const QString cell =
            (isMarked ? QStringLiteral("*") : QString()) + valueText(kind, format, reading.values[i]);
        made.last() +=
            (i % perRow == 0 ? QString() : QStringLiteral(" ")) + cell.rightJustified(cellWidth(kind) - 1);
    }
    if (valueColumns() < cellWidth(kind) - 1) // a number is shown whole or not at all
        for (QString &row : made)
            row.clear();
    return made;
}

QString TableLayout::joined(const QString &age, const QString &place, const QString &wire) const
{
    return age.rightJustified(AgeWidth) + Gap + place.leftJustified(placeWidth) + Gap +
           wire.leftJustified(wireWidth) + Gap;
}

/// What stands before the values of a row that begins at `place`.
QString TableLayout::lead(const QString &age, const Variable &place, const Variable &shown) const
{
    return joined(age, textOf(shown), wireText(place));
}

QStringList TableLayout::rows(const Reading &reading, const QString &reason, const std::vector<bool> &marked,
                              Time now) const
{
    const int perRow = cellsPerRow(areaOf(reading.variable.area)->kind);
    const QStringList values = valueRows(reading, marked);
    QStringList made;
    Variable place = reading.variable;
    for (const QString &row : values) {
        made << (made.isEmpty() ? lead(ageText(reading, now), place, reading.variable)
                                : lead(QString(), place, place)) +
                    row;
        place.address += perRow;
        place.count = 1;
    }
    for (const QString &line : wrapped(reason, valueColumns()))
        made << (made.isEmpty() ? lead(ageText(reading, now), reading.variable, reading.variable)
                                : joined({}, {}, {})) +
                    line;
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
