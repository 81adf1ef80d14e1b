// Reads files of named variables, and those that say more.
#ifndef FGS_WATCH_TAG_FILE_READER_H
#define FGS_WATCH_TAG_FILE_READER_H

#include "formats/toml_file.h"
#include "host/text_error.h"
#include "tag_file.h"

#include <map>

namespace fgs
{

/// Reads one file, once; what is wrong with it is collected. Who derives from it asks the tables for the keys that
/// a larger file has, in take...(), and tells what is wrong by fault(). What nobody asks for is a fault.
class TagFileReader
{
public:
    /// Throws formats::TomlError if the text is no TOML. Variables are of this station unless the file says
    /// otherwise.
    TagFileReader(const QString &name, const QByteArray &text, int station);
    virtual ~TagFileReader() = default;
    TagFileReader(const TagFileReader &) = delete;
    TagFileReader &operator=(const TagFileReader &) = delete;

    /// Throws formats::TomlError with all faults.
    TagFile read();

protected:
    /// Before the groups.
    virtual void takeRoot(formats::TomlTable &) {}
    /// Before the tags of the group.
    virtual void takeGroup(formats::TomlTable &) {}
    /// The rest of the table has been read. Null: the variable is faulty.
    virtual void takeTag(formats::TomlTable &, Tag *) {}

    void fault(formats::TomlPlace place, const std::string &what, const std::string &remedy);
    /// The text of the error is "what; remedy", or has no remedy.
    void fault(formats::TomlPlace place, const TextError &error, const std::string &otherRemedy);

private:
    using Text = formats::TomlValue<std::string>;

    QString link(formats::TomlTable &root);
    TagGroup group(formats::TomlTable &table, int fileStation);
    QString groupName(formats::TomlTable &table);
    Tag tag(formats::TomlTable &table, int station);
    std::optional<Tag> variableOf(formats::TomlTable &table, int station);
    void checkName(const Text &name, std::map<std::string, formats::TomlPlace> &taken);
    QString unit(formats::TomlTable &table);
    bool takeScaling(formats::TomlTable &table, Tag *tag);
    bool isSound(formats::TomlPlace place, const Tag &tag);

    formats::TomlFile toml;
    const int defaultStation;
    std::map<std::string, formats::TomlPlace> groupNames = {}, tagNames = {};
};

/// Of values that are meant as numbers, and nothing more is said of them: bit, u16 or u32.
const ValueType *plainTypeOf(AreaKind kind);

/// What stands in a file. Throws TextError, whose remedy is to name a file of `what`, "variables".
QByteArray textOfFile(const QString &file, const QString &what);

} // namespace fgs

#endif
