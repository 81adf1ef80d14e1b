// What somebody tells the controller while it runs, in words. README.md beside this file lists the commands.
#ifndef FGS_SIM_COMMANDS_H
#define FGS_SIM_COMMANDS_H

#include "setting_texts.h"
#include "sim/conversation.h"

namespace fgssim
{

struct Command {
    std::string text; ///< as it was given, without spaces around it
    bool changes;     ///< something; others only tell
    /// Answers in lines; the last one has no end. The stations must be those it was parsed for. Throws BadText
    /// if there is no such thing on lines of this kind.
    std::function<std::string(Simulation &, Time now)> carryOut;
};

/// Whatever can be wrong with the command is found here. Throws BadText.
Command parseCommand(const std::string &text, const std::vector<unsigned> &stations);

/// A place of the stations that are simulated. Spaces in it do not count. Throws BadText.
Place parsePlace(const std::string &text, const std::vector<unsigned> &stations);

/// A line for each command.
std::string commandHelp();

} // namespace fgssim

#endif
