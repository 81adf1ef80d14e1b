#include "settings.h"

#include "host/text_error.h"
#include "settings_reader.h"

namespace fgs
{

std::vector<Variable> GatewaySettings::variables() const
{
    std::vector<Variable> variables;
    variables.reserve(tags.size());
    for (const GatewayTag &tag : tags)
        variables.push_back(tag.tag.variable);
    return variables;
}

GatewaySettings parseGatewaySettings(const QString &file, const QByteArray &text)
{
    try {
        return SettingsReader(file, text).readSettings();
    } catch (const formats::TomlError &error) {
        throw TextError(QString::fromUtf8(error.what()));
    }
}

GatewaySettings readGatewaySettings(const QString &file)
{
    return parseGatewaySettings(file, textOfFile(file, QStringLiteral("a gateway's settings")));
}

} // namespace fgs
