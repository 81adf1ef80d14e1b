// The command line of fgs.
#ifndef FGS_TOOL_OPTIONS_H
#define FGS_TOOL_OPTIONS_H

#include "formats/trace_settings.h"
#include "host/host.h"
#include "table_view.h"
#include "watch/tag.h"

#include <string>

namespace fgs
{

struct Options {
    enum Command { Read, Write, Poll };
    Command command = Read;
    std::string link;
    std::vector<std::string> variables; ///< of write with their values
    int station = 1;                    ///< of variables without @STATION
    HostOptions host;
    Format format = Format::Unsigned;
    bool json = false;
    bool csv = false;
    bool frames = false; ///< every one on stderr
    formats::TraceSettings trace;
    bool quiet = false;
    double seconds = 0;      ///< poll: ends after them; 0: does not
    int rounds = 0;          ///< poll: ends after them; 0: does not
    bool stats = false;      ///< poll: how many round trips took how long
    bool once = false;       ///< poll: one round, whose end alone is shown
    TableView view;          ///< poll: of the live table, to begin with
    Time interval = Time(0); ///< poll: from the start of one round to that of the next
};

/// The program has nothing to do but to print `text` (on stdout if `code` is 0) and to end.
struct Finished {
    int code;
    std::string text;
};

/// Throws Finished for help, version and every error in the options. Link, variables and values are still texts.
Options parseArguments(int argc, const char *const *argv);

/// Throws TextError.
std::vector<Tag> readableTags(const Options &options);

} // namespace fgs

#endif
