#include "signals.h"

#include <pthread.h>

namespace fgs
{

namespace
{

const int EndOfThread = SIGUSR2;

bool isIgnored(int number)
{
    struct sigaction action = {};
    sigaction(number, nullptr, &action);
    return action.sa_handler == SIG_IGN;
}

sigset_t setOf(const std::initializer_list<int> &list)
{
    sigset_t set;
    sigemptyset(&set);
    for (const int number : list)
        if (!isIgnored(number))
            sigaddset(&set, number);
    return set;
}

} // namespace

Signals::Signals(Stop &theStop, Bell &theBell)
    : stop(theStop), bell(theBell), numbers(setOf({SIGINT, SIGTERM, SIGHUP, EndOfThread}))
{
    std::signal(SIGPIPE, SIG_IGN); // a connection or reader that is gone shows where something is written
    pthread_sigmask(SIG_BLOCK, &numbers, nullptr);
    thread = std::thread([this] { run(); });
}

Signals::~Signals()
{
    hasEnded = true;
    pthread_kill(thread.native_handle(), EndOfThread);
    thread.join();
}

void Signals::run()
{
    for (int number = 0; !hasEnded;)
        if (sigwait(&numbers, &number) == 0 && number != EndOfThread)
            take(number);
}

void Signals::take(int number)
{
    if (number == SIGHUP) {
        isReloadWanted = true;
    } else if (received) {
        std::signal(number, SIG_DFL);
        pthread_sigmask(SIG_UNBLOCK, &numbers, nullptr);
        std::raise(number);
    } else {
        received = number;
        stop.request();
    }
    bell.ring();
}

} // namespace fgs
