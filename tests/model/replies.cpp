#include "replies.h"

#include <climits>
#include <utility>

namespace model
{

static Bytes withCrc(Bytes reply, size_t size)
{
    if (size < 2)
        return Bytes(reply.begin(), reply.begin() + std::ptrdiff_t(size));
    reply.resize(size - 2);
    const unsigned crc = CalCRC(reply, static_cast<Wide>(reply.size()));
    reply.push_back(lowByte(crc));
    reply.push_back(lowByte(crc >> 8));
    return reply;
}

Bytes goodReply(Random &random, const Request &request)
{
    const int size = request.replyLen;
    if (size == 3)
        return {lowByte(request.var.station), 0xFF, 0x20};
    if (size < 0 || size > 5000)
        return withCrc(anyBytes(random, 40), static_cast<size_t>(random.between(0, 40)));
    Bytes reply = anyBytes(random, size);
    for (size_t i = 0; i < 3 && i < reply.size(); ++i)
        reply[i] = request.frame[i];
    return withCrc(reply, reply.size());
}

void damage(Random &random, Bytes &reply, int &length)
{
    const int size = static_cast<int>(reply.size());
    switch (random.between(0, 10)) {
    case 0: // silence
    case 1:
        reply.clear();
        break;
    case 2: // silence, with bytes left in the array
        length = 0;
        return;
    case 3:
        if (size > 0)
            reply[static_cast<size_t>(random.between(0, size - 1))] ^= lowByte(1 << random.between(0, 7));
        break;
    case 4:
        if (size > 1)
            std::swap(reply[static_cast<size_t>(size) - 1], reply[static_cast<size_t>(size) - 2]);
        break;
    case 5: // a good frame of another length
        reply = withCrc(anyBytes(random, 60), static_cast<size_t>(random.between(0, 60)));
        break;
    case 6: // cut short, or more behind
        reply.resize(static_cast<size_t>(random.between(0, size + 5)), 0x55);
        break;
    case 7: // the array is longer than the length says
        reply.resize(static_cast<size_t>(size + random.between(1, 40)), 0xA5);
        return;
    case 8:
        reply = {0x01, 0xFF, lowByte(random.pick({0x20, 0x20, 0x21}))};
        break;
    case 9: // bytes are missing that the length counts
        reply.resize(static_cast<size_t>(random.between(0, size)));
        return;
    default: // a lie about the length
        length = random.chance(50) ? size + random.between(-4, 4) : random.pick({-1, 1, 2, 3, INT_MIN, INT_MAX});
        return;
    }
    length = static_cast<int>(reply.size());
}

} // namespace model
