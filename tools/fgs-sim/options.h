// The command line of fgs-sim.
#ifndef FGS_SIM_OPTIONS_H
#define FGS_SIM_OPTIONS_H

#include "commands.h"
#include "formats/trace_settings.h"
#include "scenario.h"

#include <variant>

namespace fgssim
{

enum ExitCode { ExitOther = 1, ExitUsage = 2, ExitLink = 3 };

const int MaxConnections = 8; ///< at a time, on a TCP port

struct PtyAddress {
    std::string link; ///< path of a symbolic link to make; empty: none
};

struct Options {
    std::variant<PtyAddress, SerialAddress, TcpAddress> link;
    bool remote = false; ///< answers remote frames instead of the controller protocol
    std::vector<unsigned> stations = {1};
    std::vector<Range> ranges;
    Values values = Values::Moving;
    Time tick = std::chrono::milliseconds(200);
    std::uint64_t seed = 1;
    FaultRates faults{};
    LineTimes times;
    Time duration{0}; ///< ends by itself after it; 0: does not
    Log::Level log = Log::Level::Normal;
    formats::TraceSettings trace;
    std::string replay;                 ///< a trace to answer from; empty: none
    bool replayInTime = true;           ///< with the times of the trace
    std::vector<Command> commands;      ///< to be carried out at the start
    std::string scenarioFile;           ///< where the scenario is from
    std::optional<Scenario> scenario;   ///< its seed and stations are above, unless the user named others
    std::optional<std::string> control; ///< path of the socket for further ones; none: there is none
};

/// The program has nothing to do but to print `text` (on stdout if `code` is 0) and to end.
struct Finished {
    int code;
    std::string text;
};

/// Throws Finished for help, version and every error.
Options parseArguments(int argc, const char *const *argv);

/// `fgs-sim ctl [--socket PATH] COMMAND...`
struct CtlOptions {
    std::string socket;
    std::string command;
};

/// The arguments behind "ctl", which is argv[0]. Throws Finished likewise.
CtlOptions parseCtlArguments(int argc, const char *const *argv);

/// Of the user: in $XDG_RUNTIME_DIR, or else in /tmp.
std::string defaultSocket();

} // namespace fgssim

#endif
