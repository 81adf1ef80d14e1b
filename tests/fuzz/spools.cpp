// Any bytes as a stored spool, or a sound one with bytes changed: whatever it is, it is used or set aside, and what
// is added then is there.
#include "gateway/spool.h"
#include "target.h"

#include <filesystem>
#include <fstream>

using namespace fgs;
using fuzz::require;

namespace
{

namespace files = std::filesystem;

const Epoch Now = 1700000000000;

/// Removed at the end.
struct Folder {
    Folder()
    {
        const bool hasMemory = files::is_directory("/dev/shm");
        std::string name = (hasMemory ? "/dev/shm" : files::temp_directory_path()) / files::path("fgs-fuzz-XXXXXX");
        require(::mkdtemp(name.data()) != nullptr, "no folder");
        path = name;
    }
    Folder(const Folder &) = delete;
    Folder &operator=(const Folder &) = delete;
    ~Folder() { files::remove_all(path); }

    files::path path;
};

const files::path &folder()
{
    static const Folder made;
    return made.path;
}

SpoolSettings settings()
{
    SpoolSettings small;
    small.file = folder() / "spool";
    small.mostBytes = 100000;
    return small;
}

std::string contentOf(const files::path &path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

/// A sound spool of a few pages.
const std::string &soundSpool()
{
    static const std::string made = [] {
        {
            Spool spool(settings(), "plain", [](const std::string &) {});
            for (int i = 0; i < 60; ++i)
                spool.add({"oven", Now + i, std::string(std::size_t(i % 7 == 0 ? 5000 : 200), char('a' + i % 26))});
        }
        return contentOf(settings().file);
    }();
    return made;
}

/// Bytes as they are, or changes of a sound spool: places with their bytes, and its length.
std::string fileOf(fuzz::Input &input)
{
    if (input.oneIn(2))
        return input.rest();
    std::string file = soundSpool();
    if (input.oneIn(8))
        file.resize(input.below(file.size()));
    while (!input.isUsedUp() && !file.empty()) {
        const std::size_t place = input.below(file.size());
        const std::string bytes = input.text(input.below<std::size_t>(16) + 1);
        file.replace(place, bytes.size(), bytes);
    }
    return file;
}

/// How much was told; whatever is found, the spool works in the end and has what was added.
int useOnce()
{
    int told = 0;
    Spool spool(settings(), "plain", [&](const std::string &) { ++told; });
    const Spool::Number added = spool.add({"oven", Now, "added"});
    spool.commit(Now);
    Spool::Number last = 0;
    for (const Spool::Kept &each : spool.oldest(0, 1000)) {
        require(each.number > last, "numbers that do not ascend");
        last = each.number;
    }
    require(spool.problem().empty(), "the spool does not work");
    require(told > 0 || last == added, "what was added is not the last, and nothing was told");
    spool.commit(Now + 1000);
    return told;
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t *bytes, std::size_t size)
{
    soundSpool();
    fuzz::Input input(bytes, size);
    for (const files::directory_entry &entry : files::directory_iterator(folder()))
        files::remove(entry.path());
    std::ofstream(settings().file, std::ios::binary) << fileOf(input);
    const int mostRounds = 3; // some damage is found only when its page is read
    int rounds = 1;
    while (useOnce() > 0)
        require(++rounds <= mostRounds, "the spool is damaged again and again");
    return 0;
}
