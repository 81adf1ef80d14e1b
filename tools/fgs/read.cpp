#include "commands.h"
#include "output.h"
#include "session.h"

#include <algorithm>

namespace fgs
{

namespace
{

bool allSettled(const Host &host, const std::vector<Variable> &variables)
{
    return std::all_of(variables.begin(), variables.end(),
                       [&host](const Variable &variable) { return host.isSettled(variable); });
}

void printRow(const Session &session, const Row &row)
{
    const Format format = session.options.format;
    if (session.options.json)
        printJson(rowJson(row, format, session.link->now()));
    else
        printLine(rowText(row, format));
}

} // namespace

ExitCode readCommand(const Options &options)
{
    const std::vector<Variable> variables = readableVariables(options);
    Session session(options, variables);
    session.host.poll(variables);
    while (!allSettled(session.host, variables) && !isInterrupted())
        session.step();
    for (const Variable &variable : variables)
        printRow(session, rowOf(session.host, variable));
    return isInterrupted() ? ExitInterrupted : exitCodeOf(session.host, variables);
}

} // namespace fgs
