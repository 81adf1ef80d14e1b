// The writes on a fake link, one of which the test handles itself.
#ifndef TARN_TESTS_HANDLED_WRITES_H
#define TARN_TESTS_HANDLED_WRITES_H

#include "support/fake_link.h"

#include <algorithm>
#include <functional>

class HandledWrites
{
public:
    explicit HandledWrites(FakeLink &theLink) : link(theLink) {}

    /// Handles the nth write, counted from 1 without repetitions, as the test says, and all others well.
    void handle(int nth, const std::function<void(const QByteArray &)> &handler)
    {
        link.onSend = [this, nth, handler](const QByteArray &request) {
            if (isWrite(request) && (known.empty() || known.back() != request))
                known.push_back(request);
            if (isWrite(request) && int(known.size()) == nth)
                handler(request);
            else
                link.answer(request);
        };
    }
    /// With repetitions.
    int sent() const { return int(std::count_if(link.sent.begin(), link.sent.end(), isWrite)); }

private:
    static bool isWrite(const QByteArray &request) { return request.at(1) == char(0xFF); }

    FakeLink &link;
    std::vector<QByteArray> known;
};

#endif
