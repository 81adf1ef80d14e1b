// Private: writing frames, reading replies. Not installed.
#ifndef TARN_FRAME_P_H
#define TARN_FRAME_P_H

#include "driver/tarn_fgsseries_p.h"

const int ReadCommand = 0xFE;
const int WriteCommand = 0xFF;
const int WriteAcknowledge = 0x20;
const int AcknowledgeLength = 3; ///< station, WriteCommand, WriteAcknowledge; no check code

const int CrcLength = 2;
const int HeadLength = 3;      ///< station, command, number of entries
const int EntryLength = 4;     ///< area code, count, address
const int ReplyHeadLength = 2; ///< area code and count, before the data of each entry of a reply
const int FirstData = HeadLength + ReplyHeadLength;

const int GroupLimit = 6; ///< most variables in one read request

constexpr int readLength(int variables)
{
    return HeadLength + variables * EntryLength + CrcLength;
}

/// Copies whole words between the wire, high byte first, and a byte string: the two bytes of each change places.
void copyWords(void *to, const void *from, int words);

/// Copies elements of 1, 2 or 4 bytes from the wire. Double words come low word first.
inline void copyElements(void *to, const void *from, int count, int width)
{
    if (width == 1)
        memcpy(to, from, size_t(count));
    else
        copyWords(to, from, count * (width / 2));
}

/// An entry of a frame as it stands in memory: area code, count, address low byte first.
inline quint32 entryBytes(int code, quint32 count, int address)
{
    return quint32(address) << 16 | (count & 0xFF) << 8 | quint8(code);
}

/// Makes the frame of a request so long; all of its bytes are still to be written.
unsigned char *newFrame(Protocol &request, int length);

/// Writes the frame of a request from front to back; all of its length has to be written.
class FrameWriter
{
public:
    FrameWriter(Protocol &request, int length) : start(newFrame(request, length)), at(start) {}

    FrameWriter &u8(int value)
    {
        *at++ = static_cast<unsigned char>(value);
        return *this;
    }
    FrameWriter &le16(int value) { return u8(value).u8(value >> 8); }
    FrameWriter &be16(int value) { return u8(value >> 8).u8(value); }
    FrameWriter &be32(int value) { return be16(value >> 16).be16(value); }
    FrameWriter &entry(quint32 bytes)
    {
        memcpy(at, &bytes, EntryLength);
        at += EntryLength;
        return *this;
    }
    FrameWriter &raw(const QByteArray &values)
    {
        memcpy(at, values.constData(), size_t(values.size()));
        at += values.size();
        return *this;
    }
    /// Words low byte first, as they stand in the records.
    FrameWriter &words(const char *values, int count)
    {
        copyWords(at, values, count);
        at += 2 * ptrdiff_t(count);
        return *this;
    }
    FrameWriter &zeros(int count)
    {
        memset(at, 0, size_t(count));
        at += count;
        return *this;
    }

    /// Ends the frame with the CRC of everything before it, low byte first.
    void sealCrc() { le16(CalCRC(start, written())); }
    /// Ends the frame with the low byte of the sum of everything before it.
    void sealSum() { u8(CalSUM(start, written())); }

private:
    FrameWriter(const FrameWriter &);
    FrameWriter &operator=(const FrameWriter &);

    /// The check codes count 16 bits of it. Deliberate: behaviour 154.
    unsigned short written() const { return static_cast<unsigned short>(at - start); }

    unsigned char *const start;
    unsigned char *at;
};

/// The bytes of a reply. What lies outside is not there, and is never read.
struct ReplyView {
    explicit ReplyView(const QByteArray *reply)
        : bytes(reply ? reinterpret_cast<const unsigned char *>(reply->constData()) : 0),
          size(reply ? reply->size() : 0)
    {
    }
    bool holds(qint64 position, int count) const { return position >= 0 && position + count <= size; }

    const unsigned char *bytes;
    qint64 size;
};

#endif
