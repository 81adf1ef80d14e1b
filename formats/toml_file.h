// Reads TOML files whose keys a program knows: every fault with its place and its remedy, all of a file at once.
#ifndef FORMATS_TOML_FILE_H
#define FORMATS_TOML_FILE_H

#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace formats
{

/// In a file, counted from 1.
struct TomlPlace {
    unsigned line = 1;
    unsigned column = 1;
};

struct TomlFault {
    TomlPlace place;
    std::string what;   ///< is wrong
    std::string remedy; ///< what to write instead
};

/// The text has a line for each fault: "line.toml:3:8: what; remedy".
class TomlError : public std::runtime_error
{
public:
    TomlError(const std::string &file, std::vector<TomlFault> theFaults);

    const std::vector<TomlFault> faults; ///< in the order of their places, at least one
};

template <typename Value>
struct TomlValue {
    Value value;
    TomlPlace place;
};

/// A view of one table of a TomlFile, which outlives it. What is asked for is what the table may hold. A value of
/// another kind than asked for is a fault of the file, and is not there.
class TomlTable
{
public:
    std::optional<TomlValue<std::string>> text(const std::string &key);
    /// An integer or a float; neither infinite nor no number.
    std::optional<TomlValue<double>> number(const std::string &key);
    std::optional<TomlValue<int>> integer(const std::string &key, int lowest, int highest);
    std::optional<TomlValue<bool>> flag(const std::string &key);
    /// A text, or each of a list of texts.
    std::vector<TomlValue<std::string>> texts(const std::string &key);
    /// The tables of [[key]], or of an array of inline tables.
    std::vector<TomlTable> tables(const std::string &key);
    /// The table of [key], or an inline one. The example is how one is written.
    std::optional<TomlTable> table(const std::string &key, const std::string &example);
    /// As text(); a fault if there is none. The example is a whole line of the file.
    std::optional<TomlValue<std::string>> requiredText(const std::string &key, const std::string &example);

    /// Whether there is one of this name; if not, that is a fault. The example is a whole line of the file.
    bool require(const std::string &key, const std::string &example);
    // Whether there is one, and of which kind. This is not asking for it.
    bool holds(const std::string &key) const;
    bool holdsNumber(const std::string &key) const;
    bool holdsFlag(const std::string &key) const;
    /// Of its value; of the table if there is none.
    TomlPlace placeOf(const std::string &key) const;

    /// The table may hold them, too; whatever they are is right.
    void leaveAlone(const std::vector<std::string> &keys);
    /// Every key that was not asked for is a fault; to be called once all were.
    void refuseOthers();

    TomlPlace place() const;

private:
    friend class TomlFile;
    struct Content;
    explicit TomlTable(Content *theContent) : content(theContent) {}

    Content *content;
};

class TomlFile
{
public:
    /// Throws TomlError if the text is no TOML; that fault is told alone. The name is for the messages.
    TomlFile(const std::string &theName, const std::string &text);
    ~TomlFile();
    TomlFile(const TomlFile &) = delete;
    TomlFile &operator=(const TomlFile &) = delete;

    TomlTable root();
    void fault(TomlPlace place, const std::string &what, const std::string &remedy);
    /// Throws TomlError if there were faults.
    void throwFaults() const;

    struct Document;

private:
    const std::string name;
    const std::unique_ptr<Document> document;
};

} // namespace formats

#endif
