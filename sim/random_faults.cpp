#include "random_faults.h"

namespace fgssim
{

namespace
{

const std::uint64_t RandomStream = 3;
const std::size_t MaxStrayBytes = 8;
const std::uint64_t DrawsPerPercent = 1000000;
const std::size_t AcknowledgementLength = 3;

} // namespace

const std::array<const char *, FaultKinds> FaultNames = {"silence", "late", "crc", "short", "long", "noise"};

FaultChooser::FaultChooser(const FaultRates &percent, std::uint64_t seed)
    : rates(percent), random(seed, RandomStream)
{
}

std::optional<RandomFault> FaultChooser::choose()
{
    double drawn = double(random.below(100 * DrawsPerPercent)) / double(DrawsPerPercent);
    for (std::size_t kind = 0; kind < FaultKinds; ++kind) {
        if (drawn < rates[kind])
            return RandomFault(kind);
        drawn -= rates[kind];
    }
    return std::nullopt;
}

Bytes FaultChooser::damage(RandomFault fault, Bytes reply)
{
    const Bytes stray = someBytes();
    switch (fault) {
    case RandomFault::Silence:
    case RandomFault::Late:
        break;
    case RandomFault::Crc:
        return withWrongBit(std::move(reply));
    case RandomFault::Short:
        reply.resize(1 + random.below(reply.size() - 1));
        break;
    case RandomFault::Long:
        reply.insert(reply.end(), stray.begin(), stray.end());
        break;
    case RandomFault::Noise:
        reply.insert(reply.begin(), stray.begin(), stray.end());
        break;
    }
    return reply;
}

// The station of an acknowledgement is covered by no check, so it stays.
Bytes FaultChooser::withWrongBit(Bytes reply)
{
    const std::size_t first = reply.size() == AcknowledgementLength ? 1 : 0;
    const std::size_t at = first + random.below(reply.size() - first);
    reply[at] = Byte(reply[at] ^ 1u << random.below(8));
    return reply;
}

Bytes FaultChooser::someBytes()
{
    Bytes bytes(1 + random.below(MaxStrayBytes));
    for (Byte &byte : bytes)
        byte = Byte(random.below(256));
    return bytes;
}

} // namespace fgssim
