#include "gateway/dry_run.h"

#include "commands.h"
#include "tools/console.h"
#include "tools/reading_codes.h"

namespace fgs
{

namespace
{

GatewaySettings settingsOf(const Options &options)
{
    return readGatewaySettings(QString::fromStdString(options.file));
}

void print(const std::vector<Message> &messages)
{
    for (const Message &message : messages)
        printLine(lineOf(message));
}

void printJson(const std::vector<Message> &messages)
{
    for (const Message &message : messages)
        printLine(lineOf(jsonOf(message)));
}

std::vector<Reading> readingsIn(const Host &host, const Link &link, const std::vector<Variable> &variables)
{
    std::vector<Reading> readings;
    readings.reserve(variables.size());
    for (const Variable &variable : variables)
        readings.push_back(readingOf(host, link, variable));
    return readings;
}

} // namespace

int planCommand(const Options &options)
{
    const GatewayPlan plan = planOf(linkedDriver(), settingsOf(options));
    const QStringList lines = options.json ? QStringList{lineOf(jsonOf(plan))} : linesOf(plan);
    for (const QString &line : lines)
        printLine(line);
    return ExitOk;
}

int testCommand(const Options &options, const Stop &stop, const Signals &signalled)
{
    const GatewaySettings settings = settingsOf(options);
    const std::vector<Variable> variables = settings.variables();
    const std::unique_ptr<Link> link = makeLink(settings.link);
    link->endBy(&stop);
    if (!link->open() && !signalled.stopping())
        throw Failure(ExitLink, QStringLiteral("cannot open link '%1': %2").arg(settings.link, link->error()));
    Host host(linkedDriver(), *link, variables, settings.host);
    const WallClock clock(*link);
    const std::unique_ptr<Layout> layout = makeLayout(settings);
    (options.json ? printJson : print)(readOnce(host, *link, clock, settings, *layout));
    return signalled.stopping() ? ExitSignal + signalled.stopping()
                                : int(exitCodeOf(readingsIn(host, *link, variables)));
}

} // namespace fgs
