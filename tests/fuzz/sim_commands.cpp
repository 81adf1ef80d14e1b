// The commands of the simulated controller: lines of any text. What is refused has a reason and changes nothing;
// what status tells are commands that are taken.
#include "sim/crc.h"
#include "target.h"
#include "tools/fgs-sim/commands.h"

#include <sstream>

using namespace fgssim;
using fuzz::Input;
using fuzz::require;

namespace
{

const std::vector<unsigned> Stations = {1, 2, 200};

Simulation makeSimulation()
{
    return {Controller(Stations, Memory(Motion(Stations, {}, Values::Moving, 1))),
            FaultChooser({}, 1),
            Log(Log::Level::Quiet, {}),
            {}};
}

std::string tell(Simulation &simulation, const std::string &line, Time now)
{
    try {
        const Command command = parseCommand(line, Stations);
        const std::string answer = command.carryOut(simulation, now);
        require(!answer.empty(), "no answer to '" + line + "'");
        return answer;
    } catch (const BadText &bad) {
        require(bad.what()[0] != '\0', "refused without a reason");
        return {};
    }
}

/// Without the stations and the counters.
std::string conditionsOf(Simulation &simulation, Time now)
{
    const std::string status = tell(simulation, "status", now);
    const std::size_t first = status.find('\n'), last = status.rfind('\n');
    return first == last ? "" : status.substr(first + 1, last - first - 1);
}

/// Another simulation that is told the status has the same one.
void checkStatus(Simulation &simulation, Time now)
{
    const std::string told = conditionsOf(simulation, now);
    Simulation other = makeSimulation();
    std::istringstream lines(told);
    for (std::string line; std::getline(lines, line);)
        require(!tell(other, line, now).empty(), "status tells '" + line + "', which is no command");
    require(conditionsOf(other, now) == told, "the status tells something else: " + told);
}

void ask(Conversation &conversation, Time now)
{
    Bytes read = {1, ReadCommand, 1, 0x08, 2, 100, 0};
    appendCrc(read);
    conversation.receive(read, now);
    conversation.takeDue(now);
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t *bytes, std::size_t size)
{
    Simulation simulation = makeSimulation();
    Conversation conversation(simulation, LineTimes());
    Input input(bytes, size);
    std::istringstream lines(input.rest());
    Time now(0);
    for (std::string line; std::getline(lines, line); now += std::chrono::milliseconds(700)) {
        tell(simulation, line, now);
        checkStatus(simulation, now);
        ask(conversation, now);
    }
    return 0;
}
