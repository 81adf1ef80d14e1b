// A controller at the end of a pseudo-terminal, on a thread of its own, whose next reply gets a fault if one is
// armed.
#ifndef BENCH_FAULTS_STRUCK_LINE_H
#define BENCH_FAULTS_STRUCK_LINE_H

#include "controllers.h"
#include "sim/line_faults.h"

#include <atomic>
#include <map>
#include <memory>
#include <mutex>
#include <QtCore/QString>
#include <set>
#include <thread>

namespace bench
{

class StruckLine
{
public:
    /// Throws std::runtime_error if there is no pseudo-terminal.
    StruckLine(std::unique_ptr<PolledController> at, fgssim::Time clientLimit);
    ~StruckLine();
    StruckLine(const StruckLine &) = delete;
    StruckLine &operator=(const StruckLine &) = delete;

    /// What a client opens.
    const QString &path() const { return name; }

    /// Any thread. The reply to the next request gets the fault, at its first place with strike 0, at its last with
    /// the last of the strikes, of which there are at least two.
    void arm(const fgssim::LineFault &fault, int strike, int strikes);
    /// Whether a reply to the question brought these values. Any thread.
    bool wasSent(int question, const Values &values);
    /// Of the last request. Any thread.
    int lastQuestion();

private:
    void serve();
    void handle(const QByteArray &request);
    void schedule(const fgssim::Delivery &delivery);
    void send(const fgssim::Bytes &bytes);
    void sendDue();
    int millisecondsToNext() const;

    std::unique_ptr<PolledController> controller;
    const fgssim::Time limit;
    int master = -1, slave = -1;
    QString name;
    std::multimap<fgssim::Time, fgssim::Bytes> due;
    fgssim::Delivery held;

    std::mutex mutex; ///< guards what follows
    const fgssim::LineFault *armed = nullptr;
    int armedStrike = 0, armedStrikes = 2;
    int question = 0;
    std::set<Values> sent[Questions];

    std::atomic<bool> ends{false};
    std::thread thread;
};

} // namespace bench

#endif
