#include "lossy_line.h"

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

LossyLine::LossyLine(const std::vector<unsigned> &stations, const std::vector<fgssim::Range> &ranges,
                     fgssim::Values values, const fgssim::FaultRates &percent, std::uint64_t seed)
    : controller(stations, fgssim::Memory(fgssim::Motion(stations, ranges, values, seed))), chooser(percent, seed)
{
}

Reply LossyLine::exchange(const QByteArray &request)
{
    fgssim::Response response = controller.handle(viewOf(request));
    rejected += response.status == fgssim::Response::Status::Rejected;
    if (response.status != fgssim::Response::Status::Answered)
        return {};
    if (dead) {
        ++silences;
        return {{}, {}, fgssim::RandomFault::Silence};
    }
    const std::optional<fgssim::RandomFault> fault = faulty ? chooser.choose() : std::nullopt;
    if (!fault)
        return {arrayOf(response.reply), {}, fault};
    ++faults[std::size_t(*fault)];
    return replyWith(*fault, std::move(response.reply));
}

Reply LossyLine::replyWith(fgssim::RandomFault fault, fgssim::Bytes reply)
{
    if (fault == fgssim::RandomFault::Silence)
        return {{}, {}, fault};
    if (fault == fgssim::RandomFault::Late)
        return {{}, arrayOf(reply), fault};
    return {arrayOf(chooser.damage(fault, std::move(reply))), {}, fault};
}

QByteArray LossyLine::ask(const QByteArray &request)
{
    return arrayOf(controller.handle(viewOf(request)).reply);
}

int codeFor(const std::optional<fgssim::RandomFault> &fault, int hostType)
{
    if (!fault)
        return 1;
    const int increment = hostType >= 1 && hostType <= 11 ? hostType + 1 : 1;
    switch (*fault) {
    case fgssim::RandomFault::Silence:
    case fgssim::RandomFault::Late:
        return 40 + increment;
    case fgssim::RandomFault::Crc:
        return 10 + increment;
    case fgssim::RandomFault::Short:
    case fgssim::RandomFault::Long:
    case fgssim::RandomFault::Noise:
        break;
    }
    return 70 + increment;
}

} // namespace soak
