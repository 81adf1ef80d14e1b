#include "assignment.h"

#include "host/text_error.h"

#include <QtCore/QStringList>

namespace fgs
{

namespace
{

/// Reads the parts of one text; every fault names the whole text.
class AssignmentText
{
public:
    AssignmentText(const QString &whole, int station, Format valueFormat)
        : text(whole), equals(int(whole.indexOf(QLatin1Char('=')))), defaultStation(station), format(valueFormat)
    {
    }

    Assignment parse() const
    {
        if (equals < 0)
            refuse(QStringLiteral("assigns nothing; write VAR=VALUE[,VALUE...], for example 5:100=1,2"));
        Assignment assignment;
        Variable &variable = assignment.variable;
        variable = parseVariable(place(), defaultStation);
        const Area &area = *areaOf(variable.area);
        if (!area.writable)
            refuse(QStringLiteral("area %1 is read-only").arg(area.number));
        assignment.values = parseValues(area.kind);
        variable.count = fittingCount(variable, static_cast<int>(assignment.values.size()));
        return assignment;
    }

private:
    [[noreturn]] void refuse(const QString &fault) const
    {
        throw TextError(QStringLiteral("assignment '%1': %2").arg(text, fault));
    }

    QString place() const { return text.left(equals); }

    std::vector<quint32> parseValues(AreaKind kind) const
    {
        std::vector<quint32> values;
        for (const QString &part : text.mid(equals + 1).split(QLatin1Char(','))) {
            const std::size_t number = values.size() + 1;
            if (part.isEmpty())
                refuse(QStringLiteral("value %1 is empty; write a number, or one comma less").arg(number));
            try {
                values.push_back(parseValue(part, kind, format));
            } catch (const TextError &error) {
                refuse(QStringLiteral("value %1, %2").arg(number).arg(QString::fromUtf8(error.what())));
            }
        }
        return values;
    }

    int fittingCount(const Variable &variable, int given) const
    {
        if (place().contains(QLatin1Char('x')) && given != variable.count)
            refuse(QStringLiteral("%1 values for %2 places; give as many, or leave the count out")
                       .arg(given)
                       .arg(variable.count));
        if (given > AddressCount - variable.address)
            refuse(QStringLiteral("%1 values reach beyond the end of area %2").arg(given).arg(variable.area));
        return given;
    }

    const QString text;
    const int equals, defaultStation;
    const Format format;
};

} // namespace

Assignment parseAssignment(const QString &text, int defaultStation, Format format)
{
    return AssignmentText(text, defaultStation, format).parse();
}

} // namespace fgs
