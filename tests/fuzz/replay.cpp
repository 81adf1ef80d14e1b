// Runs a fuzz target on kept inputs: every file of the given folders, and given files. No fuzzer is needed.
#include "target.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>

using Paths = std::set<std::filesystem::path>;

static Paths filesOf(int argc, char **argv)
{
    Paths files;
    for (int i = 1; i < argc; ++i) {
        if (!std::filesystem::is_directory(argv[i])) {
            files.insert(argv[i]);
            continue;
        }
        for (const auto &entry : std::filesystem::directory_iterator(argv[i]))
            if (entry.is_regular_file())
                files.insert(entry.path());
    }
    return files;
}

static bool replay(const std::filesystem::path &path)
{
    std::ifstream file(path, std::ios::binary);
    if (!file)
        return false;
    const std::vector<char> content{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t *>(content.data()), content.size());
    return true;
}

int main(int argc, char **argv)
{
    const Paths files = filesOf(argc, argv);
    for (const std::filesystem::path &path : files) {
        std::printf("%s\n", path.c_str());
        std::fflush(stdout);
        if (!replay(path)) {
            std::fprintf(stderr, "%s cannot be read\n", path.c_str());
            return 1;
        }
    }
    std::printf("%zu inputs\n", files.size());
    return files.empty() ? 1 : 0;
}
