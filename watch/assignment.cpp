#include "assignment.h"

#include "host/text_error.h"

#include <algorithm>
#include <QtCore/QRegularExpression>

namespace fgs
{

namespace
{

/// Reads the parts of one text; every fault names the whole text.
class AssignmentText
{
public:
    AssignmentText(const QString &whole, const TagReader &tagReader, Format valueFormat)
        : text(whole), equals(int(whole.indexOf(QLatin1Char('=')))), reader(tagReader), format(valueFormat)
    {
    }

    Assignment parse() const
    {
        if (equals < 0)
            refuse(QStringLiteral("assigns nothing; write VAR=VALUE[,VALUE...], for example 5:100=1,2"));
        Assignment assignment;
        assignment.tag = reader(text.left(equals));
        const Area &area = *areaOf(assignment.tag.variable.area);
        if (!area.writable)
            refuse(QStringLiteral("area %1 is read-only").arg(area.number));
        assignment.values = parseValues(assignment.tag);
        fit(assignment);
        return assignment;
    }

private:
    [[noreturn]] void refuse(const QString &fault) const
    {
        throw TextError(QStringLiteral("assignment '%1': %2").arg(text, fault));
    }

    bool hasCount(const Tag &tag) const
    {
        static const QRegularExpression counted(QStringLiteral("^[0-9]+:[0-9]+x"));
        return !tag.name.isEmpty() || counted.match(text).hasMatch();
    }

    /// A text may hold commas.
    QStringList valueParts(const ValueType &type) const
    {
        const QString all = text.mid(equals + 1);
        return type.meaning == ValueType::Text ? QStringList{all} : all.split(QLatin1Char(','));
    }

    std::vector<quint32> parseValues(const Tag &tag) const
    {
        std::vector<quint32> elements;
        int number = 0;
        for (const QString &part : valueParts(tag.typeIn(format))) {
            ++number;
            if (part.isEmpty() && tag.typeIn(format).meaning != ValueType::Text)
                refuse(QStringLiteral("value %1 is empty; write a number, or one comma less").arg(number));
            try {
                const std::vector<quint32> more = parseValue(part, tag, format);
                elements.insert(elements.end(), more.begin(), more.end());
            } catch (const TextError &error) {
                refuse(QStringLiteral("value %1, %2").arg(number).arg(QString::fromUtf8(error.what())));
            }
        }
        return elements;
    }

    /// Count and values agree; the count is that of the values if it is left out.
    void fit(Assignment &assignment) const
    {
        Variable &variable = assignment.tag.variable;
        std::vector<quint32> &elements = assignment.values;
        const ValueType &type = assignment.tag.typeIn(format);
        const bool isCounted = hasCount(assignment.tag);
        if (type.meaning == ValueType::Text)
            fillText(elements, isCounted ? variable.count : std::max(1, int(elements.size())));
        const int given = static_cast<int>(elements.size());
        const int each = elementsPerValue(type, assignment.tag.kind());
        if (isCounted && given != variable.count)
            refuse(
                QStringLiteral("%1 values for %2 places; give as many%3")
                    .arg(given / each)
                    .arg(variable.count / each)
                    .arg(assignment.tag.name.isEmpty() ? QStringLiteral(", or leave the count out") : QString()));
        if (given > AddressCount - variable.address)
            refuse(
                QStringLiteral("%1 values reach beyond the end of area %2").arg(given / each).arg(variable.area));
        variable.count = given;
    }

    void fillText(std::vector<quint32> &words, int count) const
    {
        if (int(words.size()) > count)
            refuse(QStringLiteral("the text takes %1 words, there are %2").arg(words.size()).arg(count));
        words.resize(std::size_t(count), 0);
    }

    const QString text;
    const int equals;
    const TagReader &reader;
    const Format format;
};

} // namespace

Assignment parseAssignment(const QString &text, const TagReader &reader, Format format)
{
    return AssignmentText(text, reader, format).parse();
}

Assignment parseAssignment(const QString &text, int defaultStation, Format format)
{
    return parseAssignment(
        text, [defaultStation](const QString &variable) { return parseTag(variable, defaultStation); }, format);
}

} // namespace fgs
