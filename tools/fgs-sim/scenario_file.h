// Scenario files: README.md beside this file describes them.
#ifndef FGS_SIM_SCENARIO_FILE_H
#define FGS_SIM_SCENARIO_FILE_H

#include "scenario.h"

namespace fgssim
{

struct ScenarioFile {
    std::optional<std::uint64_t> seed;
    std::vector<unsigned> stations; ///< that its commands are for
    Scenario scenario;
};

/// The text of the file at this path. Throws BadText if it cannot be read.
using ReadText = std::function<std::string(const std::string &path)>;

/// What the file says. It may name further files, relative to its own folder, which are read. The given stations
/// and seed count more than those of the file; none in either: station 1, seed 1. Throws formats::TomlError, with
/// all that is wrong.
ScenarioFile parseScenario(const std::string &path, const std::string &text, const ReadText &readText,
                           const std::optional<std::vector<unsigned>> &stations = {},
                           const std::optional<std::uint64_t> &seed = {});
/// The same of a file on the disk. Throws BadText as well, if it cannot be read.
ScenarioFile readScenario(const std::string &path, const std::optional<std::vector<unsigned>> &stations,
                          const std::optional<std::uint64_t> &seed = {});

} // namespace fgssim

#endif
