#include "formats/suggestion.h"
#include "tag_file_reader.h"

namespace fgs
{

namespace
{

/// A name is never what a variable may be.
bool mayBeName(const QString &text)
{
    return !text.isEmpty() && text.at(0).isLetter();
}

/// A gateway's file is one of named variables, too. What else it says is the gateway's business.
class NamedVariables : public TagFileReader
{
public:
    using TagFileReader::TagFileReader;

private:
    void takeRoot(formats::TomlTable &root) override
    {
        root.leaveAlone({"name", "line", "broker", "layout", "spool", "commands", "http"});
    }
    void takeGroup(formats::TomlTable &group) override { group.leaveAlone({"deadband", "least_ms", "longest_ms"}); }
    void takeTag(formats::TomlTable &tag, Tag *) override
    {
        tag.leaveAlone({"deadband", "least_ms", "longest_ms", "write"});
    }
};

} // namespace

std::vector<Tag> TagFile::tags() const
{
    std::vector<Tag> all;
    for (const TagGroup &group : groups)
        all.insert(all.end(), group.tags.begin(), group.tags.end());
    return all;
}

TagFile parseTagFile(const QString &file, const QByteArray &text, int defaultStation)
{
    try {
        return NamedVariables(file, text, defaultStation).read();
    } catch (const formats::TomlError &error) {
        throw TextError(QString::fromUtf8(error.what()));
    }
}

TagFile readTagFile(const QString &file, int defaultStation)
{
    return parseTagFile(file, textOfFile(file, QStringLiteral("variables")), defaultStation);
}

Tag tagMeant(const TagFile &file, const QString &text, int defaultStation)
{
    std::vector<std::string> names;
    for (const Tag &tag : file.tags()) {
        if (tag.name == text)
            return tag;
        names.push_back(tag.name.toStdString());
    }
    if (names.empty() || !mayBeName(text))
        return parseTag(text, defaultStation);
    throw TextError(QStringLiteral("'%1' is neither a name in the file nor a variable; %2")
                        .arg(text, QString::fromStdString(formats::suggestionFor(text.toStdString(), names))));
}

} // namespace fgs
