// Any bytes as a file of named variables: what it says, or every error with its place; what is shown of a variable
// can be written.
#include "file_errors.h"
#include "watch/tag_file.h"

#include <set>

using namespace fgs;
using fuzz::require;

namespace
{

void checkValue(const Tag &tag, quint32 raw)
{
    const AreaKind size = tag.typeIn(Format::Unsigned).size;
    const quint32 value = bitsOf(size) < 32 ? raw & ((1u << bitsOf(size)) - 1) : raw;
    const int count = elementsPerValue(tag.typeIn(Format::Unsigned), tag.kind());
    const std::vector<quint32> elements =
        count == 2 ? std::vector<quint32>{value & 0xFFFF, value >> 16} : std::vector<quint32>{value};
    const QString text = valuesText(tag, Format::Unsigned, elements);
    require(widestText(tag, Format::Unsigned) >= int(text.size()), "a value that is wider than the widest");
    require(parseValue(text, tag, Format::Unsigned) == elements, "a value that is shown and cannot be written");
}

void checkTag(const Tag &tag)
{
    require(tag.variable.station >= 1 && tag.variable.station <= MaxStation, "a station that cannot be read");
    require(!tag.name.isEmpty() && tag.name.size() <= 64, "a tag without a name");
    const ValueType::Meaning meaning = tag.typeIn(Format::Unsigned).meaning;
    if (meaning == ValueType::Signed || meaning == ValueType::Unsigned)
        for (quint32 raw : {0u, 1u, 0x7FFFu, 0x8000u, 0xFFFFu, 0x12345678u, 0xFFFFFFFFu})
            checkValue(tag, raw);
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t *bytes, std::size_t size)
{
    const QByteArray text(reinterpret_cast<const char *>(bytes), static_cast<int>(size));
    try {
        const TagFile file = parseTagFile(QStringLiteral("f"), text);
        require(!file.groups.empty(), "a file without groups");
        std::set<QString> names;
        for (const Tag &tag : file.tags()) {
            checkTag(tag);
            require(names.insert(tag.name).second, "a name stands twice");
            require(tagMeant(file, tag.name).name == tag.name, "a name that is not found");
        }
    } catch (const TextError &error) {
        fuzz::checkError(error);
    }
    return 0;
}
