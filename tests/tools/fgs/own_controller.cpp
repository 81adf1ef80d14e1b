#include "own_controller.h"

#include <arpa/inet.h>
#include <cstdlib>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>
#include <termios.h>
#include <unistd.h>

namespace
{

/// The code of an area on the wire, and the bits of one of its items.
struct Coding {
    int code;
    int bits;
};
const Coding codings[] = {{0x00, 1},  {0x01, 1},  {0x02, 1},  {0x05, 1},  {0x04, 1}, {0x08, 16}, {0x12, 16},
                          {0x11, 16}, {0x06, 16}, {0x07, 16}, {0x13, 32}, {0x03, 1}, {0x09, 16}, {0x10, 16}};
const char ReadCommand = '\xFE';
const char WriteCommand = '\xFF';

int byteAt(const QByteArray &bytes, int at)
{
    return static_cast<unsigned char>(bytes.at(at));
}

int areaOfCode(int code)
{
    int area = 0;
    while (area < 14 && codings[area].code != code)
        ++area;
    return area;
}

void addWord(QByteArray &bytes, quint32 word)
{
    bytes += char(word >> 8 & 0xFF);
    bytes += char(word & 0xFF);
}

quint32 wordAt(const QByteArray &bytes, int at)
{
    return quint32(byteAt(bytes, at) << 8 | byteAt(bytes, at + 1));
}

quint32 itemAt(const QByteArray &bytes, int at, int bits)
{
    if (bits == 1)
        return quint32(byteAt(bytes, at));
    return bits == 16 ? wordAt(bytes, at) : wordAt(bytes, at + 2) << 16 | wordAt(bytes, at);
}

QByteArray withCheck(QByteArray frame)
{
    unsigned rest = 0xFFFF;
    for (const char letter : frame) {
        rest ^= static_cast<unsigned char>(letter);
        for (int i = 0; i < 8; ++i)
            rest = rest % 2 ? rest / 2 ^ 0xA001 : rest / 2;
    }
    frame += char(rest % 256);
    frame += char(rest / 256);
    return frame;
}

/// The bytes of a request that begins so; 0: not yet known.
int lengthOf(const QByteArray &begin)
{
    if (begin.size() < 5)
        return 0;
    if (begin.at(1) == ReadCommand)
        return 4 * byteAt(begin, 2) + 5;
    const int area = areaOfCode(byteAt(begin, 3));
    const int bits = area < 14 ? codings[area].bits : 1;
    return bits == 1 ? 10 : bits / 8 * byteAt(begin, 4) + 9;
}

Block blockAt(const QByteArray &frame, int at)
{
    return {areaOfCode(byteAt(frame, at)), byteAt(frame, at + 2) | byteAt(frame, at + 3) << 8,
            byteAt(frame, at + 1)};
}

Request decoded(const QByteArray &frame, int connection)
{
    Request request = {connection, byteAt(frame, 0), frame.at(1) == WriteCommand, {}, {}};
    for (int i = 0; i < byteAt(frame, 2); ++i)
        request.blocks.push_back(blockAt(frame, 3 + 4 * i));
    if (request.write) {
        const int bits = codings[request.blocks[0].area].bits;
        for (int i = 0; i < request.blocks[0].count; ++i)
            request.values.push_back(itemAt(frame, 7 + i * bits / 8, bits));
    }
    return request;
}

/// What is held where nothing was written.
quint32 untouched(int station, int area, int address)
{
    const quint32 mixed =
        (quint32(address) * 40503u + quint32(area) * 977u + quint32(station) * 131u + 1) * 2246822519u;
    return mixed >> (32 - codings[area].bits);
}

/// A raw pseudo-terminal's controlling end.
int openMaster()
{
    const int master = ::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    EXPECT_EQ(::grantpt(master), 0);
    EXPECT_EQ(::unlockpt(master), 0);
    return master;
}

void makeRaw(int terminal)
{
    termios settings;
    ::tcgetattr(terminal, &settings);
    ::cfmakeraw(&settings);
    ::tcsetattr(terminal, TCSANOW, &settings);
}

/// A socket on a loopback port; 0 takes a free one.
int bound(int port)
{
    const int one = 1;
    const int socket = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    ::setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &one, sizeof one);
    sockaddr_in local = {};
    local.sin_family = AF_INET;
    local.sin_port = htons(quint16(port));
    local.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    EXPECT_EQ(::bind(socket, reinterpret_cast<sockaddr *>(&local), sizeof local), 0);
    return socket;
}

int portOf(int socket)
{
    sockaddr_in local = {};
    socklen_t size = sizeof local;
    ::getsockname(socket, reinterpret_cast<sockaddr *>(&local), &size);
    return ntohs(local.sin_port);
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
    return {good.size() > 3 ? withCheck(good.left(good.size() - 2)) : good};
}

Reply badlyChecked(QByteArray good)
{
    good[good.size() - 1] = char(good.at(good.size() - 1) ^ 1);
    return {good};
}

QByteArray wordsReply(int station, int area, int count)
{
    return withCheck(char(station) + QByteArray("\xFE\x01") + char(codings[area].code) + char(count) +
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
    host = openMaster();
    char name[64];
    EXPECT_EQ(::ptsname_r(host, name, sizeof name), 0);
    slave = ::open(name, O_RDWR | O_NOCTTY | O_CLOEXEC);
    makeRaw(slave);
    address = QString::fromLatin1(name);
    connectionCount = 1;
}

void OwnController::listen()
{
    if (reserved < 0)
        reserved = bound(0);
    port = portOf(reserved);
    address = QStringLiteral("tcp:127.0.0.1:%1").arg(port);
    listener = bound(port);
    EXPECT_EQ(::listen(listener, 8), 0);
}

void OwnController::follow(Script conduct)
{
    const std::lock_guard<std::mutex> lock(mutex);
    script = std::move(conduct);
}

quint32 OwnController::held(int station, int area, int place) const
{
    const std::lock_guard<std::mutex> lock(mutex);
    const auto found = memory.find(std::make_tuple(station, area, place));
    return found == memory.end() ? untouched(station, area, place) : found->second;
}

void OwnController::hold(int station, int area, int place, quint32 value)
{
    const std::lock_guard<std::mutex> lock(mutex);
    memory[std::make_tuple(station, area, place)] = value;
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
    EXPECT_EQ(withCheck(frame.left(frame.size() - 2)).toHex(), frame.toHex())
        << "a request with a wrong check code";
    const Request request = decoded(frame, connections());
    const QByteArray good = answer(request);
    const Reply reply = reaction(request, good);
    if (reply.carriesOut && request.write)
        carryOut(request);
    write(reply.bytes);
    if (reply.hangsUp)
        closeHost();
}

Reply OwnController::reaction(const Request &request, const QByteArray &good)
{
    const std::lock_guard<std::mutex> lock(mutex);
    requests.push_back(request);
    changed.notify_all();
    return request.station == 0 ? Silence : script(request, good);
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

QByteArray OwnController::answer(const Request &request) const
{
    if (request.write)
        return char(request.station) + QByteArray("\xFF\x20");
    QByteArray frame;
    frame += char(request.station);
    frame += ReadCommand;
    frame += char(request.blocks.size());
    for (const Block &block : request.blocks)
        frame += data(request.station, block);
    return withCheck(frame);
}

QByteArray OwnController::data(int station, const Block &block) const
{
    const int bits = codings[block.area].bits;
    QByteArray head;
    head += char(codings[block.area].code);
    head += char(block.count);
    QByteArray bytes(bits == 1 ? (block.count + 7) / 8 : 0, 0);
    for (int i = 0; i < block.count; ++i) {
        const quint32 value = held(station, block.area, block.address + i);
        if (bits == 1)
            bytes[i / 8] = char(byteAt(bytes, i / 8) | int(value) << i % 8);
        else
            addWord(bytes, value & 0xFFFF);
        if (bits == 32)
            addWord(bytes, value >> 16);
    }
    return head + bytes;
}

void OwnController::carryOut(const Request &request)
{
    const Block &block = request.blocks[0];
    for (int i = 0; i < block.count; ++i)
        hold(request.station, block.area, block.address + i, request.values[size_t(i)]);
}
