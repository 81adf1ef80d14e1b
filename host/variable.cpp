#include "variable.h"

#include "text_error.h"

#include <QtCore/QRegularExpression>

namespace fgs
{

namespace
{

/// Reads the parts of one text; every fault names the whole text.
class VariableText
{
public:
    explicit VariableText(const QString &whole) : text(whole) {}

    Variable parse(int defaultStation) const
    {
        static const QRegularExpression form(QStringLiteral("^([0-9]+):([0-9]+)(?:x([0-9]+))?(?:@([0-9]+))?$"));
        const QRegularExpressionMatch match = form.match(text);
        if (!match.hasMatch())
            refuse(QStringLiteral("not of the form AREA:ADDRESS[xCOUNT][@STATION]; for example 5:100x4@1"));
        Variable variable;
        variable.area = parseArea(match.captured(1));
        variable.address = parseAddress(*areaOf(variable.area), match.captured(2));
        variable.count = parseCount(variable.area, variable.address, match.captured(3));
        variable.station = parseStation(match.captured(4), defaultStation);
        return variable;
    }

private:
    [[noreturn]] void refuse(const QString &fault) const
    {
        throw TextError(QStringLiteral("variable '%1': %2").arg(text, fault));
    }

    int parseArea(const QString &part) const
    {
        bool fits = false;
        const int number = part.toInt(&fits);
        if (!fits || !areaOf(number))
            refuse(QStringLiteral("there is no area %1; areas are 0..13").arg(part));
        return number;
    }

    int parseAddress(const Area &area, const QString &part) const
    {
        static const QRegularExpression notOctal(QStringLiteral("[89]"));
        if (area.base == 8 && part.contains(notOctal))
            refuse(QStringLiteral("%1 is not octal; addresses of areas 0 and 1 are written in octal").arg(part));
        bool fits = false;
        const int address = part.toInt(&fits, area.base);
        if (!fits || address >= AddressCount)
            refuse(QStringLiteral("address %1 is too high; the highest is %2")
                       .arg(part, addressText(area.number, AddressCount - 1)));
        return address;
    }

    int parseCount(int area, int address, const QString &part) const
    {
        bool fits = true;
        const int count = part.isEmpty() ? 1 : part.toInt(&fits), most = AddressCount - address;
        if (fits && count < 1)
            refuse(QStringLiteral("count %1 must be at least 1").arg(part));
        if (!fits || count > most)
            refuse(QStringLiteral("count %1 reaches beyond the last address, %2; from %3 on at most %4 fit%5")
                       .arg(part, addressText(area, AddressCount - 1), addressText(area, address),
                            QString::number(most), most == 1 ? QStringLiteral("s") : QString()));
        return count;
    }

    int parseStation(const QString &part, int defaultStation) const
    {
        bool fits = true;
        const int station = part.isEmpty() ? defaultStation : part.toInt(&fits);
        if (!fits || station > MaxStation)
            refuse(QStringLiteral("station %1 must be 0..%2").arg(part).arg(MaxStation));
        return station;
    }

    const QString text;
};

} // namespace

Variable parseVariable(const QString &text, int defaultStation)
{
    return VariableText(text).parse(defaultStation);
}

QString textOf(const Variable &variable)
{
    const QString place =
        QStringLiteral("%1:%2").arg(variable.area).arg(addressText(variable.area, variable.address));
    const QString count = variable.count == 1 ? QString() : QStringLiteral("x%1").arg(variable.count);
    return place + count + QStringLiteral("@%1").arg(variable.station);
}

} // namespace fgs
