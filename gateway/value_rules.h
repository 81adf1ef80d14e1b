// What a gateway's file says of a group or a tag beside its variable: when it is sent, and what may be written.
#ifndef FGS_GATEWAY_VALUE_RULES_H
#define FGS_GATEWAY_VALUE_RULES_H

#include "formats/toml_file.h"
#include "settings.h"

namespace fgs
{

/// The keys of the table in place of what is inherited. Null: the variable is faulty, or it is a group.
ReportRule readReportRule(formats::TomlTable &table, const ReportRule &inherited, const Tag *tag,
                          std::vector<formats::TomlFault> &faults);

/// None if nobody may write. Null: the variable is faulty.
std::optional<WriteRule> readWriteRule(formats::TomlTable &table, const Tag *tag,
                                       std::vector<formats::TomlFault> &faults);

} // namespace fgs

#endif
