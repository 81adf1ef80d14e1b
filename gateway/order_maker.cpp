#include "order_maker.h"

#include "command_values.h"
#include "formats/suggestion.h"

#include <algorithm>
#include <charconv>

namespace fgs
{

namespace
{

const std::size_t MostSuggestions = 3; ///< in one answer: each compares all names

void refuseWrong(const std::vector<TagAnswer> &wrong)
{
    const auto first = std::min_element(wrong.begin(), wrong.end(), [](const TagAnswer &a, const TagAnswer &b) {
        return a.failure < b.failure; // as the checks follow one another
    });
    if (first != wrong.end())
        throw Refusal(first->failure, inQuotes(first->name) + ": " + first->message);
}

TagAnswer wrongTag(const std::string &name, CommandFailure failure, const std::string &message)
{
    return {name, CommandResult::Refused, failure, message, std::nullopt};
}

/// Which value of the tag NAME/0 and so on is.
int partOf(const std::string &name, const GatewayTag &tag)
{
    const int count = valuesIn(tag);
    const std::string digits = name.substr(tag.name.size() + 1);
    int part = -1;
    std::from_chars(digits.data(), digits.data() + digits.size(), part);
    if (part >= 0 && part < count && digits == std::to_string(part))
        return part;
    throw Refusal(CommandFailure::UnknownTag,
                  "its values are " + tag.name + "/0 to " + tag.name + "/" + std::to_string(count - 1));
}

/// As a whole, and one of its values.
void refuseTwice(const Order &order, std::size_t tag, const Variable &variable)
{
    for (std::size_t i = 0; i < order.tags.size(); ++i)
        if (order.tags[i] == tag && order.assignments[i].tag.variable.count != variable.count)
            throw Refusal(CommandFailure::NotJson, "it stands there as a whole and by its values; name each once");
}

} // namespace

OrderMaker::OrderMaker(const GatewaySettings &theSettings) : settings(&theSettings)
{
    for (const GatewayTag &tag : settings->tags) {
        tagsByName.emplace(tag.name, names.size());
        names.push_back(tag.name);
    }
}

Order OrderMaker::orderOf(const Command &command, std::vector<TagAnswer> &wrong) const
{
    Order order;
    for (std::size_t i = 0; i < command.set.size(); ++i) {
        try {
            add(order, command, i, wrong.size() < MostSuggestions);
        } catch (const Refusal &refusal) {
            wrong.push_back(wrongTag(command.set[i].first, refusal.failure, refusal.what()));
        }
    }
    refuseWrong(wrong);
    return order;
}

/// An assignment for what the command sets there.
void OrderMaker::add(Order &order, const Command &command, std::size_t index, bool maySuggest) const
{
    const auto &[name, value] = command.set[index];
    const std::optional<std::size_t> whole = wholeOf(name);
    const std::size_t tag = whole ? *whole : tagNamed(name, maySuggest);
    GatewayTag written = settings->tags[tag];
    if (whole)
        written.tag = valueOf(written.tag, Format::Unsigned, partOf(name, written));
    refuseTwice(order, tag, written.tag.variable);
    order.assignments.push_back({written.tag, elementsOf(written, value)});
    order.tags.push_back(tag);
}

void OrderMaker::refuseByLine(const Command &command, const LineState &line, const Order &order,
                              std::vector<TagAnswer> &wrong)
{
    if (!line.isUp)
        throw Refusal(CommandFailure::LinkDown, "the link to the controllers is down; send it again later");
    for (std::size_t i = 0; i < order.assignments.size(); ++i) {
        const int station = order.assignments[i].tag.variable.station;
        const auto found = line.stations.find(station);
        if (found == line.stations.end() || !found->second)
            wrong.push_back(wrongTag(command.set[i].first, CommandFailure::StationDown,
                                     "station " + std::to_string(station) + " does not answer"));
    }
    refuseWrong(wrong);
}

/// The tag with several values that NAME/... is about; none if it is about none.
std::optional<std::size_t> OrderMaker::wholeOf(const std::string &name) const
{
    const auto tag = tagsByName.find(name.substr(0, name.rfind('/')));
    const bool isPart = tag != tagsByName.end() && tag->first.size() < name.size();
    return isPart && valuesIn(settings->tags[tag->second]) > 1 ? std::optional(tag->second) : std::nullopt;
}

std::size_t OrderMaker::tagNamed(const std::string &name, bool maySuggest) const
{
    const auto tag = tagsByName.find(name);
    if (tag != tagsByName.end())
        return tag->second;
    const std::string nearest = maySuggest ? formats::nearestTo(name, names) : "";
    throw Refusal(CommandFailure::UnknownTag,
                  "no tag has this name" + (nearest.empty() ? "" : "; did you mean '" + nearest + "'?"));
}

} // namespace fgs
