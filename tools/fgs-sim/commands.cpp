#include "commands.h"

#include "sim/describe.h"

#include <cctype>
#include <sstream>
#include <tuple>

namespace fgssim
{

namespace
{

using Stations = std::vector<unsigned>;
using Words = std::vector<std::string>;
using Action = std::function<std::string(Simulation &, Time)>;

const std::size_t MostValues = 10000; // that are told at once

// ---- texts

Words wordsOf(const std::string &text)
{
    std::istringstream stream(text);
    Words words;
    for (std::string word; stream >> word;)
        words.push_back(word);
    return words;
}

std::string joined(const Words &words, const std::string &separator)
{
    std::string text;
    for (const std::string &word : words)
        text += (text.empty() ? "" : separator) + word;
    return text;
}

std::string secondsText(Time time)
{
    const auto milliseconds = std::chrono::ceil<std::chrono::milliseconds>(time).count();
    return milliseconds % 1000 == 0 ? std::to_string(milliseconds / 1000) + "s"
                                    : std::to_string(milliseconds) + "ms";
}

template <typename Values>
std::string listOf(const Values &values)
{
    std::string text;
    for (const std::uint32_t value : values)
        text += (text.empty() ? "" : ",") + std::to_string(value);
    return text;
}

void requireNothing(const Words &words)
{
    if (!words.empty())
        throw BadText("'" + joined(words, " ") + "' is too much; the command takes nothing");
}

void requireStation(std::optional<unsigned> station, const Stations &stations)
{
    if (station && std::find(stations.begin(), stations.end(), *station) == stations.end())
        throw BadText("station " + std::to_string(*station) + " is not simulated; --stations has " +
                      stationsText(stations));
}

Stations stationsOf(const Place &place, const Stations &all)
{
    return place.station ? Stations{*place.station} : all;
}

// ---- values

void store(Memory &memory, unsigned station, const Place &place, const std::vector<std::uint32_t> &values)
{
    for (unsigned i = 0; i < place.count; ++i)
        memory.store(station, *place.area, place.first + i, values[i % values.size()]);
}

Action setCommand(const Words &words, const Stations &all)
{
    const Setting setting = parseSetting(joined(words, ""));
    requireStation(setting.place.station, all);
    return [setting, at = stationsOf(setting.place, all)](Simulation &simulation, Time) {
        Memory &memory = simulation.controller.memory;
        if (const auto *const course = std::get_if<Course>(&setting.content)) {
            for (unsigned station : at)
                memory.set(station, {setting.place, *course});
            return describe(Range{setting.place, *course});
        }
        const auto &values = std::get<std::vector<std::uint32_t>>(setting.content);
        for (unsigned station : at)
            store(memory, station, setting.place, values);
        return describe(setting.place) + ": " + listOf(values);
    };
}

std::string valuesText(const Memory &memory, Place place, unsigned station)
{
    std::vector<std::uint32_t> values;
    for (unsigned i = 0; i < place.count; ++i)
        values.push_back(memory.value(station, *place.area, place.first + i));
    place.station = station;
    return notation(place) + "=" + listOf(values);
}

Action getCommand(const Words &words, const Stations &all)
{
    const Place place = parsePlace(joined(words, ""), all);
    const Stations at = stationsOf(place, all);
    if (at.size() * place.count > MostValues)
        throw BadText("more than " + std::to_string(MostValues) + " values; ask for fewer, or for one station");
    return [place, at](const Simulation &simulation, Time) {
        Words lines;
        for (unsigned station : at)
            lines.push_back(valuesText(simulation.controller.memory, place, station));
        return joined(lines, "\n");
    };
}

// ---- stations and addresses

Action stationCommand(const Words &words, const Stations &all)
{
    if (words.size() != 2 || (words[1] != "on" && words[1] != "off"))
        throw BadText(
            "which station is to be on or off? Write for instance 'station 3 off', or 'station 1,5-9 on'");
    const Stations meant = parseStations(words[0]);
    for (unsigned station : meant)
        requireStation(station, all);
    return [meant, state = words[1]](Simulation &simulation, Time) {
        for (unsigned station : meant)
            simulation.controller.conditions.off.set(station, state == "off");
        return (meant.size() == 1 ? "station " : "stations ") + stationsText(meant) +
               (meant.size() == 1 ? " is " : " are ") + state;
    };
}

/// What a command does to one of the sets of addresses.
struct SetChange {
    AddressSet Conditions::*set;
    void (AddressSet::*change)(unsigned station, const Place &place);
    const char *answer;
};

Action changeSet(const SetChange &change, const Words &words, const Stations &all)
{
    const Place place = parsePlace(joined(words, ""), all);
    return [change, place, at = stationsOf(place, all)](Simulation &simulation, Time) {
        for (unsigned station : at)
            ((simulation.controller.conditions.*change.set).*change.change)(station, place);
        return change.answer + describe(place);
    };
}

Action missingCommand(const Words &words, const Stations &all)
{
    return changeSet({&Conditions::missing, &AddressSet::insert, "missing: "}, words, all);
}

Action presentCommand(const Words &words, const Stations &all)
{
    return changeSet({&Conditions::missing, &AddressSet::erase, "present: "}, words, all);
}

void requireRefusals(const Simulation &simulation)
{
    if (&simulation.controller.framing() != &ControllerFraming)
        throw BadText("remote frames have no refusal; 'missing' makes addresses silent, 'fault' damages replies");
}

Action refuseCommand(const Words &words, const Stations &all)
{
    const Action change = changeSet({&Conditions::refusing, &AddressSet::insert, "refuses writes: "}, words, all);
    return [change](Simulation &simulation, Time now) {
        requireRefusals(simulation);
        return change(simulation, now);
    };
}

Action acceptCommand(const Words &words, const Stations &all)
{
    return changeSet({&Conditions::refusing, &AddressSet::erase, "accepts writes: "}, words, all);
}

// ---- the line

Action unplugCommand(const Words &words, const Stations &)
{
    if (words.empty()) {
        return [](Simulation &simulation, Time) {
            simulation.unpluggedUntil = Time::max();
            return std::string("unplugged; 'plug' ends it");
        };
    }
    const Time time = parseDuration(joined(words, ""));
    return [time](Simulation &simulation, Time now) {
        simulation.unpluggedUntil = now + time;
        return "unplugged for " + secondsText(time);
    };
}

Action plugCommand(const Words &words, const Stations &)
{
    requireNothing(words);
    return [](Simulation &simulation, Time) {
        simulation.unpluggedUntil = Time::min();
        return std::string("plugged in");
    };
}

/// Names of the table that have the text in them; all for an empty one.
Words faultNames(const std::string &text)
{
    Words names;
    for (const LineFault &fault : lineFaults()) {
        if (fault.name.find(text) != std::string::npos)
            names.push_back(fault.name);
    }
    return names;
}

const LineFault *takeFault(const std::string &name)
{
    const LineFault *const fault = lineFault(name);
    if (fault)
        return fault;
    const Words like = name.empty() ? Words() : faultNames(name);
    throw BadText(name.empty() ? "which fault? 'help faults' lists them"
                               : "there is no fault '" + name + "'; " +
                                     (like.empty() ? "" : "there is '" + joined(like, "', '") + "'; ") +
                                     "'help faults' lists them");
}

/// What stands behind the name of a fault, in any order, is taken off the words.
StrikeOrder takeOrder(Words words)
{
    StrikeOrder order{nullptr, 1, {}};
    for (; !words.empty(); words.pop_back()) {
        const std::string &last = words.back();
        if (last.front() == '@')
            order.station = parseStation(last.substr(1));
        else if (last.front() == 'x')
            order.count = parseRepetitions(last);
        else
            break;
    }
    order.fault = takeFault(joined(words, " "));
    return order;
}

std::string ordersText(const StrikeOrder &order)
{
    return order.fault->name + " x" + std::to_string(order.count) +
           (order.station ? " @" + std::to_string(*order.station) : "");
}

Action faultCommand(const Words &words, const Stations &all)
{
    const StrikeOrder order = takeOrder(words);
    requireStation(order.station, all);
    const std::string whose = order.station ? " of station " + std::to_string(*order.station) : "";
    if (order.fault == lineFaults().data()) {
        return [order, whose](Simulation &simulation, Time) {
            simulation.strikes.cancel(order.station);
            return "the chosen faults" + whose + " are cancelled";
        };
    }
    return [order, whose](Simulation &simulation, Time) {
        if (!simulation.controller.canSuffer(*order.fault))
            throw BadText("no reply of such frames can have the fault '" + order.fault->name +
                          "'; choose one that damages other bytes");
        simulation.strikes.order(order);
        return order.fault->name + ": the next " +
               (order.count == 1 ? "request" : std::to_string(order.count) + " requests") + whose +
               " that it can happen to";
    };
}

// ---- telling

/// The rows of all stations that all of them have, without a station; then the others.
std::vector<Place> joinedPlaces(const std::vector<Place> &places, std::size_t stations)
{
    using Row = std::tuple<int, unsigned, unsigned>;
    const auto numbersOf = [](const Place &place) { return Row(place.area->number, place.first, place.count); };
    std::map<Row, std::vector<Place>> rows;
    for (const Place &place : places)
        rows[numbersOf(place)].push_back(place);
    std::vector<Place> all;
    for (auto &[row, same] : rows) {
        if (same.size() == stations)
            all.push_back({same[0].area, same[0].first, same[0].count, {}});
        else
            all.insert(all.end(), same.begin(), same.end());
    }
    return all;
}

void appendPlaces(Words &lines, const char *command, const AddressSet &set, std::size_t stations)
{
    for (const Place &place : joinedPlaces(set.places(), stations))
        lines.push_back(command + notation(place));
}

/// What is not as it was at the start, as the commands that would make it so; and the counters.
std::string statusText(const Simulation &simulation, const Stations &all, Time now)
{
    const Conditions &conditions = simulation.controller.conditions;
    Words lines = {"stations " + stationsText(all)};
    Stations off;
    std::copy_if(all.begin(), all.end(), std::back_inserter(off),
                 [&](unsigned each) { return conditions.off[each]; });
    if (!off.empty())
        lines.push_back("station " + stationsText(off) + " off");
    if (simulation.isUnplugged(now))
        lines.push_back(simulation.unpluggedUntil == Time::max()
                            ? "unplug"
                            : "unplug " + secondsText(simulation.unpluggedUntil - now));
    appendPlaces(lines, "missing ", conditions.missing, all.size());
    appendPlaces(lines, "refuse ", conditions.refusing, all.size());
    for (const StrikeOrder &order : simulation.strikes.orders())
        lines.push_back("fault " + ordersText(order));
    lines.push_back(summary(simulation.counters));
    return joined(lines, "\n");
}

Action statusCommand(const Words &words, const Stations &all)
{
    requireNothing(words);
    return [all](const Simulation &simulation, Time now) { return statusText(simulation, all, now); };
}

Action helpCommand(const Words &words, const Stations &)
{
    if (!words.empty() && words != Words{"faults"})
        throw BadText("there is 'help' and 'help faults'");
    std::string text = words.empty() ? commandHelp() : joined(faultNames(""), "\n");
    return [text](Simulation &, Time) { return text; };
}

struct Row {
    const char *name, *arguments, *meaning;
    bool changes;
    Action (*parse)(const Words &words, const Stations &stations);
};

const Row Rows[] = {
    {"set", "PLACE=VALUE[,VALUE...]", "what addresses hold: values, repeated until the place is full,", true,
     setCommand},
    {"", "", "or ramp:A..B[/STEP] or walk:A..B[/STEP]", false, nullptr},
    {"get", "PLACE", "what addresses hold", false, getCommand},
    {"station", "LIST off|on", "a station that is off is silent and keeps its values", true, stationCommand},
    {"unplug", "[TIME]", "nothing passes the line, for 10s, 500ms or until 'plug'", true, unplugCommand},
    {"plug", "", "ends 'unplug'", true, plugCommand},
    {"missing", "PLACE", "requests that touch it get silence", true, missingCommand},
    {"present", "PLACE", "ends 'missing'", true, presentCommand},
    {"refuse", "PLACE", "writes that touch it are refused", true, refuseCommand},
    {"accept", "PLACE", "ends 'refuse'", true, acceptCommand},
    {"fault", "KIND [xN] [@STATION]", "the next N requests that it can happen to get this fault; 'none' ends all",
     true, faultCommand},
    {"status", "", "what is so, as commands; and the counters", false, statusCommand},
    {"help", "[faults]", "these lines, or the kinds of faults", false, helpCommand},
};

const Row &rowOf(const std::string &name)
{
    for (const Row &row : Rows) {
        if (row.parse && row.name == name)
            return row;
    }
    throw BadText(name.empty() ? "there is no command; 'help' lists them"
                               : "there is no command '" + name + "'; 'help' lists them");
}

void requirePrintable(const std::string &text)
{
    const auto isControl = [](unsigned char letter) { return std::iscntrl(letter) && !std::isspace(letter); };
    if (std::any_of(text.begin(), text.end(), isControl))
        throw BadText("there are control characters in the command; write it as text in one line");
}

} // namespace

Command parseCommand(const std::string &text, const Stations &stations)
{
    requirePrintable(text);
    Words words = wordsOf(text);
    const std::string whole = joined(words, " ");
    const Row &row = rowOf(words.empty() ? "" : words.front());
    words.erase(words.begin());
    return {whole, row.changes, row.parse(words, stations)};
}

Place parsePlace(const std::string &text, const Stations &stations)
{
    const Place place = parsePlace(joined(wordsOf(text), ""));
    requireStation(place.station, stations);
    return place;
}

std::string commandHelp()
{
    const std::size_t column = 30;
    std::string text;
    for (const Row &row : Rows) {
        std::string line = std::string("  ") + row.name + " " + row.arguments;
        line.resize(std::max(column, line.size() + 2), ' ');
        text += line + row.meaning + "\n";
    }
    return text + "PLACE is AREA:ADDRESS[xCOUNT][@STATION], as for --set.";
}

} // namespace fgssim
