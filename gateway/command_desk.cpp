#include "command.h"

#include "command_text.h"
#include "watch/json.h"

#include <algorithm>
#include <iterator>

namespace fgs
{

namespace
{

const std::size_t MostDue = 1000;     ///< answers
const std::size_t MostUnderWay = 256; ///< commands

bool isFinal(const CommandAnswer &answer)
{
    return answer.result != CommandResult::Accepted;
}

bool isOfSameId(const CommandAnswer &a, const CommandAnswer &b)
{
    return a.isNumbered == b.isNumbered && a.id == b.id;
}

// ---- what became of an order

struct Fate {
    CommandResult result;
    CommandFailure failure;
    const char *message;
};

const Fate VerifiedFate = {CommandResult::Verified, CommandFailure::None, ""};
const Fate SupersededFate = {CommandResult::Superseded, CommandFailure::None,
                             "not sent: a newer command took its place"};
const Fate LinkLostFate = {CommandResult::Failed, CommandFailure::LinkDown,
                           "not sent: the link to the controllers was lost; send it again when it is up"};
const Fate ExpiredFate = {CommandResult::Expired, CommandFailure::TooOld, "not sent: it had to wait for too long"};

/// By WriteResult.
const Fate fates[] = {
    VerifiedFate,
    {CommandResult::Failed, CommandFailure::Different, "acknowledged, but the controller holds another value"},
    {CommandResult::Failed, CommandFailure::NotRead, "acknowledged, but it could not be read back"},
    {CommandResult::Failed, CommandFailure::DeviceRefused, "the controller refused it"},
    {CommandResult::Failed, CommandFailure::NotAcknowledged, "not acknowledged; it may have been carried out"},
    {CommandResult::Failed, CommandFailure::NotAcknowledged, "cut off; it may have been carried out"},
    {CommandResult::Failed, CommandFailure::NotSent,
     "not sent: what was sent before it failed, the file was changed, or the end came"},
};
static_assert(sizeof fates / sizeof *fates == static_cast<std::size_t>(WriteResult::NotSent) + 1, "one for each");

/// Of the tags of one order.
class Judgement
{
public:
    Judgement(const OrderEnd &theEnd, bool isWithdrawn) : end(theEnd), withdrawn(isWithdrawn) {}

    void decide(std::size_t index, TagAnswer &answer, Epoch now) const
    {
        const Fate &fate = fateOf(index);
        answer.result = fate.result;
        answer.failure = fate.failure;
        answer.message = fate.message;
        if (index < end.reports.size() && end.reports[index].held.quality != Quality::Unknown)
            answer.held = heldOf(index, now);
    }

private:
    const Fate &fateOf(std::size_t index) const
    {
        const WriteResult result = index < end.reports.size() ? end.reports[index].result : WriteResult::NotSent;
        if (result != WriteResult::NotSent)
            return fates[static_cast<std::size_t>(result)];
        if (index < end.superseded.size() && end.superseded[index])
            return SupersededFate;
        if (withdrawn)
            return ExpiredFate;
        return end.isLinkLost ? LinkLostFate : fates[static_cast<std::size_t>(WriteResult::NotSent)];
    }

    HeldValue heldOf(std::size_t index, Epoch now) const
    {
        const Reading &held = end.reports[index].held;
        const Epoch time = index < end.heldTimes.size() ? end.heldTimes[index] : 0;
        return {end.reports[index].assignment.tag, held.quality, held.reason, time ? time : now, held.values};
    }

    const OrderEnd &end;
    const bool withdrawn;
};

/// How much a tag decides of its command's result: the highest one counts.
int weightOf(const TagAnswer &tag)
{
    switch (tag.result) {
    case CommandResult::Superseded:
        return 0;
    case CommandResult::Verified:
        return 1;
    case CommandResult::Expired:
        return 2;
    default:
        return tag.failure == CommandFailure::NotSent ? 3 : 4; // another part is the cause
    }
}

/// The first of those that decide.
void takeResult(CommandAnswer &answer)
{
    const auto deciding =
        std::max_element(answer.tags.begin(), answer.tags.end(),
                         [](const TagAnswer &a, const TagAnswer &b) { return weightOf(a) < weightOf(b); });
    answer.result = deciding->result;
    answer.failure = deciding->failure;
    if (!deciding->message.empty())
        answer.message = inQuotes(deciding->name) + ": " + deciding->message;
}

} // namespace

CommandDesk::CommandDesk(const GatewaySettings &theSettings, OrderDesk &theOrders, bool isReadOnly, Epoch theBegun)
    : settings(&theSettings), orders(theOrders), writesNothing(isReadOnly), begun(theBegun), maker(theSettings),
      rate(theSettings.commands.mostPerMinute)
{
}

void CommandDesk::changeSettings(const GatewaySettings &others, bool areOtherTags)
{
    for (const auto &[number, command] : underWay)
        if (areOtherTags)
            orders.withdraw(number);
    settings = &others;
    maker = OrderMaker(others);
    rate.change(others.commands.mostPerMinute);
}

void CommandDesk::take(const std::string &json, bool isRetained, const LineState &line, Epoch now,
                       milliseconds steady)
{
    ++taken;
    begun = std::min(begun, now);
    CommandAnswer answer;
    answer.time = now;
    try {
        refuseUnread(json, isRetained);
        const Json parsed = parseCommandText(json);
        const std::optional<CommandId> id = idOf(parsed);
        if (id) {
            answer.id = id->text;
            answer.isNumbered = id->isNumber;
            if (memory.knows(answer))
                return repeat(answer);
        }
        const Command command = commandOf(parsed, settings->commands.longestAge.count() > 0);
        refuseByAge(command, now);
        carryOut(command, answer, line, now, steady);
    } catch (const Refusal &refusal) {
        answer.failure = refusal.failure;
        answer.message = refusal.what();
        conclude(answer);
    }
}

void CommandDesk::refuse(const std::string &why, Epoch now)
{
    ++taken;
    CommandAnswer answer;
    answer.time = now;
    answer.failure = CommandFailure::NotJson;
    answer.message = why;
    conclude(answer);
}

void CommandDesk::step(Epoch now, milliseconds steady)
{
    for (auto &[number, command] : underWay)
        if (steady >= command.limit) {
            command.isWithdrawn = orders.withdraw(number);
            command.limit = milliseconds::max();
        }
    for (const OrderEnd &end : orders.takeEnds())
        finish(end, now);
}

milliseconds CommandDesk::nextLimit() const
{
    milliseconds next = milliseconds::max();
    for (const auto &[number, command] : underWay)
        next = std::min(next, command.limit);
    return next;
}

bool CommandDesk::takeRebirth()
{
    return std::exchange(rebirthWanted, false);
}

void CommandDesk::refuseUnread(const std::string &json, bool isRetained) const
{
    if (isRetained)
        throw Refusal(
            CommandFailure::Retained,
            "the broker had kept it, and kept commands are not carried out; send it without 'retain', and "
            "delete the one that is kept: mosquitto_pub -r -n -t with its topic");
    const std::size_t most = static_cast<std::size_t>(settings->commands.longestMessage);
    if (json.size() > most)
        throw Refusal(CommandFailure::TooLarge, std::to_string(json.size()) + " bytes are more than " +
                                                    std::to_string(most) + "; send it in several commands");
}

/// Also what comes from the future: one of the clocks is wrong.
void CommandDesk::refuseByAge(const Command &command, Epoch now) const
{
    const double limit = double(milliseconds(settings->commands.longestAge).count());
    if (limit <= 0 || !command.sent)
        return;
    const double age = double(now) - *command.sent;
    const std::string clocks = std::to_string(settings->commands.longestAge.count()) +
                               " s by the clock here; look at both clocks, or send it again";
    if (age > limit)
        throw Refusal(CommandFailure::TooOld, "it is older than " + clocks);
    if (age < -limit)
        throw Refusal(CommandFailure::TooOld, "it is from the future, by more than " + clocks);
    refuseFromBefore(command);
}

/// Asking for everything once more does no harm.
void CommandDesk::refuseFromBefore(const Command &command) const
{
    if (!command.wantsRebirth && *command.sent < double(begun))
        throw Refusal(CommandFailure::TooOld,
                      "it was sent before this gateway began, by the clock here, and may have been carried out "
                      "then; look at the value, and send a new one");
}

void CommandDesk::refuseByRate(milliseconds steady)
{
    if (underWay.size() >= MostUnderWay)
        throw Refusal(CommandFailure::TooMany,
                      std::to_string(MostUnderWay) + " commands wait for the line; send it again later");
    if (!rate.take(steady))
        throw Refusal(CommandFailure::TooMany, "more than " + std::to_string(settings->commands.mostPerMinute) +
                                                   " commands a minute; send it again later");
}

void CommandDesk::carryOut(const Command &command, CommandAnswer &answer, const LineState &line, Epoch now,
                           milliseconds steady)
{
    if (command.wantsRebirth) {
        refuseByRate(steady);
        rebirthWanted = true;
        answer.result = CommandResult::Rebirth;
        return conclude(answer);
    }
    if (writesNothing)
        throw Refusal(CommandFailure::ReadOnly, "this gateway writes nothing");
    Order order = maker.orderOf(command, answer.tags);
    refuseByRate(steady);
    OrderMaker::refuseByLine(command, line, order, answer.tags);
    put(std::move(order), command, answer, steady + patience(command, now));
}

void CommandDesk::put(Order order, const Command &command, CommandAnswer answer, milliseconds limit)
{
    order.number = ++lastNumber;
    memory.begin(answer);
    for (const auto &[name, value] : command.set)
        answer.tags.emplace_back().name = name;
    underWay[order.number] = {std::move(answer), limit};
    orders.put(std::move(order));
}

/// What is left of the longest age; a clock that is fast gives no more.
milliseconds CommandDesk::patience(const Command &command, Epoch now) const
{
    const milliseconds longest = settings->commands.longestAge;
    if (longest.count() <= 0)
        return CommandSettings().longestAge;
    const double age = command.sent ? std::max(0.0, double(now) - *command.sent) : 0;
    return longest - milliseconds(static_cast<std::int64_t>(age));
}

/// Unless what it would be told waits already.
void CommandDesk::repeat(const CommandAnswer &asked)
{
    const CommandAnswer *const last = memory.answerTo(asked);
    CommandAnswer accepted = asked;
    accepted.result = CommandResult::Accepted;
    const CommandAnswer &answer = last ? *last : accepted;
    const bool isDue = std::any_of(due.begin(), due.end(), [&answer](const CommandAnswer &each) {
        return isOfSameId(each, answer) && isFinal(each) == isFinal(answer);
    });
    if (!isDue)
        tell(answer);
}

void CommandDesk::finish(const OrderEnd &end, Epoch now)
{
    const auto found = underWay.extract(end.number);
    if (!found)
        return;
    UnderWay &command = found.mapped();
    const Judgement judgement(end, command.isWithdrawn);
    for (std::size_t i = 0; i < command.answer.tags.size(); ++i)
        judgement.decide(i, command.answer.tags[i], now);
    takeResult(command.answer);
    command.answer.time = now;
    conclude(command.answer);
}

/// With its one final answer.
void CommandDesk::conclude(const CommandAnswer &answer)
{
    if (answer.failure != CommandFailure::None)
        ++failed[static_cast<std::size_t>(answer.failure)];
    if (!answer.id.empty())
        memory.end(answer);
    tell(answer);
}

void CommandDesk::tell(const CommandAnswer &answer)
{
    due.push_back(answer);
    if (due.size() <= MostDue)
        return;
    due.erase(std::next(due.begin()));
    ++dropped;
}

} // namespace fgs
