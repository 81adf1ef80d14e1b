// A program of this build as a process. All waiting is for something to come.
#ifndef TARN_TESTS_PROCESS_H
#define TARN_TESTS_PROCESS_H

#include <string>
#include <sys/types.h>
#include <vector>

/// The program and, in a cross build, the emulator and its options in front of it.
std::vector<std::string> commandOf(const std::string &program);

/// A running program; killed with the object.
class Process
{
public:
    Process(const std::string &program, const std::vector<std::string> &arguments);
    Process(const Process &) = delete;
    Process &operator=(const Process &) = delete;
    ~Process();

    /// The next line of stdout or stderr without its end; what has come if there is no more.
    std::string outputLine() { return line(output); }
    std::string logLine() { return line(log); }

    void signal(int number);
    /// Waits for the end; the exit code, or minus the signal that ended it.
    int wait();
    /// Everything on stdout or stderr that was not taken as a line, up to the end.
    std::string restOfOutput() { return rest(output); }
    std::string restOfLog() { return rest(log); }

private:
    static std::string line(int descriptor);
    static std::string rest(int descriptor);

    pid_t process = -1;
    int output = -1;
    int log = -1;
};

/// Waits until there is something to read, or the end.
bool readable(int descriptor);

#endif
