// Commands of a hostile sender, a line each; lines with ! let time pass, take the link away, write and answer, and
// change the settings. Nothing is ordered that the rules do not allow, and every command gets its one final answer,
// which stays the same whatever the settings become.
#include "gateway/command.h"
#include "gateway/layout.h"
#include "target.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <map>
#include <set>
#include <sstream>

using namespace fgs;
using fuzz::require;

namespace
{

const Epoch Noon = 1700000000000;

GatewayTag tagOf(const char *name, const char *variable, std::optional<WriteRule> rule, Scaling scaling = Scaling())
{
    GatewayTag tag;
    tag.tag = parseTag(QString::fromLatin1(variable));
    tag.tag.scaling = scaling;
    tag.name = name;
    tag.write = rule;
    return tag;
}

GatewaySettings someSettings()
{
    GatewaySettings settings;
    settings.name = "g";
    settings.layout.base = "b";
    settings.groups = {"oven"};
    settings.tags = {tagOf("sp", "5:100:s16", WriteRule{0, 250, 0.5}, {0.1, 0}),
                     tagOf("heats", "2:5:bit", WriteRule{0, 1, 0}),
                     tagOf("recipe", "5:200x2:text", WriteRule()),
                     tagOf("zones", "5:300x3@2:u16", WriteRule{10, 100, 0}),
                     tagOf("gain", "10:4:f32", WriteRule{-1000, 1000, 0}),
                     tagOf("temp", "5:1:s16", std::nullopt)};
    settings.commands.mostPerMinute = 20;
    return settings;
}

/// The same variables at other places, one by another name, one not at all.
GatewaySettings otherSettings()
{
    GatewaySettings settings = someSettings();
    std::reverse(settings.tags.begin(), settings.tags.end());
    settings.tags.pop_back();
    settings.tags.back().name = "burns";
    settings.commands.mostPerMinute = 30;
    return settings;
}

float floatOf(quint32 bits)
{
    float number = 0;
    std::memcpy(&number, &bits, sizeof number);
    return number;
}

/// By what the tags above say, without their types and rules.
bool isAllowed(const Variable &variable, const std::vector<quint32> &elements)
{
    const auto isZone = [](quint32 element) { return element >= 10 && element <= 100; };
    switch (variable.address) {
    case 100: // tenths, in halves
        return elements.size() == 1 && elements[0] <= 2500 && elements[0] % 5 == 0;
    case 5:
        return elements.size() == 1 && elements[0] <= 1;
    case 200:
        return elements.size() == 2 && elements[0] <= 0xFFFF && elements[1] <= 0xFFFF;
    case 300:
        return (elements.size() == 3 || elements.size() == 1) &&
               std::all_of(elements.begin(), elements.end(), isZone);
    case 301:
    case 302:
        return elements.size() == 1 && isZone(elements[0]);
    case 4:
        return elements.size() == 1 && std::abs(floatOf(elements[0])) <= 1000;
    default:
        return false;
    }
}

/// One sender, one line, virtual time.
class Case
{
public:
    Case()
    {
        line.isUp = true;
        line.stations = {{1, true}, {2, true}};
    }

    void take(const std::string &text)
    {
        if (text.empty() || text[0] != '!')
            command(text);
        else if (text.size() > 1)
            control(text[1], text.substr(2));
    }

    /// All that waits ends.
    void end()
    {
        if (held)
            finish("");
        now += 60000;
        step(milliseconds(60000));
        require(orders.waiting() == 0, "an order waits beyond the limit");
        require(open == 0, "a command has no final answer");
        step(milliseconds(60000));
    }

private:
    void command(const std::string &text)
    {
        const std::size_t before = orders.waiting();
        const quint64 refusedBefore = refused();
        desk.take(text, isRetained, line, now, steady);
        const bool isAnswered = !desk.answers().empty();
        if (!isAnswered) { // then it was ordered, whatever was superseded by it
            ++open;
            require(!isRetained && line.isUp, "an order of a retained command, or without a link");
            require(orders.waiting() > 0, "neither an answer nor an order");
        } else {
            require(desk.answers().size() == 1, "two answers to one command");
            require(orders.waiting() == before, "an answer and an order");
            const bool isNew = desk.answers().front().result == CommandResult::Refused && refused() > refusedBefore;
            require(!isNew || refused() == refusedBefore + 1, "a refusal that counts twice");
        }
        ++commands;
        require(desk.commands() == commands, "a command that does not count");
        isRetained = false;
        takeAnswers(false);
        step(milliseconds(0));
    }

    void control(char what, const std::string &rest)
    {
        switch (what) {
        case 'p':
            return pass(rest);
        case 'l':
            line.isUp = !line.isUp;
            break;
        case 's':
            line.stations[2] = !line.stations[2];
            break;
        case 'r':
            isRetained = true;
            break;
        case 'h':
            hold();
            break;
        case 'w':
            hold();
            finish(rest);
            break;
        case 'c':
            change(*settings, false);
            break;
        case 't':
            finish("");
            change(settings == &first ? second : first, true);
            break;
        default:
            break;
        }
    }

    void pass(const std::string &digits)
    {
        const int seconds = digits.empty() ? 0 : static_cast<unsigned char>(digits[0]) % 64;
        now += seconds * 1000;
        step(milliseconds(seconds * 1000));
    }

    void step(milliseconds time)
    {
        steady += time;
        desk.step(now, steady);
        takeAnswers(true);
    }

    void change(const GatewaySettings &next, bool areOtherTags)
    {
        settings = &next;
        desk.changeSettings(next, areOtherTags);
        layout = makePlainLayout(next);
        require(!areOtherTags || orders.waiting() == 0, "an order for tags of before");
        step(milliseconds(0));
    }

    void hold()
    {
        if (held)
            return;
        held = orders.take();
        if (!held)
            return;
        std::set<std::pair<int, int>> places;
        require(!held->tags.empty() && held->tags.size() == held->assignments.size(), "an order without a tag");
        for (std::size_t i = 0; i < held->tags.size(); ++i) {
            const Variable &variable = held->assignments[i].tag.variable;
            require(isAllowed(variable, held->assignments[i].values), "an order beyond the rules");
            for (int element = 0; element < variable.count; ++element)
                require(places.emplace(variable.area, variable.address + element).second,
                        "an order that sets something twice");
        }
    }

    void finish(const std::string &results)
    {
        if (!held)
            return;
        OrderEnd end;
        end.number = held->number;
        for (std::size_t i = 0; i < held->assignments.size(); ++i) {
            WriteReport report = notSent(held->assignments[i]);
            if (i < results.size())
                report.result = static_cast<WriteResult>(static_cast<unsigned char>(results[i]) % 7);
            if (report.result == WriteResult::Verified) {
                report.held.quality = Quality::Good;
                report.held.values = report.assignment.values;
            }
            end.reports.push_back(report);
        }
        held.reset();
        orders.finish(end);
        step(milliseconds(0));
    }

    /// `isOfOrders`: those of what was open.
    void takeAnswers(bool isOfOrders)
    {
        while (!desk.answers().empty()) {
            const CommandAnswer answer = desk.answers().front();
            desk.dropAnswer();
            const std::string message = layout->answer(answer, now)->payload;
            require(message.find_first_of("\n\r") == std::string::npos, "an answer over several lines");
            require(answer.message.find_first_of("\n\r\x1b") == std::string::npos,
                    "a message that cannot be printed");
            if (answer.result == CommandResult::Accepted)
                continue;
            if (isOfOrders) {
                require(open > 0, "an answer that nobody waits for");
                --open;
            }
            if (!answer.id.empty()) {
                const auto known = answers.emplace((answer.isNumbered ? "n" : "t") + answer.id, message);
                require(known.first->second == message, "another answer to the same id");
                require(known.second || !isOfOrders, "a second write for the same id");
            }
        }
    }

    quint64 refused() const
    {
        quint64 sum = 0;
        for (int i = 1; i < CommandFailureCount; ++i)
            sum += desk.failures(static_cast<CommandFailure>(i));
        return sum;
    }

    const GatewaySettings first = someSettings(), second = otherSettings();
    const GatewaySettings *settings = &first;
    std::unique_ptr<Layout> layout = makePlainLayout(first);
    OrderDesk orders;
    CommandDesk desk{first, orders, false, Noon - 10000};
    LineState line;
    Epoch now = Noon;
    milliseconds steady{0};
    bool isRetained = false;
    std::optional<Order> held;                  ///< that is being written
    std::map<std::string, std::string> answers; ///< final ones, by id
    std::size_t open = 0;                       ///< commands that were ordered and have no answer
    quint64 commands = 0;
};

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t *bytes, std::size_t size)
{
    std::istringstream input(std::string(reinterpret_cast<const char *>(bytes), size));
    Case sender;
    std::string text;
    for (int lines = 0; lines < 900 && std::getline(input, text); ++lines) // all ids are known to the end
        sender.take(text);
    sender.end();
    return 0;
}
