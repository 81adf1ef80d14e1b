#include "own_controller.h"

#include "support/loopback.h"
#include "support/pseudo_terminal.h"

#include <gtest/gtest.h>
#include <poll.h>
#include <unistd.h>

namespace
{

using frames::byteAt;

const char ReadCommand = '\xFE';
const char WriteCommand = '\xFF';

/// The bytes of a request that begins so; 0: not yet known.
int lengthOf(const QByteArray &begin)
{
    if (begin.size() < 5)
        return 0;
    if (begin.at(1) == ReadCommand)
        return 4 * int(byteAt(begin, 2)) + 5;
    const int bits = frames::bitsOf(byteAt(begin, 3));
    return bits == 1 ? 10 : bits / 8 * int(byteAt(begin, 4)) + 9;
}

Block blockAt(const QByteArray &frame, int at)
{
    return {frames::areaTypeOf(byteAt(frame, at)), int(byteAt(frame, at + 2) | byteAt(frame, at + 3) << 8),
            int(byteAt(frame, at + 1))};
}

Request decoded(const QByteArray &frame, int connection)
{
    Request request = {connection, int(byteAt(frame, 0)), frame.at(1) == WriteCommand, {}, {}};
    for (int i = 0; i < int(byteAt(frame, 2)); ++i)
        request.blocks.push_back(blockAt(frame, 3 + 4 * i));
    for (int i = 0; request.write && i < request.blocks[0].count; ++i)
        request.values.push_back(frames::writtenItem(frame, i));
    return request;
}

void shut(int &descriptor)
{
    if (descriptor >= 0)
        ::close(descriptor);
    descriptor = -1;
}

} // namespace

bool Request::touches(int areaType, int first, int last) const
{
    for (const Block &block : blocks)
        if (block.touches(areaType, first, last))
            return true;
    return false;
}

Reply obey(const Request &, const QByteArray &good)
{
    return {good};
}

Reply refuse(const Request &request)
{
    return {char(request.station) + QByteArray("\xFF\x21"), false, false};
}

Reply answerOf(int station, QByteArray good)
{
    good[0] = char(station);
    return {good.size() > 3 ? frames::sealed(good.left(good.size() - 2)) : good};
}

Reply badlyChecked(QByteArray good)
{
    good[good.size() - 1] = char(good.at(good.size() - 1) ^ 1);
    return {good};
}

QByteArray wordsReply(int station, int area, int count)
{
    return frames::sealed(char(station) + QByteArray("\xFE\x01") + char(frames::area(area).readCode) + char(count) +
                          QByteArray(2 * count, 0));
}

Script silentAt(int area, int first, int last)
{
    return [=](const Request &request, const QByteArray &good) {
        return request.touches(area, first, last) ? Silence : Reply{good};
    };
}

Script fromWrite(int nth, Script script)
{
    return [nth, script, seen = 0](const Request &request, const QByteArray &good) mutable {
        seen += request.write;
        return seen >= nth ? script(request, good) : Reply{good};
    };
}

Script forReads(Script script)
{
    return [script](const Request &request, const QByteArray &good) {
        return request.write ? Reply{good} : script(request, good);
    };
}

OwnController::OwnController(Script conduct, On on) : script(std::move(conduct))
{
    EXPECT_EQ(::pipe2(wake, O_CLOEXEC), 0);
    if (on == On::Pty)
        openPty();
    else
        listen();
    server = std::thread([this] { run(); });
}

OwnController::~OwnController()
{
    onServer([this] { ended = true; });
    server.join();
    for (int *descriptor : {&host, &slave, &listener, &reserved, &wake[0], &wake[1]})
        shut(*descriptor);
}

void OwnController::openPty()
{
    std::string path;
    host = openPseudoTerminal(path);
    slave = openRaw(path);
    address = QString::fromStdString(path);
    connectionCount = 1;
}

void OwnController::listen()
{
    if (reserved < 0)
        reserved = boundToLoopback(0);
    port = portOf(reserved);
    address = QStringLiteral("tcp:127.0.0.1:%1").arg(port);
    listener = listenOnLoopback(port, 8);
}

void OwnController::follow(Script conduct)
{
    const std::lock_guard<std::mutex> lock(mutex);
    script = std::move(conduct);
}

quint32 OwnController::held(int station, int area, int place) const
{
    const std::lock_guard<std::mutex> lock(mutex);
    return memory.at(station, frames::area(area).readCode, place);
}

void OwnController::hold(int station, int area, int place, quint32 value)
{
    const std::lock_guard<std::mutex> lock(mutex);
    memory.at(station, frames::area(area).readCode, place) = value;
}

Log OwnController::log()
{
    onServer([] {});
    const std::lock_guard<std::mutex> lock(mutex);
    return requests;
}

Log OwnController::logOf(bool write)
{
    Log wanted;
    for (const Request &request : log())
        if (request.write == write)
            wanted.push_back(request);
    return wanted;
}

Log OwnController::writes()
{
    return logOf(true);
}

Log OwnController::reads()
{
    return logOf(false);
}

int OwnController::connections() const
{
    const std::lock_guard<std::mutex> lock(mutex);
    return connectionCount;
}

void OwnController::waitFor(const std::function<bool(const Log &)> &wanted)
{
    std::unique_lock<std::mutex> lock(mutex);
    changed.wait(lock, [&] { return wanted(requests); });
}

void OwnController::waitForRequests(size_t count)
{
    waitFor([count](const Log &log) { return log.size() >= count; });
}

void OwnController::waitForConnections(int count)
{
    std::unique_lock<std::mutex> lock(mutex);
    changed.wait(lock, [&] { return connectionCount >= count; });
}

void OwnController::send(const QByteArray &bytes)
{
    onServer([this, bytes] { write(bytes); });
}

void OwnController::shutDoor()
{
    onServer([this] {
        shut(listener);
        closeHost(); // the slave keeps a pseudo-terminal's number from going to another test, whose line fgs would
                     // open
    });
}

void OwnController::openDoor()
{
    onServer([this] { listen(); });
}

/// Has the server's thread do something when all that came is dealt with, and waits until it is done.
void OwnController::onServer(std::function<void()> order)
{
    std::unique_lock<std::mutex> lock(mutex);
    bool done = false;
    orders.push_back([&] {
        order();
        done = true;
    });
    EXPECT_EQ(::write(wake[1], "", 1), 1);
    changed.wait(lock, [&] { return done; });
}

void OwnController::run()
{
    for (bool going = true; going;) {
        pollfd waited[] = {{wake[0], POLLIN, 0}, {listener, POLLIN, 0}, {host, POLLIN, 0}};
        ::poll(waited, 3, -1);
        if (waited[2].revents)
            readHost();
        if (waited[1].revents)
            acceptHost();
        if (!waited[2].revents && !waited[1].revents)
            going = takeOrders();
    }
}

bool OwnController::takeOrders()
{
    char letter;
    EXPECT_EQ(::read(wake[0], &letter, 1), 1);
    const std::lock_guard<std::mutex> lock(mutex);
    for (const auto &order : orders)
        order();
    orders.clear();
    changed.notify_all();
    return !ended;
}

void OwnController::acceptHost()
{
    closeHost();
    host = ::accept4(listener, nullptr, nullptr, SOCK_CLOEXEC);
    const std::lock_guard<std::mutex> lock(mutex);
    ++connectionCount;
    changed.notify_all();
}

void OwnController::closeHost()
{
    shut(host);
    received.clear();
}

void OwnController::readHost()
{
    char buffer[4096];
    const ssize_t count = ::read(host, buffer, sizeof buffer);
    if (count <= 0)
        return closeHost();
    received.append(buffer, int(count));
    for (int length; (length = lengthOf(received)) > 0 && received.size() >= length;) {
        const QByteArray frame = received.left(length);
        received.remove(0, length);
        serve(frame);
    }
}

void OwnController::serve(const QByteArray &frame)
{
    EXPECT_TRUE(frames::isSealed(frame)) << "a request with a wrong check code: " << frame.toHex(' ').toStdString();
    const Reply reply = reactionTo(frame);
    write(reply.bytes);
    if (reply.hangsUp)
        closeHost();
}

Reply OwnController::reactionTo(const QByteArray &frame)
{
    const std::lock_guard<std::mutex> lock(mutex);
    const Request request = decoded(frame, connectionCount);
    requests.push_back(request);
    changed.notify_all();
    const Reply reply = request.station == 0 ? Silence : script(request, memory.replyTo(frame));
    if (reply.carriesOut && request.write)
        memory.carryOut(frame);
    return reply;
}

void OwnController::write(const QByteArray &bytes)
{
    for (int sent = 0; host >= 0 && sent < bytes.size();) {
        const ssize_t count = ::write(host, bytes.constData() + sent, size_t(bytes.size() - sent));
        if (count < 0)
            return closeHost();
        sent += int(count);
    }
}
