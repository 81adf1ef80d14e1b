// A link in virtual time: what a test has arrive arrives, and waiting moves the clock.
#ifndef TARN_TESTS_VIRTUAL_LINK_H
#define TARN_TESTS_VIRTUAL_LINK_H

#include "host/link.h"

#include <algorithm>
#include <cstring>
#include <functional>
#include <map>
#include <QtCore/QByteArray>
#include <vector>

class VirtualLink : public fgs::Link
{
public:
    using Time = fgs::Time;

    std::function<void(const QByteArray &request)> onSend = [](const QByteArray &) {};
    Time clock = std::chrono::seconds(1000);
    Time perByte{0};
    int refusals = 0; ///< tries to open that fail
    bool opened = true;
    bool connection = false;    ///< what isConnection() says
    std::vector<Time> openedAt; ///< the tries, with success or without
    QString lostBy = QStringLiteral("cut");

    void arrive(Time after, const QByteArray &data)
    {
        if (!data.isEmpty())
            arrivals.emplace(clock + after, data);
    }
    void cut() { opened = false; }

    bool open() override
    {
        openedAt.push_back(clock);
        if (isEnded())
            return false;
        if (refusals > 0)
            --refusals;
        else
            opened = true;
        return opened;
    }
    bool isOpen() const override { return opened; }
    QString error() const override { return lostBy; }
    bool isConnection() const override { return connection; }
    void close(const QString &why) override
    {
        opened = false;
        lostBy = why;
    }

    bool send(const char *data, int size) override
    {
        if (opened)
            onSend(QByteArray(data, size));
        return opened;
    }

    int receive(char *data, int most, Time deadline) override
    {
        if (!opened)
            return -1;
        const Time end = waitEnd(deadline);
        if (arrivals.empty() || arrivals.begin()->first > end) {
            clock = end;
            return 0;
        }
        const auto first = arrivals.extract(arrivals.begin());
        clock = std::max(clock, first.key());
        const int size = std::min(most, int(first.mapped().size()));
        std::memcpy(data, first.mapped().constData(), std::size_t(size));
        if (size < first.mapped().size())
            arrivals.emplace_hint(arrivals.begin(), first.key(), first.mapped().mid(size));
        return size;
    }

    Time now() const override { return clock; }
    void pauseUntil(Time time) override { clock = waitEnd(time); }
    Time byteTime() const override { return perByte; }

private:
    /// When a wait until the deadline ends.
    Time waitEnd(Time deadline) const { return isEnded() ? clock : std::max(clock, std::min(deadline, endTime)); }

    std::multimap<Time, QByteArray> arrivals;
};

#endif
