#include "tag_file.h"

#include "formats/suggestion.h"
#include "formats/toml_file.h"
#include "host/devices.h"
#include "host/text_error.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <QtCore/QFile>
#include <QtCore/QRegularExpression>

namespace fgs
{

namespace
{

using formats::TomlPlace;
using formats::TomlTable;
using Text = formats::TomlValue<std::string>;

const int LongestName = 64, LongestUnit = 16;
const int LargestFile = 1 << 24; ///< bytes; what is more is no file of variables
const char *const ReservedGroups[] = {"status", "cmd", "ack"};

QString textOf(const std::string &utf8)
{
    return QString::fromStdString(utf8);
}

bool isName(const QString &text)
{
    static const QRegularExpression form(QStringLiteral("^[A-Za-z][A-Za-z0-9_-]*$"));
    return text.size() <= LongestName && form.match(text).hasMatch();
}

/// A name is never what a variable may be.
bool mayBeName(const QString &text)
{
    return !text.isEmpty() && text.at(0).isLetter();
}

bool isScalable(const ValueType &type)
{
    return type.size != AreaKind::Bit && type.meaning != ValueType::Text && type.meaning != ValueType::Hex;
}

/// Reads one file; what is wrong with it is collected.
class TagFileReader
{
public:
    TagFileReader(const QString &name, const QByteArray &text, int station)
        : toml(name.toStdString(), text.toStdString()), defaultStation(station)
    {
    }

    TagFile read()
    {
        TomlTable root = toml.root();
        TagFile file;
        file.link = link(root);
        const int station = stationIn(root, defaultStation);
        for (TomlTable &table : root.tables("group"))
            file.groups.push_back(group(table, station));
        if (file.groups.empty())
            toml.fault({}, "there is no group of variables", "begin one with [[group]] and a name = \"...\"");
        root.refuseOthers();
        toml.throwFaults();
        return file;
    }

private:
    QString link(TomlTable &root)
    {
        const std::optional<Text> text = root.text("link");
        if (!text)
            return QString();
        try {
            parseLink(textOf(text->value));
        } catch (const TextError &error) {
            fault(text->place, error);
        }
        return textOf(text->value);
    }

    static int stationIn(TomlTable &table, int otherwise)
    {
        const auto station = table.integer("station", 1, MaxStation);
        return station ? station->value : otherwise;
    }

    TagGroup group(TomlTable &table, int fileStation)
    {
        TagGroup group;
        if (const std::optional<Text> name = table.requiredText("name", "name = \"oven\"")) {
            group.name = textOf(name->value);
            checkName(*name, groupNames);
            if (std::find(std::begin(ReservedGroups), std::end(ReservedGroups), name->value) !=
                std::end(ReservedGroups))
                toml.fault(name->place, "'" + name->value + "' is a reserved name of a group",
                           "choose another; status, cmd and ack are reserved");
        }
        const int station = stationIn(table, fileStation);
        const TomlPlace place = table.place();
        std::vector<TomlTable> tags = table.tables("tag");
        for (TomlTable &each : tags)
            group.tags.push_back(takeTag(each, station));
        if (tags.empty())
            toml.fault(place, "the group has no variable",
                       "add one: [[group.tag]], name = \"...\", variable = \"5:100\"");
        table.refuseOthers();
        return group;
    }

    Tag takeTag(TomlTable &table, int station)
    {
        const std::optional<Text> name = table.requiredText("name", "name = \"oven_temp\"");
        Tag tag;
        if (const auto variable = table.requiredText("variable", "variable = \"5:100:s16\""))
            tag = variableOf(*variable, station);
        if (name) {
            checkName(*name, tagNames);
            tag.name = textOf(name->value);
        }
        takeUnit(table, tag);
        takeScaling(table, tag);
        table.refuseOthers();
        return tag;
    }

    Tag variableOf(const Text &text, int station)
    {
        try {
            Tag tag = parseTag(textOf(text.value), station);
            if (tag.variable.station == 0)
                toml.fault(text.place, "station 0 means all stations and cannot be read",
                           "name one station from 1 to 255");
            return tag;
        } catch (const TextError &error) {
            fault(text.place, error);
            return Tag();
        }
    }

    void checkName(const Text &name, std::map<std::string, TomlPlace> &taken)
    {
        if (!isName(textOf(name.value)))
            toml.fault(name.place, "'" + name.value + "' is no name",
                       "begin with a letter and go on with at most 63 letters of ASCII, digits, _ and -");
        const auto [before, isNew] = taken.emplace(name.value, name.place);
        if (!isNew)
            toml.fault(name.place,
                       "the name '" + name.value + "' stands in line " + std::to_string(before->second.line) +
                           " already",
                       "give one of the two another");
    }

    void takeUnit(TomlTable &table, Tag &tag)
    {
        const std::optional<Text> unit = table.text("unit");
        if (!unit)
            return;
        tag.unit = textOf(unit->value);
        const bool isShown =
            std::all_of(tag.unit.begin(), tag.unit.end(), [](QChar each) { return each.isPrint(); });
        if (tag.unit.size() > LongestUnit || !isShown)
            toml.fault(unit->place, "the unit is no printable text of at most 16 characters",
                       "write one like unit = \"°C\"");
    }

    void takeScaling(TomlTable &table, Tag &tag)
    {
        const auto scale = table.number("scale"), offset = table.number("offset");
        if (scale)
            tag.scaling.scale = scale->value;
        if (offset)
            tag.scaling.offset = offset->value;
        if (!scale && !offset)
            return;
        if (!tag.type) // what is scaled is a number, whatever the format of a run
            tag.type =
                typeNamed(tag.kind() == AreaKind::DoubleWord ? QStringLiteral("u32") : QStringLiteral("u16"));
        checkScaling((scale ? scale : offset)->place, tag);
    }

    void checkScaling(TomlPlace place, const Tag &tag)
    {
        const double size = std::abs(tag.scaling.scale);
        if (tag.kind() == AreaKind::Bit || !isScalable(*tag.type))
            toml.fault(place, "scale and offset are for numbers, and this is none",
                       "leave them out, or give the variable a type like s16");
        else if (!(size >= LeastScale && size <= GreatestScale))
            toml.fault(place, "the scale is 0, or not from 1e-9 to 1e9",
                       "write what one step of the raw value means");
        else if (std::abs(tag.scaling.offset) > MostOffsetSteps * size)
            toml.fault(place, "beside so great an offset the steps of the scale are lost",
                       "choose a smaller offset");
    }

    void fault(TomlPlace place, const TextError &error)
    {
        const std::string text = error.what();
        const std::size_t end = text.find("; ");
        toml.fault(place, text.substr(0, end),
                   end == std::string::npos ? "see fgs help read" : text.substr(end + 2));
    }

    formats::TomlFile toml;
    const int defaultStation;
    std::map<std::string, TomlPlace> groupNames = {}, tagNames = {};
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
        return TagFileReader(file, text, defaultStation).read();
    } catch (const formats::TomlError &error) {
        throw TextError(QString::fromUtf8(error.what()));
    }
}

TagFile readTagFile(const QString &file, int defaultStation)
{
    QFile source(file);
    if (!source.open(QIODevice::ReadOnly))
        throw TextError(QStringLiteral("file '%1' cannot be read: %2; name a file of variables")
                            .arg(file, source.errorString()));
    const QByteArray text = source.read(LargestFile + 1);
    if (text.size() > LargestFile)
        throw TextError(QStringLiteral("file '%1' is larger than 16 MB; name a file of variables").arg(file));
    return parseTagFile(file, text, defaultStation);
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
