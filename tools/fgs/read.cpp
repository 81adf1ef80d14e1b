#include "commands.h"
#include "session.h"
#include "watch/poll_loop.h"

namespace fgs
{

int readCommand(const Options &options, Stop &stop)
{
    const std::vector<Variable> variables = readableVariables(options);
    Session session(options, variables, stop);
    readAll(session.host, *session.link, variables);
    std::vector<Reading> readings;
    readings.reserve(variables.size());
    for (const Variable &variable : variables)
        readings.push_back(readingOf(session.host, *session.link, variable));
    for (const Reading &reading : readings)
        session.print(reading);
    return session.end(exitCodeOf(readings));
}

} // namespace fgs
