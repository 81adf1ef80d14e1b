#include "signals.h"

#include "terminal.h"

#include <csignal>

namespace fgs
{

namespace
{

Stop *theStop;
volatile std::sig_atomic_t received = 0;
volatile std::sig_atomic_t asked = 0;

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

/// A signal that is ignored from the start, as under nohup, stays so.
void handleSignal(int number)
{
    struct sigaction action = {};
    sigaction(number, nullptr, &action);
    if (action.sa_handler == SIG_IGN)
        return;
    action.sa_handler = handle;
    sigaction(number, &action, nullptr);
}

} // namespace

void stopOnSignals(Stop &stop)
{
    theStop = &stop;
    for (int number : {SIGINT, SIGTERM, SIGHUP})
        handleSignal(number);
    std::signal(SIGPIPE, SIG_IGN); // a reader that has had enough shows when the output is flushed
}

int stoppingSignal()
{
    return received;
}

void answerQuestions()
{
    std::signal(SIGUSR1, [](int) { asked = 1; });
}

bool takeQuestion()
{
    const bool isAsked = asked;
    asked = 0;
    return isAsked;
}

} // namespace fgs
