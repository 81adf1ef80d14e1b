// The command line of fgs.
#ifndef FGS_TOOL_OPTIONS_H
#define FGS_TOOL_OPTIONS_H

#include "formats/trace_settings.h"
#include "host/host.h"
#include "table_view.h"
#include "watch/tag_file.h"

#include <string>

namespace fgs
{

/// Of the commands that look for stations. Lists are still texts, empty for all that is usual.
struct SearchOptions {
    std::string probe = "5:0";
    std::string stations;
    std::string speeds;
    std::string formats;
    Time patience = 200ms; ///< with an answer, beside the time that the bytes take
    Time listen = 3s;
    bool dryRun = false;
};

struct Options {
    enum Command { Read, Write, Poll, Plan, Scan, Doctor, Decode };
    Command command = Read;
    std::string file;                   ///< of named variables; empty: none is given
    std::string otherLink;              ///< in place of the file's
    std::string link;                   ///< empty: the file has it
    std::vector<std::string> variables; ///< names too if there is a file; of write with their values
    std::vector<std::string> inputs;    ///< of decode: hexadecimal digits, files, "-"
    int station = 1;                    ///< of variables without @STATION
    TagFile named;                      ///< what the file holds, once takeFile() has read it
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
    Time answer = Time(0);   ///< plan: of the controller, from a request to its reply
    Time interval = Time(0); ///< poll: from the start of one round to that of the next
    SearchOptions scan;
    SearchOptions doctor = {"5:0", "1", "", "", 1s, 1s, false};
    bool list = false; ///< doctor: tells the checks only
};

/// Throws Finished for help, version and every error in the options. Link, variables and values are still texts.
Options parseArguments(int argc, const char *const *argv);

/// Reads the file, if one is given, and takes the link from it unless there is another. Throws TextError.
void takeFile(Options &options);

/// What the texts mean; without any all that the file holds. Throws TextError.
std::vector<Tag> readableTags(const Options &options);

} // namespace fgs

#endif
