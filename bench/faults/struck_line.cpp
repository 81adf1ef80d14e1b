#include "struck_line.h"

#include "support/pseudo_terminal.h"

#include <poll.h>
#include <unistd.h>
#include <utility>

namespace bench
{

using fgssim::Time;
using namespace std::chrono_literals;

namespace
{

Time now()
{
    return std::chrono::steady_clock::now().time_since_epoch();
}

} // namespace

StruckLine::StruckLine(std::unique_ptr<PolledController> at, Time clientLimit)
    : controller(std::move(at)), limit(clientLimit)
{
    std::string path;
    master = openPseudoTerminal(path);
    ::fcntl(master, F_SETFL, O_NONBLOCK);
    name = QString::fromStdString(path);
    slave = openRaw(path); // stays open, so that the client may come late
    thread = std::thread([this] { serve(); });
}

StruckLine::~StruckLine()
{
    ends = true;
    thread.join();
    ::close(slave);
    ::close(master);
}

void StruckLine::arm(const fgssim::LineFault &fault, int strike, int strikes)
{
    const std::lock_guard<std::mutex> lock(mutex);
    armed = &fault;
    armedStrike = strike;
    armedStrikes = strikes;
}

bool StruckLine::wasSent(int of, const Values &values)
{
    const std::lock_guard<std::mutex> lock(mutex);
    return sent[of].count(values) != 0;
}

int StruckLine::lastQuestion()
{
    const std::lock_guard<std::mutex> lock(mutex);
    return question;
}

void StruckLine::serve()
{
    QByteArray received;
    while (!ends) {
        pollfd wanted = {master, POLLIN, 0};
        if (::poll(&wanted, 1, millisecondsToNext()) > 0) {
            char chunk[512];
            const ssize_t count = ::read(master, chunk, sizeof chunk);
            if (count > 0)
                received.append(chunk, int(count));
        }
        for (; received.size() >= controller->requestSize(); received.remove(0, controller->requestSize()))
            handle(received.left(controller->requestSize()));
        sendDue();
    }
}

int StruckLine::millisecondsToNext() const
{
    const Time most = 5ms; // then it looks whether it is to end
    const Time wait = due.empty() ? most : std::min(most, std::max(Time(0), due.begin()->first - now()));
    return int((wait + 999us) / 1ms);
}

void StruckLine::handle(const QByteArray &request)
{
    const Time start = now();
    for (const fgssim::Arrival &arrival : std::exchange(held, {}))
        due.emplace(start + arrival.after, arrival.bytes);
    Answer answer = controller->answer(request);
    answer.exchange.limit = limit;
    fgssim::Delivery delivery = {{fgssim::ReplyDelay, answer.exchange.reply}};
    const std::lock_guard<std::mutex> lock(mutex);
    if (const fgssim::LineFault *const fault = std::exchange(armed, nullptr)) {
        const int places = fault->places(answer.exchange);
        delivery = fault->deliver(answer.exchange, armedStrike * (places - 1) / (armedStrikes - 1));
    }
    question = answer.question;
    sent[question].insert(answer.values);
    schedule(delivery);
}

void StruckLine::schedule(const fgssim::Delivery &delivery)
{
    const Time start = now();
    for (const fgssim::Arrival &arrival : delivery)
        if (arrival.withNextRequest)
            held.push_back(arrival);
        else
            due.emplace(start + arrival.after, arrival.bytes);
}

void StruckLine::sendDue()
{
    while (!due.empty() && due.begin()->first <= now()) {
        send(due.begin()->second);
        due.erase(due.begin());
    }
}

/// What a client does not read is lost after a while, as it is on a line.
void StruckLine::send(const fgssim::Bytes &bytes)
{
    const Time deadline = now() + 200ms;
    for (std::size_t done = 0; done < bytes.size() && now() < deadline && !ends;) {
        const ssize_t count = ::write(master, bytes.data() + done, bytes.size() - done);
        if (count > 0)
            done += std::size_t(count);
        else
            std::this_thread::sleep_for(1ms);
    }
}

} // namespace bench
