// A line in virtual time on which every byte takes its time, with the simulated controller at its end.
#ifndef TARN_TESTS_PACED_LINE_H
#define TARN_TESTS_PACED_LINE_H

#include "sim/conversation.h"
#include "support/virtual_link.h"

#include <utility>

inline fgssim::Simulation movingSimulation(bool isRemote)
{
    using namespace fgssim;
    Motion motion({1, 2}, {}, Values::Moving, 1);
    return {Controller({1, 2}, Memory(std::move(motion)), isRemote ? RemoteFraming : ControllerFraming),
            FaultChooser({}, 1),
            fgssim::Log(fgssim::Log::Level::Quiet, {}),
            {}};
}

/// The request comes to the controller now; what it has to say arrives when it is due.
inline void answerBy(fgssim::Conversation &controller, VirtualLink &link, const QByteArray &request)
{
    const auto *const bytes = reinterpret_cast<const fgssim::Byte *>(request.constData());
    controller.receive({bytes, std::size_t(request.size())}, link.clock);
    while (const auto event = controller.nextEvent()) {
        const fgssim::Bytes due = controller.takeDue(*event);
        link.arrive(*event - link.clock, QByteArray(reinterpret_cast<const char *>(due.data()), int(due.size())));
    }
}

/// The simulated controller on a line in virtual time that keeps its pace; requests come to it with their last
/// byte.
class PacedLine : public VirtualLink
{
public:
    PacedLine(Time byteTime, Time answer, bool isRemote)
        : shared(movingSimulation(isRemote)), controller(shared, timesOf(byteTime, answer))
    {
        perByte = byteTime;
        onSend = [this](const QByteArray &request) { exchange(request); };
    }

    std::vector<std::pair<QByteArray, Time>> requests;

private:
    static fgssim::LineTimes timesOf(Time byteTime, Time answer)
    {
        fgssim::LineTimes times;
        times.byteTime = byteTime;
        times.delay = answer;
        return times;
    }
    void exchange(const QByteArray &request)
    {
        requests.emplace_back(request, clock);
        answerBy(controller, *this, request);
    }

    fgssim::Simulation shared;
    fgssim::Conversation controller;
};

#endif
