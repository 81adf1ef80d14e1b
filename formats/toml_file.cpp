#include "toml_file.h"

#include "suggestion.h"

#include <algorithm>
#include <cmath>
#include <deque>

#define TOML_HEADER_ONLY 1
#define TOML_ENABLE_FORMATTERS 0
#include <toml++/toml.h>

namespace formats
{

/// Asked for so far, and where faults go.
struct TomlTable::Content {
    const toml::table &table;
    TomlFile::Document &document;
    std::vector<std::string> known = {};

    const toml::node *find(const std::string &key);
    void refuse(const toml::node &node, const std::string &what, const std::string &remedy) const;
};

struct TomlFile::Document {
    toml::table root = {};
    std::deque<TomlTable::Content> contents = {}; ///< their places stay
    std::vector<TomlFault> faults = {};
};

namespace
{

TomlPlace placeIn(const toml::source_region &source)
{
    return {std::max(1u, unsigned(source.begin.line)), std::max(1u, unsigned(source.begin.column))};
}

bool isBefore(const TomlFault &a, const TomlFault &b)
{
    return std::tie(a.place.line, a.place.column) < std::tie(b.place.line, b.place.column);
}

std::vector<TomlFault> sorted(std::vector<TomlFault> faults)
{
    std::stable_sort(faults.begin(), faults.end(), isBefore);
    return faults;
}

std::string textOf(const std::string &file, const std::vector<TomlFault> &faults)
{
    std::string text;
    for (const TomlFault &fault : sorted(faults))
        text += (text.empty() ? "" : "\n") + file + ':' + std::to_string(fault.place.line) + ':' +
                std::to_string(fault.place.column) + ": " + fault.what + "; " + fault.remedy;
    return text;
}

/// Of tables, and in that no empty array is none.
bool isOfTables(const toml::node &node)
{
    const toml::array *const array = node.as_array();
    return array &&
           std::all_of(array->begin(), array->end(), [](const toml::node &each) { return each.is_table(); });
}

toml::table parse(const std::string &name, const std::string &text)
{
    try {
        return toml::parse(text);
    } catch (const toml::parse_error &error) {
        throw TomlError(name, {{placeIn(error.source()), std::string(error.description()),
                                "mend this first; the rest is looked at then"}});
    }
}

} // namespace

TomlError::TomlError(const std::string &file, std::vector<TomlFault> theFaults)
    : std::runtime_error(textOf(file, theFaults)), faults(sorted(std::move(theFaults)))
{
}

// ---- tables

const toml::node *TomlTable::Content::find(const std::string &key)
{
    known.push_back(key);
    return table.get(key);
}

void TomlTable::Content::refuse(const toml::node &node, const std::string &what, const std::string &remedy) const
{
    document.faults.push_back({placeIn(node.source()), what, remedy});
}

std::optional<TomlValue<std::string>> TomlTable::text(const std::string &key)
{
    const toml::node *const node = content->find(key);
    if (!node)
        return {};
    if (const auto *const value = node->as_string())
        return TomlValue<std::string>{value->get(), placeIn(node->source())};
    content->refuse(*node, "'" + key + "' is no text", "put it in quotes: " + key + " = \"...\"");
    return {};
}

std::optional<TomlValue<double>> TomlTable::number(const std::string &key)
{
    const toml::node *const node = content->find(key);
    if (!node)
        return {};
    const std::optional<double> value = node->is_number() ? node->value<double>() : std::nullopt;
    if (value && std::isfinite(*value))
        return TomlValue<double>{*value, placeIn(node->source())};
    content->refuse(*node, "'" + key + "' is no number", "write one like " + key + " = 0.1, without quotes");
    return {};
}

std::optional<TomlValue<int>> TomlTable::integer(const std::string &key, int lowest, int highest)
{
    const toml::node *const node = content->find(key);
    if (!node)
        return {};
    const auto *const value = node->as_integer();
    if (value && value->get() >= lowest && value->get() <= highest)
        return TomlValue<int>{static_cast<int>(value->get()), placeIn(node->source())};
    content->refuse(
        *node, "'" + key + "' is no whole number from " + std::to_string(lowest) + " to " + std::to_string(highest),
        "write " + key + " = " + std::to_string(lowest) + ", say");
    return {};
}

std::vector<TomlTable> TomlTable::tables(const std::string &key)
{
    const toml::node *const node = content->find(key);
    std::vector<TomlTable> found;
    if (!node)
        return found;
    if (!isOfTables(*node)) {
        content->refuse(*node, "'" + key + "' is no list of tables", "begin each with [[" + key + "]]");
        return found;
    }
    for (const toml::node &each : *node->as_array()) {
        content->document.contents.push_back({*each.as_table(), content->document});
        found.push_back(TomlTable(&content->document.contents.back()));
    }
    return found;
}

std::optional<TomlValue<std::string>> TomlTable::requiredText(const std::string &key, const std::string &example)
{
    if (!content->table.contains(key))
        content->refuse(content->table, "'" + key + "' is missing", "add a line like " + example);
    return text(key);
}

void TomlTable::refuseOthers()
{
    for (const auto &[key, value] : content->table) {
        const std::string word(key.str());
        if (std::find(content->known.begin(), content->known.end(), word) == content->known.end())
            content->document.faults.push_back(
                {placeIn(key.source()), "unknown key '" + word + "'", suggestionFor(word, content->known)});
    }
}

TomlPlace TomlTable::place() const
{
    return placeIn(content->table.source());
}

// ---- the file

TomlFile::TomlFile(const std::string &theName, const std::string &text)
    : name(theName), document(std::make_unique<Document>())
{
    document->root = parse(theName, text);
}

TomlFile::~TomlFile() = default;

TomlTable TomlFile::root()
{
    document->contents.push_back({document->root, *document});
    return TomlTable(&document->contents.back());
}

void TomlFile::fault(TomlPlace place, const std::string &what, const std::string &remedy)
{
    document->faults.push_back({place, what, remedy});
}

void TomlFile::throwFaults() const
{
    if (!document->faults.empty())
        throw TomlError(name, document->faults);
}

} // namespace formats
