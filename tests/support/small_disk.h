// A disk of 2 MB for what has to meet a full one.
#ifndef TARN_TESTS_SMALL_DISK_H
#define TARN_TESTS_SMALL_DISK_H

#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <functional>
#include <sched.h>
#include <string>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>

/// Runs the steps in a child with a small disk of its own at the folder. They return what went wrong.
inline std::string onSmallDisk(const std::string &folder, const std::function<std::string()> &steps)
{
    int ends[2];
    EXPECT_EQ(::pipe2(ends, O_CLOEXEC), 0);
    const pid_t child = ::fork();
    if (child == 0) {
        std::string result;
        if (::unshare(CLONE_NEWNS) != 0 || ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
            ::mount("none", folder.c_str(), "tmpfs", 0, "size=2m") != 0)
            result = std::string("skip: a small disk cannot be mounted here: ") + std::strerror(errno);
        else
            result = steps();
        const ssize_t written = ::write(ends[1], result.data(), result.size());
        ::_exit(written == ssize_t(result.size()) ? 0 : 1);
    }
    ::close(ends[1]);
    std::string result;
    char bytes[1000];
    for (ssize_t size = 0; (size = ::read(ends[0], bytes, sizeof bytes)) > 0;)
        result.append(bytes, std::size_t(size));
    ::close(ends[0]);
    int status = 0;
    ::waitpid(child, &status, 0);
    return status == 0 ? result : result + " ended with " + std::to_string(status);
}

/// A line for each thing that is not as it must be.
struct Findings {
    void require(bool holds, const std::string &what) { text += holds ? "" : what + "\n"; }
    std::string text;
};

/// Skips the test where none can be mounted.
#define EXPECT_ON_SMALL_DISK(folder, steps)                                                                        \
    do {                                                                                                           \
        const std::string result = onSmallDisk(folder, steps);                                                     \
        if (result.rfind("skip: ", 0) == 0)                                                                        \
            GTEST_SKIP() << result.substr(6);                                                                      \
        EXPECT_EQ(result, "");                                                                                     \
    } while (false)

#endif
