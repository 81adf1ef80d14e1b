// A folder of its own for each test; removed at the end.
#ifndef TARN_TESTS_TEMPORARY_FOLDER_H
#define TARN_TESTS_TEMPORARY_FOLDER_H

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>

class TemporaryFolder
{
public:
    TemporaryFolder()
    {
        std::string name = std::filesystem::temp_directory_path() / "fgs-test-XXXXXX";
        EXPECT_NE(::mkdtemp(name.data()), nullptr);
        path = name;
    }
    TemporaryFolder(const TemporaryFolder &) = delete;
    TemporaryFolder &operator=(const TemporaryFolder &) = delete;
    ~TemporaryFolder() { std::filesystem::remove_all(path); }

    std::filesystem::path path;
};

#endif
