#include "commands.h"
#include "progress.h"
#include "session.h"
#include "watch/csv.h"
#include "watch/poll_loop.h"

namespace fgs
{

namespace
{

void print(const Session &session, const Tag &tag, const Reading &reading)
{
    if (session.options.csv)
        printCsv(csvRows(tag, reading, session.options.format, session.clock, session.link->now()));
    else
        session.print(tag, reading);
}

void readAllVisibly(Session &session, const std::vector<Variable> &variables)
{
    Progress progress([&session] { return session.link->now(); }, session.showsProgress());
    readAll(session.host, *session.link, variables, progress.hook());
}

} // namespace

int readCommand(const Options &options, Stop &stop)
{
    const std::vector<Tag> tags = readableTags(options);
    const std::vector<Variable> variables = variablesOf(tags);
    Session session(options, variables, stop);
    readAllVisibly(session, variables);
    std::vector<Reading> readings;
    readings.reserve(variables.size());
    for (const Variable &variable : variables)
        readings.push_back(readingOf(session.host, *session.link, variable));
    if (options.csv)
        printCsv({csvHeader()});
    for (std::size_t i = 0; i < tags.size(); ++i)
        print(session, tags[i], readings[i]);
    return session.end(exitCodeOf(readings));
}

} // namespace fgs
