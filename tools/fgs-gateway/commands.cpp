#include "commands.h"

#include "gateway/settings.h"
#include "tools/console.h"
#include "tools/failure.h"

namespace fgs
{

int checkCommand(const Options &options)
{
    const GatewaySettings settings = readGatewaySettings(QString::fromStdString(options.file));
    printLine(QStringLiteral("%1: no faults; gateway '%2', tags: %3, groups: %4")
                  .arg(QString::fromStdString(options.file), QString::fromStdString(settings.name))
                  .arg(settings.tags.size())
                  .arg(settings.groups.size()));
    return ExitOk;
}

int initCommand(const Options &options)
{
    printLine(initialSettings(QString::fromStdString(options.link)).trimmed());
    return ExitOk;
}

} // namespace fgs
