#include "signals.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QSocketNotifier>

#include <csignal>
#include <fcntl.h>
#include <unistd.h>

namespace fgssim
{

namespace
{

int wakeUp[2]; // a pipe: a signal handler may write into it, but not use Qt

void onSignal(int)
{
    [[maybe_unused]] const ssize_t written = ::write(wakeUp[1], "", 1);
}

} // namespace

void quitOnSignals()
{
    std::signal(SIGPIPE, SIG_IGN); // a log that nobody reads any more is no reason to end
    if (::pipe2(wakeUp, O_CLOEXEC | O_NONBLOCK) != 0)
        return;
    auto *notifier = new QSocketNotifier(wakeUp[0], QSocketNotifier::Read, QCoreApplication::instance());
    QObject::connect(notifier, &QSocketNotifier::activated, QCoreApplication::instance(), &QCoreApplication::quit);
    std::signal(SIGINT, onSignal);
    std::signal(SIGTERM, onSignal);
}

} // namespace fgssim
