// Runs fgs-sim as a process and talks to it over descriptors. All waiting is for something to come.
#ifndef SIM_PROGRAM_H
#define SIM_PROGRAM_H

#include "sim/bytes.h"
#include "support/process.h"

class Program : public Process
{
public:
    explicit Program(const std::vector<std::string> &arguments) : Process(FGS_SIM, arguments) {}

    /// Lines of the log up to one that contains the text; empty if none does.
    std::string logLineWith(const std::string &text);
    /// The exit code after Ctrl-C.
    int interrupted();
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
    /// As many bytes as that; fewer only if the other side has closed.
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
/// "tcp:127.0.0.1:5020"
int openTcp(const std::string &link);

#endif
