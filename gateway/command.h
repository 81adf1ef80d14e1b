// Commands from the network: who may write what, and one answer for each.
#ifndef FGS_GATEWAY_COMMAND_H
#define FGS_GATEWAY_COMMAND_H

#include "command_answer.h"
#include "command_memory.h"
#include "order_maker.h"
#include "orders.h"
#include "rate_limit.h"
#include "settings.h"

#include <array>
#include <deque>
#include <map>
#include <string>

namespace fgs
{

/// Takes commands, checks them, hands them to the line, and gives one final answer for each id. The network's
/// thread; times are given.
///
/// The checks, in this order: not retained, size, JSON, unknown keys, id, other keys, age, read-only gateway; of
/// each tag known, allowed, type, range, step; rate, link, stations. All tags are checked before anything is
/// ordered, and each wrong one is named in the answer; its first one of the checks is the command's reason.
///
/// An id that was answered gets the same answer again, and nothing is written; so does one whose answer is due
/// still, by that answer. An id under way gets Accepted. The last 1,000 answered ids are known, and all under way.
///
/// A command that was superseded in part has the result of the rest.
///
/// What was sent before the desk began may have been carried out by one before it: where ages are looked at, it is
/// refused.
///
/// What has not begun when the command's age reaches the limit expires; where ages are not looked at, after the
/// default limit from its arrival on.
class CommandDesk
{
public:
    /// All outlive it; the settings until there are others. Ids of before `begun` are not known any more.
    CommandDesk(const GatewaySettings &theSettings, OrderDesk &theOrders, bool isReadOnly, Epoch theBegun);
    /// What comes from now on is judged by others. What is known, counted, due and being written stays as it is;
    /// with other tags, what waits for the line is taken back, since it was meant for those of before.
    void changeSettings(const GatewaySettings &others, bool areOtherTags);

    /// Takes a command. `steady` is a clock that never jumps, `now` the time of day that ages are judged by.
    void take(const std::string &json, bool isRetained, const LineState &line, Epoch now, milliseconds steady);
    /// Takes what cannot be a command, as its layout has found out; it is not retained. The reason is NotJson.
    void refuse(const std::string &why, Epoch now);
    /// Takes the ends of orders over, and ends what has waited too long.
    void step(Epoch now, milliseconds steady);
    /// When something has waited too long; max(): nothing waits.
    milliseconds nextLimit() const;

    /// The answers that are due, oldest first; they stay until dropAnswer(). Of more than 1,000 the oldest are
    /// dropped, but never the first, which may be on its way.
    const std::deque<CommandAnswer> &answers() const { return due; }
    void dropAnswer() { due.pop_front(); }
    quint64 answersDropped() const { return dropped; } ///< beyond the bound
    /// Whether a rebirth was asked for since the last call.
    bool takeRebirth();

    quint64 commands() const { return taken; } ///< all, also repeated ones
    /// Commands that were refused, failed or expired (TooOld), each by its one reason.
    quint64 failures(CommandFailure failure) const { return failed[static_cast<std::size_t>(failure)]; }

private:
    struct UnderWay {
        CommandAnswer answer;  ///< as far as it is known, with a part for each tag
        milliseconds limit{0}; ///< to begin; max(): it is over
        bool isWithdrawn = false;
    };

    void refuseUnread(const std::string &json, bool isRetained) const;
    void refuseByAge(const Command &command, Epoch now) const;
    void refuseFromBefore(const Command &command) const;
    void refuseByRate(milliseconds steady);
    void carryOut(const Command &command, CommandAnswer &answer, const LineState &line, Epoch now,
                  milliseconds steady);
    void put(Order order, const Command &command, CommandAnswer answer, milliseconds limit);
    milliseconds patience(const Command &command, Epoch now) const;
    void repeat(const CommandAnswer &asked);
    void finish(const OrderEnd &end, Epoch now);
    void conclude(const CommandAnswer &answer);
    void tell(const CommandAnswer &answer);

    const GatewaySettings *settings;
    OrderDesk &orders;
    const bool writesNothing;
    Epoch begun; ///< or the earliest time since then, if the clock was set back
    OrderMaker maker;
    RateLimit rate;
    CommandMemory memory;
    std::map<quint64, UnderWay> underWay; ///< by the numbers of their orders
    quint64 lastNumber = 0;
    bool rebirthWanted = false;
    std::deque<CommandAnswer> due;
    quint64 dropped = 0;
    quint64 taken = 0;
    std::array<quint64, CommandFailureCount> failed = {};
};

} // namespace fgs

#endif
