#include "set_aside.h"

#include <array>
#include <ctime>
#include <filesystem>
#include <set>

namespace fgs
{

namespace
{

namespace files = std::filesystem;

const std::size_t MostSetAside = 3;
const std::array<const char *, 3> Companions = {"-wal", "-journal", "-shm"};

std::string stampOf(std::time_t time)
{
    std::tm parts = {};
    ::gmtime_r(&time, &parts);
    std::array<char, 32> text = {};
    const std::size_t size = std::strftime(text.data(), text.size(), "%Y%m%dT%H%M%SZ", &parts);
    return std::string(text.data(), size);
}

bool isCompanion(const std::string &name)
{
    return name.find('-', name.rfind('.') + sizeof "damaged-") != std::string::npos;
}

/// By their time.
std::set<std::string> allSetAside(const files::path &prefix)
{
    const files::path folder = prefix.has_parent_path() ? prefix.parent_path() : files::path(".");
    const std::string start = prefix.filename();
    std::set<std::string> found;
    for (const files::directory_entry &entry : files::directory_iterator(folder)) {
        const std::string name = entry.path().filename();
        if (name.compare(0, start.size(), start) == 0 && !isCompanion(name))
            found.insert(entry.path());
    }
    return found;
}

/// Behind those of the same moment.
std::string freeName(const std::string &prefix)
{
    const std::set<std::string> taken = allSetAside(prefix);
    const std::time_t now = std::time(nullptr);
    for (std::time_t time = now; time < now + 60; ++time)
        if (taken.empty() || prefix + stampOf(time) > *taken.rbegin())
            return prefix + stampOf(time);
    return prefix + stampOf(now); // the clock was ahead
}

void removeOldest(const std::string &prefix)
{
    std::set<std::string> found = allSetAside(prefix);
    for (; found.size() > MostSetAside; found.erase(found.begin()))
        removeDatabase(*found.begin());
}

} // namespace

std::string setAside(const std::string &path)
{
    const std::string prefix = path + ".damaged-";
    std::string name = freeName(prefix);
    files::rename(path, name);
    for (const char *companion : Companions)
        if (files::exists(path + companion))
            files::rename(path + companion, name + companion);
    removeOldest(prefix);
    return name;
}

void removeDatabase(const std::string &path)
{
    files::remove(path);
    for (const char *companion : Companions)
        files::remove(path + companion);
}

} // namespace fgs
