// Values for a scenario from a CSV: a row a time, a column a place.
#ifndef FGS_SIM_SCENARIO_VALUES_H
#define FGS_SIM_SCENARIO_VALUES_H

#include "commands.h"

namespace fgssim
{

struct ValueFault {
    std::string what, remedy;
};

/// The rows of a file: numbers with commas between them, as 'set' takes them. A first row that begins with a letter
/// is a heading; empty rows and those that begin with # do not count.
class ValueRows
{
public:
    /// The places are of the simulated stations; at least one. What is wrong is told in `faults`, of many the
    /// first.
    ValueRows(const std::string &text, std::vector<Place> columns, std::vector<ValueFault> &faults);

    std::size_t size() const { return cells.size() / places.size(); }
    /// Sets the places to the values of the row, which there is.
    Command command(std::size_t row, const std::vector<unsigned> &stations) const;

private:
    std::vector<Place> places;
    std::vector<std::uint32_t> cells; // row by row
};

} // namespace fgssim

#endif
