#include "value_rules.h"

#include "host/text_error.h"

#include <charconv>
#include <cmath>

namespace fgs
{

using formats::TomlFault;
using formats::TomlPlace;
using formats::TomlTable;

namespace
{

const int LongestPause = 24 * 3600 * 1000; ///< milliseconds
const double SameStep = 1e-5;              ///< what arithmetic may be off a step

bool isNumber(const Tag &tag)
{
    return tag.kind() != AreaKind::Bit && tag.type->meaning != ValueType::Text;
}

/// In the fewest digits that mean the same number; without an exponent, which integers cannot have, unless it is
/// far beyond all of them.
std::string digitsOf(double number)
{
    char text[400];
    const bool isShort = std::abs(number) < 1e15;
    const std::to_chars_result end = isShort
                                         ? std::to_chars(text, text + sizeof text, number, std::chars_format::fixed)
                                         : std::to_chars(text, text + sizeof text, number);
    return {text, end.ptr};
}

milliseconds pauseIn(TomlTable &table, const char *key, milliseconds inherited)
{
    const auto pause = table.integer(key, 0, LongestPause);
    return pause ? milliseconds(pause->value) : inherited;
}

double deadBandIn(TomlTable &table, const ReportRule &inherited, const Tag *tag, std::vector<TomlFault> &faults)
{
    const auto band = table.number("deadband");
    if (tag && !isNumber(*tag)) {
        if (band)
            faults.push_back({band->place, "a dead band is for numbers, and this is none", "leave it out"});
        return 0;
    }
    if (band && band->value < 0)
        faults.push_back({band->place, "the dead band is less than 0",
                          "write the smallest change that matters, or 0 for each change"});
    return band ? band->value : inherited.deadBand;
}

/// What may be written into one tag.
class WriteRuleReader
{
public:
    WriteRuleReader(TomlTable &theTable, const Tag &theTag, std::vector<TomlFault> &theFaults)
        : table(theTable), tag(theTag), faults(theFaults)
    {
    }

    std::optional<WriteRule> read()
    {
        const TomlPlace place = table.placeOf("write");
        if (table.holdsFlag("write") && !table.flag("write")->value)
            return {};
        if (!areaOf(tag.variable.area)->writable)
            refuse(place, "area " + std::to_string(tag.variable.area) + " is read-only", "leave write out");
        return isNumber(tag) ? range(place) : whole(place);
    }

private:
    /// Of bits and texts.
    std::optional<WriteRule> whole(TomlPlace place)
    {
        if (!table.holdsFlag("write")) {
            table.leaveAlone({"write"});
            refuse(place, "bits and texts have no range to write", "write = true lets them be written");
        }
        return WriteRule{0, tag.kind() == AreaKind::Bit ? 1.0 : 0.0, 0};
    }

    std::optional<WriteRule> range(TomlPlace place)
    {
        if (table.holdsFlag("write")) {
            refuse(place, "a number may be written in a range only", "write = { min = 0, max = 100 }, say");
            return {};
        }
        std::optional<TomlTable> keys = table.table("write", "write = { min = 0, max = 100 }");
        if (!keys)
            return {};
        const bool isWhole = keys->require("min", "min = 0") && keys->require("max", "max = 100");
        const auto lowest = keys->number("min"), highest = keys->number("max"), step = keys->number("step");
        keys->refuseOthers();
        for (const auto &end : {lowest, highest})
            if (end)
                checkEnd(end->place, end->value);
        if (step)
            checkStep(step->place, step->value);
        if (!isWhole || !lowest || !highest)
            return {};
        if (lowest->value >= highest->value)
            refuse(highest->place, "'max' is not above 'min'", "write the greatest value that may be written");
        return WriteRule{lowest->value, highest->value, step ? step->value : 0};
    }

    /// It is a value of the tag.
    void checkEnd(TomlPlace place, double value)
    {
        try {
            parseValue(QString::fromStdString(digitsOf(value)), tag, Format::Unsigned);
        } catch (const TextError &error) {
            const std::string text = error.what();
            const std::size_t end = text.find("; ");
            refuse(place, text.substr(0, end),
                   end == std::string::npos ? "write a value that the variable can hold" : text.substr(end + 2));
        }
    }

    void checkStep(TomlPlace place, double step)
    {
        const double raw = std::abs(tag.scaling.scale), count = step / raw;
        const bool isFloat = tag.type->meaning == ValueType::Float;
        if (!(step > 0))
            refuse(place, "the step is not above 0", "leave it out if any value may be written");
        else if (!isFloat && (std::round(count) < 1 || std::abs(count - std::round(count)) > SameStep * count))
            refuse(place, "the step is no multiple of " + digitsOf(raw) + ", which is one of the raw value",
                   "write step = " + digitsOf(std::max(1.0, std::round(count)) * raw) + ", say");
    }

    void refuse(TomlPlace place, const std::string &what, const std::string &remedy)
    {
        faults.push_back({place, what, remedy});
    }

    TomlTable &table;
    const Tag &tag;
    std::vector<TomlFault> &faults;
};

} // namespace

ReportRule readReportRule(TomlTable &table, const ReportRule &inherited, const Tag *tag,
                          std::vector<TomlFault> &faults)
{
    ReportRule rule;
    rule.deadBand = deadBandIn(table, inherited, tag, faults);
    rule.least = pauseIn(table, "least_ms", inherited.least);
    rule.longest = pauseIn(table, "longest_ms", inherited.longest);
    const bool isOwn = table.holds("least_ms") || table.holds("longest_ms");
    if (isOwn && rule.longest.count() != 0 && rule.longest < rule.least)
        faults.push_back(
            {table.placeOf(table.holds("longest_ms") ? "longest_ms" : "least_ms"),
             "the longest time is shorter than the least, " + std::to_string(rule.least.count()) + " ms",
             "write longest_ms = 0, or more than that"});
    return rule;
}

std::optional<WriteRule> readWriteRule(TomlTable &table, const Tag *tag, std::vector<TomlFault> &faults)
{
    if (tag && table.holds("write"))
        return WriteRuleReader(table, *tag, faults).read();
    table.leaveAlone({"write"});
    return {};
}

} // namespace fgs
