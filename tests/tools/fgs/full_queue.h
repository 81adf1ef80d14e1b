// An address on the loopback that swallows every attempt to connect.
#ifndef FGS_TESTS_FULL_QUEUE_H
#define FGS_TESTS_FULL_QUEUE_H

#include "support/loopback.h"

#include <fstream>
#include <QtCore/QString>
#include <string>
#include <unistd.h>
#include <vector>

/// A listening socket whose queue is full.
class FullQueue
{
public:
    FullQueue() : listener(listenOnLoopback(0, 0)), port(portOf(listener))
    {
        for (int i = 0; i < 3; ++i)
            callers.push_back(callLoopback(port, SOCK_NONBLOCK));
        while (attempts() == 0)
            ::usleep(1000);
        own = attempts();
    }
    ~FullQueue()
    {
        for (int caller : callers)
            ::close(caller);
        ::close(listener);
    }

    QString link() const { return QStringLiteral("tcp:127.0.0.1:%1").arg(port); }
    /// Waits until somebody else tries to connect.
    void waitForCaller() const
    {
        while (attempts() <= own)
            ::usleep(1000);
    }

private:
    /// The connections to the port that have sent a SYN and got no answer.
    int attempts() const
    {
        const QString wanted = QStringLiteral(" 0100007F:%1 02 ").arg(port, 4, 16, QLatin1Char('0')).toUpper();
        std::ifstream table("/proc/net/tcp");
        int count = 0;
        for (std::string line; std::getline(table, line);)
            count += line.find(wanted.toStdString()) != std::string::npos;
        return count;
    }

    int listener;
    int port;
    std::vector<int> callers;
    int own;
};

#endif
