// The fake controller on TCP or a pseudo-terminal: its conduct comes from a script.
#ifndef FGS_TESTS_OWN_CONTROLLER_H
#define FGS_TESTS_OWN_CONTROLLER_H

#include "support/fake_controller.h"

#include <condition_variable>
#include <functional>
#include <mutex>
#include <QtCore/QByteArray>
#include <QtCore/QString>
#include <thread>
#include <vector>

/// What a request asks for or writes; count in bits, words or double words.
struct Block {
    int area;
    int address;
    int count;

    bool touches(int areaType, int first, int last) const
    {
        return area == areaType && address <= last && first < address + count;
    }
};

/// A request as it came.
struct Request {
    int connection; ///< 1 for the first
    int station;
    bool write;
    std::vector<Block> blocks;
    std::vector<quint32> values; ///< what is written

    bool touches(int areaType, int first, int last) const;
    bool touches(int areaType, int address) const { return touches(areaType, address, address); }
};

using Log = std::vector<Request>;

/// What the controller does about a request.
struct Reply {
    QByteArray bytes = QByteArray(); ///< none: silence
    bool carriesOut = true;          ///< a write reaches the memory
    bool hangsUp = false;            ///< closes the connection instead of going on
};

/// Called on the controller's thread with what a good controller would answer.
using Script = std::function<Reply(const Request &request, const QByteArray &good)>;

Reply obey(const Request &request, const QByteArray &good);
Reply refuse(const Request &request);
/// The answer as station would give it.
Reply answerOf(int station, QByteArray good);
/// The answer with another check code.
Reply badlyChecked(QByteArray good);
/// A sound answer to the question for count words of area at 0.
QByteArray wordsReply(int station, int area, int count);
const Reply Silence;
const Reply Ignorance = {QByteArray(), false, false};
const Reply HangUp = {QByteArray(), true, true};

/// Silent for everything that touches these addresses, and obedient otherwise.
Script silentAt(int area, int first, int last);
/// Follows another script from the nth write on, counted from 1; before it obeys.
Script fromWrite(int nth, Script script);
/// Obeys writes; reads follow the other script.
Script forReads(Script script);

class OwnController
{
public:
    enum class On { Tcp, Pty };

    explicit OwnController(Script script = obey, On on = On::Tcp);
    OwnController(const OwnController &) = delete;
    OwnController &operator=(const OwnController &) = delete;
    ~OwnController();

    /// What fgs takes for it.
    QString link() const { return address; }

    void follow(Script script);
    quint32 held(int station, int area, int address) const;
    void hold(int station, int area, int address, quint32 value);

    /// All requests that were sent until now, in their order; the writes and the reads of them.
    Log log();
    Log writes();
    Log reads();
    int connections() const;
    /// Waits until something is so of the log.
    void waitFor(const std::function<bool(const Log &)> &wanted);
    void waitForRequests(size_t count);
    void waitForConnections(int count);

    /// Sends bytes that no script sends.
    void send(const QByteArray &bytes);
    /// Ends the connection and takes no other.
    void shutDoor();
    /// Listens again on the same port.
    void openDoor();

private:
    void openPty();
    void listen();
    void closeHost();
    void run();
    bool takeOrders();
    void acceptHost();
    void readHost();
    void serve(const QByteArray &frame);
    Reply reactionTo(const QByteArray &frame);
    void write(const QByteArray &bytes);
    void onServer(std::function<void()> order);
    Log logOf(bool write);

    QString address;
    int port = 0;
    int reserved = -1; ///< keeps the port while the door is shut
    int listener = -1;
    int host = -1;
    int slave = -1; ///< held, so that the pseudo-terminal stays when fgs goes
    int wake[2];
    QByteArray received;

    mutable std::mutex mutex; ///< guards all that follows
    std::condition_variable changed;
    Script script;
    FakeController memory{unwritten::pattern};
    Log requests;
    int connectionCount = 0;
    std::vector<std::function<void()>> orders;
    bool ended = false;

    std::thread server;
};

#endif
