// Runs fgs-sim as a process and talks to it over descriptors. All waiting is for something to come.
#ifndef SIM_PROGRAM_H
#define SIM_PROGRAM_H

#include "bytes.h"

#include <sys/types.h>

/// A running fgs-sim; ended with the object.
class Program
{
public:
    explicit Program(const std::vector<std::string> &arguments);
    Program(const Program &) = delete;
    Program &operator=(const Program &) = delete;
    ~Program();

    /// The next line of stdout or stderr without its end; what has come if there is no more.
    std::string outputLine() { return line(output); }
    std::string logLine() { return line(log); }
    /// Lines of the log up to one that contains the text; empty if none does.
    std::string logLineWith(const std::string &text);

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

/// A client's end of the link.
class Client
{
public:
    explicit Client(int opened) : descriptor(opened) {}
    Client(const Client &) = delete;
    Client &operator=(const Client &) = delete;
    ~Client();

    void send(const fgssim::Bytes &data);
    /// As many bytes as that; fewer only if the other side has closed, or after a long wait.
    fgssim::Bytes receive(std::size_t count);
    /// Whether the other side closes before it sends anything.
    bool isClosed();
    fgssim::Bytes ask(const fgssim::Bytes &request, std::size_t replySize)
    {
        send(request);
        return receive(replySize);
    }

private:
    int descriptor;
};

int openDevice(const std::string &path);
/// "127.0.0.1:5020"
int openTcp(const std::string &address);

#endif
