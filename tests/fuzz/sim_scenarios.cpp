// Scenario files: any text, and behind a null character the CSV that it names. What is refused has a place and a
// remedy; what is taken runs in virtual time, and step by step is the same as all at once.
#include "formats/toml_file.h"
#include "target.h"
#include "tools/fgs-sim/scenario_file.h"

#include <algorithm>

using namespace fgssim;
using namespace std::chrono_literals;
using fuzz::require;

namespace
{

const Time Long = 20ms;
const std::size_t MostCommands = 500; // in this time

void checkErrors(const std::string &text)
{
    const std::string place = text.substr(0, text.find(": "));
    require(place.rfind("f:", 0) == 0 && std::count(place.begin(), place.end(), ':') == 2 &&
                place.find_first_not_of("f:0123456789") == std::string::npos,
            "an error without a place");
    require(text.find("; ") != std::string::npos, "an error without a remedy");
}

struct Night {
    std::string log, status;
};

Night courseOf(const ScenarioFile &file, Time step)
{
    Night course;
    Simulation simulation = {Controller(file.stations, Memory(Motion(file.stations, {}, Values::Still, 1))),
                             FaultChooser({}, 1),
                             Log(Log::Level::Normal, [&](const std::string &line) { course.log += line + "\n"; }),
                             {}};
    ScenarioRun run(file.scenario, Time(0));
    for (Time now(0); now <= Long; now += step) {
        run.advance(simulation, now);
        require(!run.nextEvent() || *run.nextEvent() > now, "what is due was left");
    }
    course.status = parseCommand("status", file.stations).carryOut(simulation, Long);
    return course;
}

bool isShort(const Scenario &scenario)
{
    std::size_t commands = 0;
    for (const Step &step : scenario.steps)
        commands += step.commands(0).size() * (step.interval > Time(0) ? std::size_t(Long / step.interval) + 1 : 1);
    const Time period = scenario.period.value_or(Long);
    return commands * std::size_t(Long / period + 1) <= MostCommands;
}

/// 'unplug TIME' is the only command that looks at the time.
bool looksAtTheTime(const Scenario &scenario)
{
    for (const Step &step : scenario.steps)
        for (const Command &command : step.commands(0))
            if (command.text.rfind("unplug", 0) == 0)
                return true;
    return false;
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t *bytes, std::size_t size)
{
    const std::string input(reinterpret_cast<const char *>(bytes), size);
    const std::size_t end = std::min(input.find('\0'), size);
    const auto values = [&](const std::string &) {
        if (end == size)
            throw BadText("there is none");
        return input.substr(end + 1);
    };
    try {
        const ScenarioFile file = parseScenario("f", input.substr(0, end), values);
        require(!file.stations.empty(), "no stations");
        if (!isShort(file.scenario))
            return 0;
        const Night course = courseOf(file, 1ms), again = courseOf(file, 1ms);
        require(again.log == course.log && again.status == course.status, "another run takes another course");
        if (!looksAtTheTime(file.scenario))
            require(courseOf(file, Long).status == course.status, "all at once is not the same as step by step");
    } catch (const formats::TomlError &error) {
        checkErrors(error.what());
    }
    return 0;
}
