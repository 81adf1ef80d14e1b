#include "order_maker.h"

#include "command_values.h"
#include "formats/suggestion.h"

#include <algorithm>

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
    for (const auto &[name, value] : command.set) {
        try {
            const std::size_t tag = tagNamed(name, wrong.size() < MostSuggestions);
            order.assignments.push_back({settings->tags[tag].tag, elementsOf(settings->tags[tag], value)});
            order.tags.push_back(tag);
        } catch (const Refusal &refusal) {
            wrong.push_back(wrongTag(name, refusal.failure, refusal.what()));
        }
    }
    refuseWrong(wrong);
    return order;
}

void OrderMaker::refuseByLine(const Order &order, const LineState &line, std::vector<TagAnswer> &wrong) const
{
    if (!line.isUp)
        throw Refusal(CommandFailure::LinkDown, "the link to the controllers is down; send it again later");
    for (const std::size_t tag : order.tags) {
        const int station = settings->tags[tag].tag.variable.station;
        const auto found = line.stations.find(station);
        if (found == line.stations.end() || !found->second)
            wrong.push_back(wrongTag(names[tag], CommandFailure::StationDown,
                                     "station " + std::to_string(station) + " does not answer"));
    }
    refuseWrong(wrong);
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
