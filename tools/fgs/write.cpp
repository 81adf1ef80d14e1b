#include "commands.h"
#include "host/text_error.h"
#include "output.h"
#include "session.h"

namespace fgs
{

namespace
{

const int MostValues = 1000; ///< in one assignment; the driver's queue holds a little more

std::vector<Assignment> parseAssignments(const Options &options)
{
    std::vector<Assignment> assignments;
    for (const std::string &text : options.variables) {
        assignments.push_back(parseAssignment(QString::fromStdString(text), options.station, options.format));
        if (assignments.back().variable.count > MostValues)
            throw TextError(QStringLiteral("variable '%1': more than %2 values; split it")
                                .arg(textOf(assignments.back().variable))
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
        variables.push_back(assignment.variable);
    refuseOverlaps(variables);
    return variables;
}

/// Until the controller has acknowledged all of it.
void writeOut(Session &session, const Assignment &assignment)
{
    session.host.write(assignment.variable, assignment.values);
    Step last;
    while (session.host.writesQueued() && !isInterrupted())
        last = session.step();
    if (session.host.writesLost())
        throw Failure(last.outcome == Outcome::NoReply ? ExitNoReply : ExitBadReply,
                      QStringLiteral("variable '%1' was not written: %2; those after it were not tried")
                          .arg(textOf(assignment.variable), QLatin1String(nameOf(last.outcome))));
}

/// Until a request that is newer than the write was answered or given up: the image shows a write at once.
Row readBack(Session &session, const Variable &variable, Time written)
{
    while (session.host.ageOf(variable).tried <= written && !isInterrupted())
        session.step();
    return rowOf(session.host, variable);
}

void printWritten(const Session &session, const Assignment &assignment, const Row &row)
{
    const Format format = session.options.format;
    const bool verified = row.values == assignment.values;
    if (session.options.json) {
        QJsonObject json = rowJson(row, format, session.link->now());
        json[QStringLiteral("verified")] = verified;
        printJson(json);
    } else {
        printLine(rowText(row, format));
    }
    if (row.age.isKnown() && !verified)
        printMessage(QStringLiteral("fgs: variable '%1': wrote %2, but the controller holds %3")
                         .arg(textOf(row.variable),
                              valuesText(areaOf(row.variable.area)->kind, format, assignment.values),
                              contentText(row, format)));
}

/// Shows what the controller holds. Returns whether it is what was written, or could not be read.
bool verify(Session &session, const Assignment &assignment, Time written)
{
    const Row row = readBack(session, assignment.variable, written);
    printWritten(session, assignment, row);
    return !row.age.isKnown() || row.values == assignment.values;
}

} // namespace

ExitCode writeCommand(const Options &options)
{
    const std::vector<Assignment> assignments = parseAssignments(options);
    const std::vector<Variable> variables = variablesOf(assignments);
    Session session(options, variables);
    for (const Assignment &assignment : assignments)
        writeOut(session, assignment);
    const Time written = session.link->now();
    session.host.poll(variables);
    bool same = true;
    std::vector<Variable> readable;
    for (const Assignment &assignment : assignments) {
        if (assignment.variable.station == 0) {
            session.note(QStringLiteral("variable '%1': sent to all stations, which do not answer; not verified")
                             .arg(textOf(assignment.variable)));
        } else {
            same = verify(session, assignment, written) && same;
            readable.push_back(assignment.variable);
        }
    }
    return isInterrupted() ? ExitInterrupted : same ? exitCodeOf(session.host, readable) : ExitVerify;
}

} // namespace fgs
