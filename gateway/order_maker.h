// Orders out of what commands set, with every tag checked.
#ifndef FGS_GATEWAY_ORDER_MAKER_H
#define FGS_GATEWAY_ORDER_MAKER_H

#include "command_answer.h"
#include "orders.h"
#include "settings.h"

#include <string>
#include <unordered_map>

namespace fgs
{

struct Command;

class OrderMaker
{
public:
    /// They outlive it, and its copies.
    explicit OrderMaker(const GatewaySettings &theSettings);

    /// Without a number, with an assignment for each tag that is set, in their order. NAME/0 is the first value of
    /// a tag with several, with the rules of the tag, and so on. Throws Refusal for the wrong tag that comes first
    /// in the order of the checks; `wrong` gets each wrong one.
    Order orderOf(const Command &command, std::vector<TagAnswer> &wrong) const;
    /// Throws Refusal in the same way if the link or a station is down.
    static void refuseByLine(const Command &command, const LineState &line, const Order &order,
                             std::vector<TagAnswer> &wrong);

private:
    void add(Order &order, const Command &command, std::size_t index, bool maySuggest) const;
    std::size_t tagNamed(const std::string &name, bool maySuggest) const;
    std::optional<std::size_t> wholeOf(const std::string &name) const;

    const GatewaySettings *settings;
    std::vector<std::string> names; ///< by tag
    std::unordered_map<std::string, std::size_t> tagsByName;
};

} // namespace fgs

#endif
