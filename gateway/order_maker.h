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

    /// Without a number. Throws Refusal for the wrong tag that comes first in the order of the checks; `wrong`
    /// gets each wrong one.
    Order orderOf(const Command &command, std::vector<TagAnswer> &wrong) const;
    /// Throws Refusal in the same way if the link or a station is down.
    void refuseByLine(const Order &order, const LineState &line, std::vector<TagAnswer> &wrong) const;

private:
    std::size_t tagNamed(const std::string &name, bool maySuggest) const;

    const GatewaySettings *settings;
    std::vector<std::string> names; ///< by tag
    std::unordered_map<std::string, std::size_t> tagsByName;
};

} // namespace fgs

#endif
