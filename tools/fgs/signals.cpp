#include "signals.h"

#include "terminal.h"

#include <csignal>

namespace fgs
{

namespace
{

Stop *theStop;
volatile std::sig_atomic_t received = 0;

void handle(int number)
{
    if (received) {
        Terminal::giveBack();
        std::signal(number, SIG_DFL);
        std::raise(number);
        return;
    }
    received = number;
    theStop->request();
}

} // namespace

void stopOnSignals(Stop &stop)
{
    theStop = &stop;
    struct sigaction action = {};
    action.sa_handler = handle;
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
    sigaction(SIGHUP, &action, nullptr);
    std::signal(SIGPIPE, SIG_IGN); // a reader that has had enough shows when the output is flushed
}

int stoppingSignal()
{
    return received;
}

} // namespace fgs
