#include "scenario_file.h"

#include "formats/toml_file.h"
#include "scenario_formulas.h"
#include "scenario_values.h"

#include <cerrno>
#include <charconv>
#include <climits>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>

namespace fgssim
{

namespace
{

using formats::TomlPlace;
using formats::TomlTable;
using Text = formats::TomlValue<std::string>;
using Stations = std::vector<unsigned>;

const std::size_t LargestFile = 1 << 24; // bytes; what is more is no scenario
const char *const AllStations = "1-255";

/// Of the file on the disk.
std::string textOfFile(const std::string &path)
{
    std::ifstream source(path, std::ios::binary);
    std::string text(LargestFile + 1, '\0');
    if (source)
        source.read(text.data(), std::streamsize(text.size()));
    if (!source.is_open() || source.bad() || (source.fail() && !source.eof()))
        throw BadText("'" + path + "' cannot be read: " + std::strerror(errno));
    text.resize(std::size_t(source.gcount()));
    if (text.size() > LargestFile)
        throw BadText("'" + path + "' is larger than 16 MB");
    return text;
}

/// "0.5s"
std::string secondsText(double seconds)
{
    char digits[64];
    return std::string(digits, std::to_chars(std::begin(digits), std::end(digits), seconds).ptr) + "s";
}

/// Reads one scenario; what is wrong with it is collected.
class ScenarioReader
{
public:
    ScenarioReader(const std::string &scenarioPath, const std::string &text, const ReadText &read)
        : path(scenarioPath), readText(read), toml(scenarioPath, text)
    {
    }

    ScenarioFile read(const std::optional<Stations> &given, const std::optional<std::uint64_t> &givenSeed)
    {
        TomlTable root = toml.root();
        ScenarioFile file;
        if (const auto number = root.integer("seed", 0, INT_MAX))
            file.seed = std::uint64_t(number->value);
        seed = givenSeed.value_or(file.seed.value_or(seed));
        stations = stationsIn(root, given);
        file.scenario.period = time(root, "repeat");
        takeSteps(root, file.scenario);
        root.refuseOthers();
        toml.throwFaults();
        file.stations = stations;
        return file;
    }

private:
    Stations stationsIn(TomlTable &root, const std::optional<Stations> &given)
    {
        const std::optional<Text> text = root.text("stations");
        Stations named = {1};
        if (text && !attempt(text->place, "write for instance stations = \"1,2,5-9\"",
                             [&] { named = parseStations(text->value); }))
            named = parseStations(AllStations); // one error is enough
        return given.value_or(named);
    }

    void takeSteps(TomlTable &root, Scenario &scenario)
    {
        for (TomlTable &table : root.tables("at"))
            scenario.steps.push_back(commandStep(table, scenario.period));
        for (TomlTable &table : root.tables("values"))
            scenario.steps.push_back(valueStep(table));
        if (!root.holds("at") && !root.holds("values"))
            toml.fault({}, "nothing happens in this scenario",
                       "add a step: [[at]], time = \"10s\", do = \"unplug 5s\"");
    }

    // ---- [[at]]

    Step commandStep(TomlTable &table, const std::optional<Time> &period)
    {
        Step step;
        if (table.require("time", "time = \"10s\""))
            step.first = time(table, "time", Time(0)).value_or(Time(0));
        if (period && step.first >= *period)
            toml.fault(table.place(), "the scenario begins anew before this time comes",
                       "choose an earlier time, or a longer repeat");
        takeRepetitions(table, step);
        step.commands = [commands = commandsIn(table)](std::uint64_t) { return commands; };
        table.refuseOthers();
        return step;
    }

    void takeRepetitions(TomlTable &table, Step &step)
    {
        const std::optional<Time> every = time(table, "every");
        const auto times = table.integer("times", 1, INT_MAX);
        if (every) {
            step.interval = *every;
            step.times.reset();
        }
        if (times && !table.holds("every"))
            toml.fault(times->place, "'times' is nothing without 'every'", "add a line like every = \"5s\"");
        else if (times)
            step.times = std::uint64_t(times->value);
    }

    std::vector<Command> commandsIn(TomlTable &table)
    {
        std::vector<Command> commands;
        if (!table.require("do", "do = \"station 3 off\""))
            return commands;
        const std::vector<Text> texts = table.texts("do");
        for (const Text &text : texts)
            attempt(text.place, "'fgs-sim ctl --help' tells how to write commands",
                    [&] { commands.push_back(parseCommand(text.value, stations)); });
        return commands;
    }

    // ---- [[values]]

    Step valueStep(TomlTable &table)
    {
        Step step;
        if (table.require("every", "every = \"1s\""))
            step.interval = time(table, "every").value_or(Time(0));
        const std::vector<Place> places = placesIn(table);
        if (table.holds("value"))
            takeFormulas(table, places, step);
        else
            takeRows(table, places, step);
        table.refuseOthers();
        return step;
    }

    void takeRows(TomlTable &table, const std::vector<Place> &places, Step &step)
    {
        const auto loop = table.flag("loop");
        const std::optional<Text> file = table.requiredText("file", "file = \"values.csv\"");
        const auto rows = file && !places.empty() ? rowsOf(*file, places) : nullptr;
        if (!rows)
            return;
        if (loop && loop->value)
            step.times.reset();
        else
            step.times = rows->size();
        step.commands = [rows, all = stations](std::uint64_t nth) {
            return std::vector<Command>{rows->command(std::size_t(nth % rows->size()), all)};
        };
    }

    void takeFormulas(TomlTable &table, const std::vector<Place> &places, Step &step)
    {
        const std::vector<Text> texts = table.texts("value");
        if (table.holds("file"))
            toml.fault(table.text("file").value_or(Text{{}, table.place()}).place,
                       "'file' and 'value' exclude each other", "leave one of them out");
        else if (!places.empty() && texts.size() != places.size())
            toml.fault(table.place(),
                       "the number of formulas is " + std::to_string(texts.size()) + ", that of places " +
                           std::to_string(places.size()),
                       "write a formula for each place");
        const auto formulas = std::make_shared<std::vector<PlaceFormula>>();
        for (std::size_t i = 0; i < texts.size(); ++i)
            if (std::optional<Formula> formula = formulaIn(texts[i]); formula && i < places.size())
                formulas->push_back({places[i], std::move(*formula)});
        step.times.reset();
        step.commands = [formulas, interval = step.interval, all = stations](std::uint64_t nth) {
            const double seconds = std::chrono::duration<double>(interval * std::int64_t(nth)).count();
            return std::vector<Command>{formulaCommand(*formulas, seconds, nth, all)};
        };
    }

    /// None if it is wrong. The quotation mark stands in front of it.
    std::optional<Formula> formulaIn(const Text &text)
    {
        try {
            return Formula(text.value, (seed << 32) + ++formulaCount);
        } catch (const BadFormula &bad) {
            const TomlPlace place = {text.place.line, text.place.column + 1 + unsigned(bad.at)};
            toml.fault(place, bad.what(), bad.remedy);
            return {};
        }
    }

    /// None if one of them is wrong.
    std::vector<Place> placesIn(TomlTable &table)
    {
        std::vector<Place> places;
        if (!table.require("place", "place = \"5:100\""))
            return places;
        const std::vector<Text> texts = table.texts("place");
        for (const Text &text : texts)
            attempt(text.place, "write for instance 5:100 or 5:100x10@2",
                    [&] { places.push_back(parsePlace(text.value, stations)); });
        return places.size() == texts.size() ? places : std::vector<Place>();
    }

    /// Null if something is wrong with it.
    std::shared_ptr<const ValueRows> rowsOf(const Text &file, const std::vector<Place> &places)
    {
        std::string text;
        const auto readValues = [&] {
            text = readText((std::filesystem::path(path).parent_path() / file.value).string());
        };
        if (!attempt(file.place, "name a file, relative to the folder of the scenario", readValues))
            return nullptr;
        std::vector<ValueFault> faults;
        const auto rows = std::make_shared<const ValueRows>(text, places, faults);
        for (const ValueFault &fault : faults)
            toml.fault(file.place, file.value + ": " + fault.what, fault.remedy);
        return faults.empty() ? rows : nullptr;
    }

    // ---- both

    /// None if there is none, or it is wrong.
    std::optional<Time> time(TomlTable &table, const std::string &key, Time least = std::chrono::milliseconds(1))
    {
        std::optional<Text> text;
        if (!table.holdsNumber(key))
            text = table.text(key);
        else if (const auto number = table.number(key))
            text = Text{secondsText(number->value), number->place};
        std::optional<Time> duration;
        if (text)
            attempt(text->place, "write for instance 10s, 1m30s or 500ms",
                    [&] { duration = parseDuration(text->value, least); });
        return duration;
    }

    /// What the use dislikes is a fault at this place; what to do stands behind it, or else is this.
    template <typename Use>
    bool attempt(TomlPlace place, const std::string &remedy, Use use)
    {
        try {
            use();
            return true;
        } catch (const BadText &bad) {
            const std::string text = bad.what();
            const std::size_t end = text.find("; ");
            toml.fault(place, text.substr(0, end), end == std::string::npos ? remedy : text.substr(end + 2));
            return false;
        }
    }

    const std::string path;
    const ReadText &readText;
    formats::TomlFile toml;
    Stations stations = {};
    std::uint64_t seed = 1;
    std::uint64_t formulaCount = 0;
};

} // namespace

ScenarioFile parseScenario(const std::string &path, const std::string &text, const ReadText &readText,
                           const std::optional<Stations> &stations, const std::optional<std::uint64_t> &seed)
{
    return ScenarioReader(path, text, readText).read(stations, seed);
}

ScenarioFile readScenario(const std::string &path, const std::optional<Stations> &stations,
                          const std::optional<std::uint64_t> &seed)
{
    return parseScenario(path, textOfFile(path), textOfFile, stations, seed);
}

} // namespace fgssim
