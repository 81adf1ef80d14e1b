#include "support/process.h"

#include <csignal>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <spawn.h>
#include <sstream>
#include <sys/wait.h>
#include <unistd.h>

std::vector<std::string> commandOf(const std::string &program)
{
    std::istringstream emulator(TARN_EMULATOR); // "name|option|option", or empty
    std::vector<std::string> command;
    for (std::string word; std::getline(emulator, word, '|');)
        command.push_back(word);
    command.push_back(program);
    return command;
}

bool readable(int descriptor)
{
    pollfd wanted = {descriptor, POLLIN, 0};
    return ::poll(&wanted, 1, -1) > 0;
}

Process::Process(const std::string &program, const std::vector<std::string> &arguments)
{
    int out[2], err[2];
    EXPECT_EQ(::pipe2(out, O_CLOEXEC), 0);
    EXPECT_EQ(::pipe2(err, O_CLOEXEC), 0);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, out[1], STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, err[1], STDERR_FILENO);
    std::vector<std::string> command = commandOf(program);
    command.insert(command.end(), arguments.begin(), arguments.end());
    std::vector<char *> argv;
    for (std::string &word : command)
        argv.push_back(word.data());
    argv.push_back(nullptr);
    if (::posix_spawn(&process, argv[0], &actions, nullptr, argv.data(), environ) != 0) {
        process = -1;
        ADD_FAILURE() << "cannot start " << command[0];
    }
    posix_spawn_file_actions_destroy(&actions);
    ::close(out[1]);
    ::close(err[1]);
    output = out[0];
    log = err[0];
}

Process::~Process()
{
    if (process > 0) {
        signal(SIGKILL);
        wait();
    }
    ::close(output);
    ::close(log);
}

void Process::signal(int number)
{
    ASSERT_GT(process, 0);
    ::kill(process, number);
}

int Process::wait()
{
    int status = 0;
    EXPECT_EQ(::waitpid(process, &status, 0), process);
    process = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

std::string Process::line(int descriptor)
{
    std::string text;
    char letter = 0;
    while (readable(descriptor) && ::read(descriptor, &letter, 1) == 1 && letter != '\n')
        text += letter;
    return text;
}

std::string Process::rest(int descriptor)
{
    std::string text;
    char letters[4096];
    for (ssize_t size; readable(descriptor) && (size = ::read(descriptor, letters, sizeof letters)) > 0;)
        text.append(letters, std::size_t(size));
    return text;
}
