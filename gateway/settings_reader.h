// Reads the file of a gateway: a file of named variables that says more.
#ifndef FGS_GATEWAY_SETTINGS_READER_H
#define FGS_GATEWAY_SETTINGS_READER_H

#include "settings.h"
#include "value_rules.h"
#include "watch/tag_file_reader.h"

namespace fgs
{

/// Reads one file, once.
class SettingsReader : public TagFileReader
{
public:
    SettingsReader(const QString &theFile, const QByteArray &text);

    /// Throws formats::TomlError with all faults.
    GatewaySettings readSettings();

private:
    using Table = formats::TomlTable;
    using Text = formats::TomlValue<std::string>;

    void takeRoot(Table &root) override;
    void takeGroup(Table &group) override;
    void takeTag(Table &table, Tag *tag) override;

    QString fileName() const;
    std::string name(Table &root);
    void takeLine(Table &root);
    void takeBroker(Table &root);
    std::vector<BrokerAddress> brokerAddresses(Table &table, int port);
    std::string clientId(Table &table);
    void takePassword(Table &table);
    std::string credentialFile(const Text &credential);
    std::optional<TlsSettings> tls(Table &broker);
    void takeLayout(Table &root);
    void takePlainLayout(Table &table);
    void takeSparkplugLayout(Table &table);
    std::string topicLevel(const std::optional<Text> &text);
    void refuseKey(const Table &table, const char *key, const char *kind);
    void takeSpool(Table &root);
    std::string spoolFile(Table &table);
    void takeCommands(Table &root);
    void takeHttp(Table &root);
    static std::optional<Table> section(Table &root, const std::string &key);
    void tellFaults(const std::vector<formats::TomlFault> &faults);

    const QString file;
    GatewaySettings settings;
    ReportRule groupRule;                         ///< of the group that is read
    std::vector<ReportRule> reports;              ///< of the tags so far
    std::vector<std::optional<WriteRule>> writes; ///< the same
};

} // namespace fgs

#endif
