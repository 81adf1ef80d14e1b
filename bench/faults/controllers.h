// The two kinds of controller that are asked: one of this driver, one of Modbus RTU. Both answer two questions of
// one shape, 24 words each, with values that move with every request.
#ifndef BENCH_FAULTS_CONTROLLERS_H
#define BENCH_FAULTS_CONTROLLERS_H

#include "sim/exchange.h"

#include <QtCore/QByteArray>

namespace bench
{

using Values = std::vector<unsigned>;
const int Questions = 2;
const int WordsPerQuestion = 24;

struct Answer {
    int question; ///< 0 or 1
    Values values;
    fgssim::Exchange exchange;
};

class PolledController
{
public:
    virtual ~PolledController() = default;
    /// Bytes of each of the two requests.
    virtual int requestSize() const = 0;
    virtual Answer answer(const QByteArray &request) = 0;

protected:
    unsigned value(int station, int address) const;
    unsigned tick = 0;
};

/// Six blocks of four words of area 5 a question: at 100, 200 ... 600, and at 1100 ... 1600. Station 1.
class FgsController : public PolledController
{
public:
    int requestSize() const override { return 29; }
    Answer answer(const QByteArray &request) override;
};

/// 24 holding registers a question: at 0, and at 100. Station 1.
class ModbusController : public PolledController
{
public:
    int requestSize() const override { return 8; }
    Answer answer(const QByteArray &request) override;

private:
    fgssim::Bytes reply(int station, int address, int count) const;
};

} // namespace bench

#endif
