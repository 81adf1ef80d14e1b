// A link in virtual time with a controller at its end, which keeps what was sent.
#ifndef TARN_TESTS_FAKE_LINK_H
#define TARN_TESTS_FAKE_LINK_H

#include "host/statistics.h"
#include "support/fake_controller.h"
#include "support/fixture.h"
#include "support/frames.h"
#include "support/virtual_link.h"

#include <stdexcept>

namespace fgs
{

inline void PrintTo(Outcome outcome, std::ostream *out)
{
    *out << nameOf(outcome);
}

} // namespace fgs

class FakeLink : public VirtualLink
{
public:
    /// Answers after 5 ms, until a test sets onSend.
    FakeLink()
    {
        onSend = [this](const QByteArray &request) { answer(request); };
    }

    FakeController controller{unwritten::pattern};
    std::vector<QByteArray> sent;
    std::vector<Time> sentAt;

    void answer(const QByteArray &request, Time after = std::chrono::milliseconds(5))
    {
        arrive(after, controller.answer(request));
    }

    bool send(const char *data, int size) override
    {
        if (isOpen()) {
            sent.push_back(QByteArray(data, size));
            sentAt.push_back(clock);
        }
        return VirtualLink::send(data, size);
    }
    int receive(char *data, int most, Time deadline) override
    {
        guard();
        return VirtualLink::receive(data, most, deadline);
    }
    void pauseUntil(Time time) override
    {
        guard();
        VirtualLink::pauseUntil(time);
    }

private:
    /// A loop that never ends in real time fails the test instead.
    void guard()
    {
        if (++calls > 2000000)
            throw std::runtime_error("the host asks without end");
    }

    int calls = 0;
};

#endif
