// Reads tests/golden/frames.txt, which describes itself in its head.
#ifndef TARN_TESTS_FRAMES_GOLDEN_H
#define TARN_TESTS_FRAMES_GOLDEN_H

#include "support/fixture.h"

#include <fstream>
#include <map>
#include <ostream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace frames
{

/// What a good reply leaves in the image: items of one area from an address on.
struct Store {
    int areaType;
    int address;
    std::vector<unsigned> items;
};

struct Golden {
    std::string name, kind, origin;
    std::vector<RW_VAR> vars;                   ///< requests: the variables, in frame order
    std::map<std::string, std::string> options; ///< the input's other words, key=value
    std::vector<Store> stores;                  ///< replies
    QByteArray frame;
    int replyLength = 0;

    bool isReply() const { return kind == "reply"; }
};

inline void PrintTo(const Golden &row, std::ostream *out)
{
    *out << row.name;
}

inline std::vector<std::string> split(const std::string &text, char separator)
{
    std::vector<std::string> parts;
    std::istringstream in(text);
    for (std::string part; std::getline(in, part, separator);)
        parts.push_back(part);
    return parts;
}

inline std::string trimmed(const std::string &text)
{
    const size_t first = text.find_first_not_of(" \t");
    return first == std::string::npos ? std::string()
                                      : text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

/// "5@100x4": area type, address, length.
inline RW_VAR parsedVariable(const std::string &word)
{
    RW_VAR var;
    char at = 0, times = 0;
    std::istringstream in(word);
    in >> var.areaType >> at >> var.address >> times >> var.length;
    if (!in || at != '@' || times != 'x' || in.peek() != EOF)
        throw std::runtime_error("not a variable: " + word);
    return var;
}

/// "5@100:1234,5678": area type, address, items in hexadecimal; a bit area's item is a byte.
inline Store parsedStore(const std::string &word)
{
    Store store;
    char at = 0, colon = 0;
    std::string items;
    std::istringstream in(word);
    in >> store.areaType >> at >> store.address >> colon >> items;
    if (!in || at != '@' || colon != ':')
        throw std::runtime_error("not a stored piece: " + word);
    for (const std::string &item : split(items, ','))
        store.items.push_back(unsigned(std::stoul(item, nullptr, 16)));
    return store;
}

inline void setField(RW_VAR &var, const std::string &key, const std::string &value)
{
    static const std::map<std::string, int RW_VAR::*> numbers = {
        {"station", &RW_VAR::station}, {"hostType", &RW_VAR::hostType},    {"field3", &RW_VAR::hostField3},
        {"linkNo", &RW_VAR::linkNo},   {"mark", &RW_VAR::remoteStoreMark}, {"field14", &RW_VAR::hostField14},
    };
    if (key == "data")
        var.data = bytes(value.c_str());
    else if (numbers.count(key))
        var.*numbers.at(key) = std::stoi(value);
    else
        throw std::runtime_error("unknown word: " + key);
}

inline Golden parsedRow(const std::string &line)
{
    std::vector<std::string> cells = split(line, '|');
    if (cells.size() != 6)
        throw std::runtime_error("not six columns: " + line);
    for (std::string &cell : cells)
        cell = trimmed(cell);
    Golden row;
    row.name = cells[0];
    row.kind = cells[1];
    row.frame = bytes(cells[3].c_str());
    row.replyLength = std::stoi(cells[4]);
    row.origin = cells[5];
    std::istringstream words(cells[2]);
    for (std::string word; words >> word;) {
        const size_t equals = word.find('=');
        if (equals == std::string::npos)
            row.vars.push_back(parsedVariable(word));
        else if (word.substr(0, equals) == "store")
            row.stores.push_back(parsedStore(word.substr(equals + 1)));
        else
            row.options[word.substr(0, equals)] = word.substr(equals + 1);
    }
    for (RW_VAR &var : row.vars)
        for (const auto &option : row.options)
            setField(var, option.first, option.second);
    return row;
}

inline const std::vector<Golden> &golden()
{
    static const std::vector<Golden> rows = [] {
        std::vector<Golden> read;
        std::ifstream file(TARN_SOURCE_DIR "/tests/golden/frames.txt");
        for (std::string line; std::getline(file, line);)
            if (!trimmed(line).empty() && line[0] != '#')
                read.push_back(parsedRow(line));
        return read;
    }();
    return rows;
}

inline const Golden &goldenNamed(const std::string &name)
{
    for (const Golden &row : golden())
        if (row.name == name)
            return row;
    throw std::runtime_error("no golden frame is named " + name);
}

/// The rows of replies, or those of requests.
inline std::vector<Golden> goldenRows(bool replies)
{
    std::vector<Golden> chosen;
    for (const Golden &row : golden())
        if (row.isReply() == replies)
            chosen.push_back(row);
    return chosen;
}

/// Hands a request row's variables to the builder that its kind names; leaves groupExtra to the caller.
inline void build(const Golden &row)
{
    static const std::map<std::string, void (*)(RW_VAR *)> builders = {
        {"single", ReadRegister},
        {"write", WriteRegister},
        {"remote-read", Remote_ReadVar},
        {"remote-write", Remote_WriteVar},
    };
    std::vector<RW_VAR> vars = row.vars;
    if (row.kind == "group")
        readGroup(vars);
    else
        builders.at(row.kind)(&vars.at(0));
}

} // namespace frames

#endif
