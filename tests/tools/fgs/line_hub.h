// Pseudo-terminals on one line, where speeds matter as on a real one.
#ifndef FGS_TESTS_LINE_HUB_H
#define FGS_TESTS_LINE_HUB_H

#include "support/fake_controller.h"
#include "support/pseudo_terminal.h"

#include <atomic>
#include <gtest/gtest.h>
#include <memory>
#include <poll.h>
#include <QtCore/QString>
#include <set>
#include <thread>
#include <unistd.h>
#include <vector>

/// What one end sends reaches the others that have set the same speed; those with another one get as many zeros.
/// The stations have a speed too, and answer what comes at it.
class LineHub
{
public:
    struct Conduct {
        speed_t speed = B19200;
        std::set<int> stations = {1};
        bool echoes = false; ///< who sends gets it back
        bool isNoisy = false;
    };

    LineHub(int ends, const Conduct &theConduct) : conduct(theConduct), taken(std::size_t(ends))
    {
        for (int i = 0; i < ends; ++i) {
            std::string path;
            masters.push_back(openPseudoTerminal(path));
            slaves.push_back(openRaw(path)); // so that programs may come and go
            paths.push_back(path);
            ::fcntl(masters.back(), F_SETFL, O_NONBLOCK);
        }
        EXPECT_EQ(::pipe2(wake, O_CLOEXEC), 0);
        line = std::thread([this] { run(); });
    }
    ~LineHub()
    {
        EXPECT_EQ(::write(wake[1], "", 1), 1);
        line.join();
        for (const std::vector<int> &list : {masters, slaves, {wake[0], wake[1]}})
            for (const int descriptor : list)
                ::close(descriptor);
    }
    LineHub(const LineHub &) = delete;
    LineHub &operator=(const LineHub &) = delete;

    QString path(int end) const { return QString::fromStdString(paths[std::size_t(end)]); }
    int slave(int end) const { return slaves[std::size_t(end)]; }
    /// How many bytes this end has sent.
    int bytesFrom(int end) const { return taken[std::size_t(end)]; }
    speed_t speedAt(int end) const
    {
        termios settings{};
        ::tcgetattr(masters[std::size_t(end)], &settings);
        return ::cfgetospeed(&settings);
    }

private:
    void run()
    {
        std::vector<pollfd> waited(1, {wake[0], POLLIN, 0});
        for (const int master : masters)
            waited.push_back({master, POLLIN, 0});
        for (;;) {
            ::poll(waited.data(), nfds_t(waited.size()), conduct.isNoisy ? 1 : -1);
            if (waited[0].revents)
                return;
            if (conduct.isNoisy)
                put(QByteArray("\xA5"), conduct.speed, -1);
            for (std::size_t i = 0; i < masters.size(); ++i)
                if (waited[i + 1].revents)
                    take(int(i));
        }
    }

    void take(int end)
    {
        char bytes[1024];
        const ssize_t size = ::read(masters[std::size_t(end)], bytes, sizeof bytes);
        if (size <= 0)
            return;
        taken[std::size_t(end)] += int(size);
        const QByteArray sent(bytes, int(size));
        const speed_t speed = speedAt(end);
        put(sent, speed, conduct.echoes ? -1 : end);
        if (speed == conduct.speed)
            answer(sent);
    }

    /// A host sends each question whole.
    void answer(const QByteArray &question)
    {
        if (conduct.stations.count(int(frames::byteAt(question, 0))))
            put(controller.answer(question), conduct.speed, -1);
    }

    void put(const QByteArray &bytes, speed_t speed, int sender) const
    {
        for (int end = 0; end < int(masters.size()); ++end) {
            if (end == sender)
                continue;
            const QByteArray heard = speedAt(end) == speed ? bytes : QByteArray(bytes.size(), 0);
            if (::write(masters[std::size_t(end)], heard.constData(), std::size_t(heard.size())) < 0)
                continue; // nobody reads there
        }
    }

    const Conduct conduct;
    FakeController controller{unwritten::pattern};
    std::vector<int> masters, slaves;
    std::vector<std::string> paths;
    std::vector<std::atomic<int>> taken;
    int wake[2];
    std::thread line;
};

#endif
