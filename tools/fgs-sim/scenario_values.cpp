#include "scenario_values.h"

#include <cctype>
#include <sstream>

namespace fgssim
{

namespace
{

const std::size_t MostFaults = 10; // that are told of one file

std::string trimmed(const std::string &text)
{
    const char *const blanks = " \t\r";
    const std::size_t first = text.find_first_not_of(blanks);
    return first == std::string::npos ? "" : text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

bool isPrintable(const std::string &text)
{
    return std::none_of(text.begin(), text.end(), [](unsigned char each) { return std::iscntrl(each); });
}

std::vector<std::string> cellsOf(const std::string &row)
{
    std::vector<std::string> cells;
    std::size_t from = 0;
    for (std::size_t comma; (comma = row.find(',', from)) != std::string::npos; from = comma + 1)
        cells.push_back(trimmed(row.substr(from, comma - from)));
    cells.push_back(trimmed(row.substr(from)));
    return cells;
}

const char *const Remedy = "write one, like 42, -5 or 0x2A";

/// A number as 'set' takes it, but no course.
std::uint32_t valueFor(const Place &place, const std::string &cell)
{
    if (cell.find_first_not_of("0123456789abcdefABCDEFx-") != std::string::npos)
        throw BadText((isPrintable(cell) ? "'" + cell + "'" : "what stands there") + " is no whole number");
    return std::get<std::vector<std::uint32_t>>(parseSetting(notation(place) + "=" + cell).content).front();
}

/// Reads one file.
class RowReader
{
public:
    RowReader(const std::vector<Place> &columns, std::vector<ValueFault> &complaints)
        : places(columns), faults(complaints)
    {
    }

    std::vector<std::uint32_t> read(const std::string &text)
    {
        const std::string mark = "\xEF\xBB\xBF"; // spreadsheets begin with it
        std::istringstream lines(text.rfind(mark, 0) == 0 ? text.substr(mark.size()) : text);
        for (std::string line; std::getline(lines, line);) {
            ++number;
            if (const std::string row = trimmed(line); counts(row))
                takeRow(cellsOf(row));
        }
        if (faultCount > MostFaults)
            faults.push_back({std::to_string(faultCount - MostFaults) + " more errors like these in this file",
                              "mend the first ones"});
        if (values.empty() && faultCount == 0)
            faults.push_back({"there is no row of values", "write one a line, with commas between the values"});
        return std::move(values);
    }

private:
    bool counts(const std::string &row) const
    {
        const bool isHeading = number == 1 && !row.empty() && std::isalpha(static_cast<unsigned char>(row[0]));
        return !row.empty() && row[0] != '#' && !isHeading;
    }

    void takeRow(const std::vector<std::string> &cells)
    {
        if (cells.size() != places.size())
            return complain("row " + std::to_string(number) + " has " + counted(cells.size(), "value"),
                            "there must be " + std::to_string(places.size()) +
                                ", one for each place, with commas between them");
        for (std::size_t column = 0; column < cells.size(); ++column)
            takeCell(column, cells[column]);
    }

    void takeCell(std::size_t column, const std::string &cell)
    {
        try {
            values.push_back(valueFor(places[column], cell));
        } catch (const BadText &bad) {
            complain("row " + std::to_string(number) + ", column " + std::to_string(column + 1) + ": " + bad.what(),
                     Remedy);
        }
    }

    void complain(const std::string &what, const std::string &remedy)
    {
        if (++faultCount <= MostFaults)
            faults.push_back({what, remedy});
    }

    static std::string counted(std::size_t count, const std::string &noun)
    {
        return std::to_string(count) + " " + noun + (count == 1 ? "" : "s");
    }

    const std::vector<Place> &places;
    std::vector<ValueFault> &faults;
    std::vector<std::uint32_t> values = {};
    std::size_t number = 0; // of the row
    std::size_t faultCount = 0;
};

} // namespace

ValueRows::ValueRows(const std::string &text, std::vector<Place> columns, std::vector<ValueFault> &faults)
    : places(std::move(columns)), cells(RowReader(places, faults).read(text))
{
}

Command ValueRows::command(std::size_t row, const std::vector<unsigned> &stations) const
{
    std::vector<Command> sets;
    std::string text;
    for (std::size_t column = 0; column < places.size(); ++column) {
        const std::string setting =
            notation(places[column]) + "=" + std::to_string(cells[row * places.size() + column]);
        sets.push_back(parseCommand("set " + setting, stations));
        text += (column == 0 ? "" : " ") + setting;
    }
    return {text, true, [sets](Simulation &simulation, Time now) {
                for (const Command &set : sets)
                    set.carryOut(simulation, now);
                return std::string("done");
            }};
}

} // namespace fgssim
