// What a shell needs to complete the command line of fgs.
#ifndef FGS_TOOL_COMPLETION_H
#define FGS_TOOL_COMPLETION_H

#include <string>
#include <vector>

namespace fgs
{

struct CompletedOption {
    std::string name; ///< "--format"
    std::string help;
    std::string value;                ///< "NAME"; empty: it takes none
    std::vector<std::string> choices; ///< all that the value may be; empty: anything
};

struct CompletedCommand {
    std::string name;
    std::string help;
    std::vector<CompletedOption> options;
};

/// The scripts of both shells. The first command has no name: its options stand in front of all others.
std::string bashCompletion(const std::vector<CompletedCommand> &commands);
std::string zshCompletion(const std::vector<CompletedCommand> &commands);

} // namespace fgs

#endif
