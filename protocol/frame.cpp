// Words of the wire, and room for frames.
#include "protocol/frame_p.h"

// Several words at once save 8 to 20 % of a poll on the panel, against one by one.
void copyWords(void *to, const void *from, int words)
{
    typedef size_t Several __attribute__((vector_size(16)));
    unsigned char *const out = static_cast<unsigned char *>(to);
    const unsigned char *const in = static_cast<const unsigned char *>(from);
    const size_t size = 2 * size_t(qMax(words, 0));
    const size_t oddBytes = static_cast<size_t>(-1) / 0xFFFF * 0xFF; // 0x00FF00FF..
    size_t at = 0;
    for (Several several; at + sizeof several <= size; at += sizeof several) {
        memcpy(&several, in + at, sizeof several);
        several = ((several & oddBytes) << 8) | ((several >> 8) & oddBytes);
        memcpy(out + at, &several, sizeof several);
    }
    for (; at < size; at += 2) {
        const unsigned char high = in[at];
        out[at] = in[at + 1];
        out[at + 1] = high;
    }
}

unsigned char *newFrame(Protocol &request, int length)
{
    QByteArray &frame = request.frame;
    request.frameLen = length;
    if (!frame.isDetached()) // the host has kept the last one
        frame = QByteArray();
    if (frame.size() != length) {
        frame.reserve(qMax(length, readLength(GroupLimit)));
        frame.resize(length);
    }
    return reinterpret_cast<unsigned char *>(frame.data());
}
