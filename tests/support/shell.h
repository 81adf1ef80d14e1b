// Programs of the machine, by the shell.
#ifndef TARN_TESTS_SHELL_H
#define TARN_TESTS_SHELL_H

#include <cstdio>
#include <cstdlib>
#include <gtest/gtest.h>
#include <string>

/// What the command prints. A test fails unless it ends with 0.
inline std::string outputOf(const std::string &command)
{
    std::string output;
    std::FILE *const pipe = ::popen(command.c_str(), "r");
    char bytes[4096];
    for (std::size_t count; (count = std::fread(bytes, 1, sizeof bytes, pipe)) > 0;)
        output.append(bytes, count);
    EXPECT_EQ(::pclose(pipe), 0) << command;
    return output;
}

inline bool isInstalled(const std::string &program)
{
    return std::system(("command -v " + program + " >/dev/null 2>&1").c_str()) == 0;
}

#endif
