// Whole command lines of fgs and fgs-sim: options that are inside their limits, or an end with a text and an exit
// code.
#include "host/text_error.h"
#include "target.h"
#include "tools/failure.h"
#include "tools/fgs-sim/options.h"
#include "tools/fgs/options.h"

#include <cstring>
#include <numeric>

using fuzz::require;

namespace
{

using Arguments = std::vector<const char *>;

bool isBetween(double value, double low, double high)
{
    return value >= low && value <= high;
}

void checkFgs(const Arguments &arguments)
{
    try {
        const fgs::Options options = fgs::parseArguments(int(arguments.size()), arguments.data());
        require(!options.variables.empty() || !options.file.empty() || options.command == fgs::Options::Decode,
                "no variables");
        require(isBetween(options.station, 0, 255) && isBetween(options.host.retries, 0, 1000) &&
                    isBetween(options.seconds, 0, 1e9) && options.rounds >= 0 && options.interval.count() >= 0 &&
                    options.host.timing.timeout.count() > 0,
                "fgs takes an option outside its limits");
        for (const fgs::Tag &tag : fgs::readableTags(options))
            require(tag.variable.station >= 1 && tag.variable.station <= 255, "a station that cannot be read");
    } catch (const fgs::Finished &finished) {
        require(finished.code == 0 || finished.code == 2, "fgs ends with another exit code");
        require(!finished.text.empty(), "fgs ends without a text");
    } catch (const fgs::TextError &error) {
        require(error.what()[0] != '\0', "a variable is refused without a reason");
    }
}

void checkSim(const Arguments &arguments)
{
    try {
        const fgssim::Options options = fgssim::parseArguments(int(arguments.size()), arguments.data());
        const double rates = std::accumulate(options.faults.begin(), options.faults.end(), 0.0);
        require(!options.stations.empty() && isBetween(rates, 0, 100.001) && options.duration.count() >= 0 &&
                    options.duration <= std::chrono::seconds(1000000) && options.tick.count() > 0 &&
                    options.times.delay.count() >= 0 && options.times.lateBy.count() >= 0,
                "fgs-sim takes an option outside its limits");
    } catch (const fgssim::Finished &finished) {
        require(finished.code == 0 || finished.code == 2, "fgs-sim ends with another exit code");
        require(!finished.text.empty(), "fgs-sim ends without a text");
    }
}

} // namespace

// The first byte chooses the program; then an argument a line.
int LLVMFuzzerTestOneInput(const std::uint8_t *bytes, std::size_t size)
{
    fuzz::Input input(bytes, size);
    const bool isFgs = input.between(0, 1) == 0;
    std::string text = input.rest();
    Arguments arguments = {"program"};
    std::replace(text.begin(), text.end(), '\n', '\0');
    for (std::size_t at = 0; at < text.size(); at += std::strlen(text.data() + at) + 1)
        arguments.push_back(text.data() + at);
    isFgs ? checkFgs(arguments) : checkSim(arguments);
    return 0;
}
