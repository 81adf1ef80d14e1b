// A folder of its own for each test; removed at the end.
#ifndef TARN_TESTS_TEMPORARY_FOLDER_H
#define TARN_TESTS_TEMPORARY_FOLDER_H

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <unistd.h>

class TemporaryFolder
{
public:
    explicit TemporaryFolder(const std::filesystem::path &parent = std::filesystem::temp_directory_path())
    {
        std::string name = parent / "fgs-test-XXXXXX";
        EXPECT_NE(::mkdtemp(name.data()), nullptr);
        path = name;
    }
    TemporaryFolder(const TemporaryFolder &) = delete;
    TemporaryFolder &operator=(const TemporaryFolder &) = delete;
    ~TemporaryFolder() { std::filesystem::remove_all(path); }

    std::filesystem::path path;
};

/// Where a sync costs nothing, if this machine has such a place.
inline std::filesystem::path memoryFolder()
{
    const char *const memory = "/dev/shm";
    return ::access(memory, W_OK) == 0 ? memory : std::filesystem::temp_directory_path();
}

#endif
