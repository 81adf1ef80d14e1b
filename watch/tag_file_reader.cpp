#include "tag_file_reader.h"

#include "host/devices.h"

#include <algorithm>
#include <cmath>
#include <QtCore/QFile>
#include <QtCore/QRegularExpression>

namespace fgs
{

using formats::TomlPlace;
using formats::TomlTable;

namespace
{

const int LongestName = 64, LongestUnit = 16;
const int LargestFile = 1 << 24; ///< bytes; what is more is none of these files
const char *const ReservedGroups[] = {"status", "cmd", "ack", "doctor"};

QString textOf(const std::string &utf8)
{
    return QString::fromStdString(utf8);
}

bool isName(const QString &text)
{
    static const QRegularExpression form(QStringLiteral("^[A-Za-z][A-Za-z0-9_-]*$"));
    return text.size() <= LongestName && form.match(text).hasMatch();
}

bool isScalable(const ValueType &type)
{
    return type.size != AreaKind::Bit && type.meaning != ValueType::Text && type.meaning != ValueType::Hex;
}

int stationIn(TomlTable &table, int otherwise)
{
    const auto station = table.integer("station", 1, MaxStation);
    return station ? station->value : otherwise;
}

} // namespace

TagFileReader::TagFileReader(const QString &name, const QByteArray &text, int station)
    : toml(name.toStdString(), text.toStdString()), defaultStation(station)
{
}

TagFile TagFileReader::read()
{
    TomlTable root = toml.root();
    TagFile file;
    file.link = link(root);
    const int station = stationIn(root, defaultStation);
    takeRoot(root);
    for (TomlTable &table : root.tables("group"))
        file.groups.push_back(group(table, station));
    if (file.groups.empty())
        fault({}, "there is no group of variables", "begin one with [[group]] and a name = \"...\"");
    root.refuseOthers();
    toml.throwFaults();
    return file;
}

QString TagFileReader::link(TomlTable &root)
{
    const std::optional<Text> text = root.text("link");
    if (!text)
        return QString();
    try {
        parseLink(textOf(text->value));
    } catch (const TextError &error) {
        fault(text->place, error, "see fgs help read");
    }
    return textOf(text->value);
}

TagGroup TagFileReader::group(TomlTable &table, int fileStation)
{
    TagGroup group;
    group.name = groupName(table);
    const int station = stationIn(table, fileStation);
    takeGroup(table);
    const TomlPlace place = table.place();
    for (TomlTable &each : table.tables("tag"))
        group.tags.push_back(tag(each, station));
    if (group.tags.empty())
        fault(place, "the group has no variable", "add one: [[group.tag]], name = \"...\", variable = \"5:100\"");
    table.refuseOthers();
    return group;
}

QString TagFileReader::groupName(TomlTable &table)
{
    const std::optional<Text> name = table.requiredText("name", "name = \"oven\"");
    if (!name)
        return QString();
    checkName(*name, groupNames);
    if (std::find(std::begin(ReservedGroups), std::end(ReservedGroups), name->value) != std::end(ReservedGroups))
        fault(name->place, "'" + name->value + "' is a reserved name of a group",
              "choose another; status, cmd, ack and doctor are reserved");
    return textOf(name->value);
}

Tag TagFileReader::tag(TomlTable &table, int station)
{
    const std::optional<Text> name = table.requiredText("name", "name = \"oven_temp\"");
    if (name)
        checkName(*name, tagNames);
    std::optional<Tag> tag = variableOf(table, station);
    const QString itsUnit = unit(table);
    if (!takeScaling(table, tag ? &*tag : nullptr))
        tag.reset();
    takeTag(table, tag ? &*tag : nullptr);
    table.refuseOthers();
    if (!tag)
        return Tag();
    tag->name = name ? textOf(name->value) : QString();
    tag->unit = itsUnit;
    return *tag;
}

std::optional<Tag> TagFileReader::variableOf(TomlTable &table, int station)
{
    const std::optional<Text> text = table.requiredText("variable", "variable = \"5:100:s16\"");
    if (!text)
        return {};
    try {
        const Tag parsed = parseTag(textOf(text->value), station);
        if (parsed.variable.station == 0)
            fault(text->place, "station 0 means all stations and cannot be read", "name one station from 1 to 255");
        return parsed;
    } catch (const TextError &error) {
        fault(text->place, error, "see fgs help read");
        return {};
    }
}

void TagFileReader::checkName(const Text &name, std::map<std::string, TomlPlace> &taken)
{
    if (!isName(textOf(name.value)))
        fault(name.place, "'" + name.value + "' is no name",
              "begin with a letter and go on with at most 63 letters of ASCII, digits, _ and -");
    const auto [before, isNew] = taken.emplace(name.value, name.place);
    if (!isNew)
        fault(name.place,
              "the name '" + name.value + "' stands in line " + std::to_string(before->second.line) + " already",
              "give one of the two another");
}

QString TagFileReader::unit(TomlTable &table)
{
    const std::optional<Text> text = table.text("unit");
    if (!text)
        return QString();
    QString unit = textOf(text->value);
    const bool isShown = std::all_of(unit.cbegin(), unit.cend(), [](QChar each) { return each.isPrint(); });
    if (unit.size() > LongestUnit || !isShown)
        fault(text->place, "the unit is no printable text of at most 16 characters",
              "write one like unit = \"°C\"");
    return unit;
}

/// False: the tag has a fault there, and what is in its units cannot be judged.
bool TagFileReader::takeScaling(TomlTable &table, Tag *tag)
{
    const auto scale = table.number("scale"), offset = table.number("offset");
    if (!tag || (!scale && !offset))
        return true;
    if (scale)
        tag->scaling.scale = scale->value;
    if (offset)
        tag->scaling.offset = offset->value;
    if (!tag->type) // what is scaled is a number, whatever the format of a run
        tag->type = plainTypeOf(tag->kind());
    return isSound((scale ? scale : offset)->place, *tag);
}

bool TagFileReader::isSound(TomlPlace place, const Tag &tag)
{
    const double size = std::abs(tag.scaling.scale);
    if (!isScalable(*tag.type))
        fault(place, "scale and offset are for numbers, and this is none",
              "leave them out, or give the variable a type like s16");
    else if (!(size >= LeastScale && size <= GreatestScale))
        fault(place, "the scale is 0, or not from 1e-9 to 1e9", "write what one step of the raw value means");
    else if (std::abs(tag.scaling.offset) > MostOffsetSteps * size)
        fault(place, "beside so great an offset the steps of the scale are lost", "choose a smaller offset");
    else
        return true;
    return false;
}

void TagFileReader::fault(TomlPlace place, const std::string &what, const std::string &remedy)
{
    toml.fault(place, what, remedy);
}

void TagFileReader::fault(TomlPlace place, const TextError &error, const std::string &otherRemedy)
{
    const std::string text = error.what();
    const std::size_t end = text.find("; ");
    fault(place, text.substr(0, end), end == std::string::npos ? otherRemedy : text.substr(end + 2));
}

const ValueType *plainTypeOf(AreaKind kind)
{
    return typeNamed(kind == AreaKind::Bit    ? QStringLiteral("bit")
                     : kind == AreaKind::Word ? QStringLiteral("u16")
                                              : QStringLiteral("u32"));
}

QByteArray textOfFile(const QString &file, const QString &what)
{
    QFile source(file);
    if (!source.open(QIODevice::ReadOnly))
        throw TextError(QStringLiteral("file '%1' cannot be read: %2; name a file of %3")
                            .arg(file, source.errorString(), what));
    QByteArray text = source.read(LargestFile + 1);
    if (text.size() > LargestFile)
        throw TextError(QStringLiteral("file '%1' is larger than 16 MB; name a file of %2").arg(file, what));
    return text;
}

} // namespace fgs
