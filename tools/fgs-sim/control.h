// --control: commands that come over a local socket while the program runs.
//
// A client sends commands, one a line. Each is answered by lines, of which the last one is "done" or begins with
// "refused: ". `fgs-sim ctl` is such a client; so is `socat - UNIX:PATH`.
#ifndef FGS_SIM_CONTROL_H
#define FGS_SIM_CONTROL_H

#include "path_claim.h"
#include "sim/conversation.h"

#include <QtNetwork/QLocalServer>

namespace fgssim
{

const char *const ControlDone = "done";
const char *const ControlRefused = "refused: "; ///< and the reason

class Control
{
public:
    /// A socket that a killed fgs-sim has left behind is replaced; what somebody else listens at, or what is no
    /// socket, is not. Only the user can connect. Throws EndpointError.
    Control(Simulation &shared, const std::string &at);
    Control(const Control &) = delete;
    Control &operator=(const Control &) = delete;
    /// Removes the socket.
    ~Control();

private:
    void acceptAll();
    void serve(QLocalSocket &client);
    std::string answer(const std::string &line);

    Simulation &simulation;
    const std::string path;
    const PathClaim claim;
    QLocalServer server;
};

} // namespace fgssim

#endif
