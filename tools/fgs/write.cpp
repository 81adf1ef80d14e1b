#include "commands.h"
#include "host/text_error.h"
#include "progress.h"
#include "session.h"

namespace fgs
{

namespace
{

const int MostValues = 1000; ///< in one assignment; the driver's queue holds a little more
const Time LinkReturn = 5s;  ///< that a lost link is waited for, to read back what was sent

std::vector<Assignment> parseAssignments(const Options &options)
{
    const TagReader meant = [&options](const QString &text) {
        return tagMeant(options.named, text, options.station);
    };
    std::vector<Assignment> assignments;
    for (const std::string &text : options.variables) {
        assignments.push_back(parseAssignment(QString::fromStdString(text), meant, options.format));
        if (assignments.back().tag.variable.count > MostValues)
            throw TextError(QStringLiteral("assignment to %1: more than %2 values; split it")
                                .arg(textOf(assignments.back().tag.variable))
                                .arg(MostValues));
    }
    return assignments;
}

bool overlap(const Variable &a, const Variable &b)
{
    return a.station == b.station && a.area == b.area && a.address < b.address + b.count &&
           b.address < a.address + a.count;
}

void refuseOverlaps(const std::vector<Variable> &variables)
{
    for (std::size_t i = 0; i < variables.size(); ++i)
        for (std::size_t j = 0; j < i; ++j)
            if (overlap(variables[i], variables[j]))
                throw TextError(QStringLiteral("variables '%1' and '%2' overlap; write them one after the other")
                                    .arg(textOf(variables[j]), textOf(variables[i])));
}

std::vector<Variable> variablesOf(const std::vector<Assignment> &assignments)
{
    std::vector<Variable> variables;
    variables.reserve(assignments.size());
    for (const Assignment &assignment : assignments)
        variables.push_back(assignment.tag.variable);
    refuseOverlaps(variables);
    return variables;
}

/// The worst of the results; of several that are equally bad the first.
int exitCodeOf(const std::vector<WriteReport> &reports)
{
    std::vector<Reading> unread;
    int code = ExitOk;
    for (const WriteReport &report : reports) {
        if (report.result == WriteResult::Refused)
            return ExitRefused;
        if (report.result == WriteResult::NotAcknowledged)
            return report.reason.outcome == Outcome::NoReply ? ExitNoReply : ExitBadReply;
        if (report.result == WriteResult::Unknown && report.assignment.tag.variable.station != 0)
            return ExitLink;
        if (report.result == WriteResult::Different)
            code = ExitVerify;
        if (report.result == WriteResult::Written)
            unread.push_back(report.held);
    }
    return code != ExitOk || unread.empty() ? code
           : unread.size() < reports.size() ? ExitPartial
                                            : exitCodeOf(unread);
}

std::vector<WriteReport> writeAllVisibly(Session &session, const std::vector<Assignment> &assignments)
{
    Progress progress([&session] { return session.link->now(); }, session.showsProgress());
    return writeAll(session.host, *session.link, assignments, LinkReturn, progress.hook());
}

} // namespace

int writeCommand(const Options &options, Stop &stop)
{
    const std::vector<Assignment> assignments = parseAssignments(options);
    Session session(options, variablesOf(assignments), stop);
    const std::vector<WriteReport> reports = writeAllVisibly(session, assignments);
    for (const WriteReport &report : reports)
        session.print(report);
    return session.end(exitCodeOf(reports));
}

} // namespace fgs
