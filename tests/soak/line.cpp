#include "line.h"

namespace soak
{

namespace
{

fgssim::Slice viewOf(const QByteArray &bytes)
{
    return fgssim::Slice(reinterpret_cast<const fgssim::Byte *>(bytes.constData()), std::size_t(bytes.size()));
}

QByteArray arrayOf(const fgssim::Bytes &bytes)
{
    return QByteArray(reinterpret_cast<const char *>(bytes.data()), int(bytes.size()));
}

} // namespace

Line::Line(const std::vector<unsigned> &stations, const std::vector<fgssim::Range> &ranges, fgssim::Values values,
           const fgssim::FaultRates &percent, std::uint64_t seed)
    : controller(stations, fgssim::Memory(fgssim::Motion(stations, ranges, values, seed))), chooser(percent, seed)
{
}

Reply Line::exchange(const QByteArray &request)
{
    fgssim::Outcome outcome = controller.handle(viewOf(request));
    rejected += outcome.kind == fgssim::Outcome::Kind::Rejected;
    if (outcome.kind != fgssim::Outcome::Kind::Answered)
        return {};
    if (dead) {
        ++silences;
        return {{}, {}, fgssim::Fault::Silence};
    }
    const std::optional<fgssim::Fault> fault = faulty ? chooser.choose() : std::nullopt;
    if (!fault)
        return {arrayOf(outcome.reply), {}, fault};
    ++faults[std::size_t(*fault)];
    return replyWith(*fault, std::move(outcome.reply));
}

Reply Line::replyWith(fgssim::Fault fault, fgssim::Bytes reply)
{
    if (fault == fgssim::Fault::Silence)
        return {{}, {}, fault};
    if (fault == fgssim::Fault::Late)
        return {{}, arrayOf(reply), fault};
    return {arrayOf(chooser.damage(fault, std::move(reply))), {}, fault};
}

QByteArray Line::ask(const QByteArray &request)
{
    return arrayOf(controller.handle(viewOf(request)).reply);
}

int codeFor(const std::optional<fgssim::Fault> &fault, int hostType)
{
    if (!fault)
        return 1;
    const int increment = hostType >= 1 && hostType <= 11 ? hostType + 1 : 1;
    switch (*fault) {
    case fgssim::Fault::Silence:
    case fgssim::Fault::Late:
        return 40 + increment;
    case fgssim::Fault::Crc:
        return 10 + increment;
    case fgssim::Fault::Short:
    case fgssim::Fault::Long:
    case fgssim::Fault::Noise:
        break;
    }
    return 70 + increment;
}

} // namespace soak
