// Private: writing frames, reading replies, and the two ways in which requests leave the builders. Not installed.
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

/// Writes a frame of a known length from front to back; what is not written is 0.
class FrameWriter
{
public:
    explicit FrameWriter(int length) : bytes(length, 0), at(start()), end(at + length) {}

    FrameWriter &u8(int value)
    {
        if (at != end)
            *at++ = static_cast<unsigned char>(value);
        return *this;
    }
    FrameWriter &le16(int value) { return u8(value).u8(value >> 8); }
    FrameWriter &be16(int value) { return u8(value >> 8).u8(value); }
    FrameWriter &be32(int value) { return be16(value >> 16).be16(value); }
    FrameWriter &raw(const QByteArray &values)
    {
        for (int i = 0; i < int(values.size()); ++i)
            u8(values.at(i));
        return *this;
    }

    /// Ends the frame with the CRC of everything before it, low byte first, and hands it over.
    const QByteArray &sealCrc()
    {
        le16(CalCRC(start(), written()));
        return bytes;
    }
    /// Ends the frame with the low byte of the sum of everything before it, and hands it over.
    const QByteArray &sealSum()
    {
        u8(CalSUM(start(), written()));
        return bytes;
    }

private:
    FrameWriter(const FrameWriter &);
    FrameWriter &operator=(const FrameWriter &);

    unsigned char *start() { return reinterpret_cast<unsigned char *>(bytes.data()); }
    /// The check codes count 16 bits of it. Deliberate: behaviour 154.
    unsigned short written() { return static_cast<unsigned short>(at - start()); }

    QByteArray bytes;
    unsigned char *at;
    unsigned char *const end;
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

/// What a request expects back.
struct ReplyShape {
    int length;
    int dataStart;
    int dataLen;
};

/// Appends a request for var to ProtocolList, as a job of one frame. Station 0 expects no reply.
void queueRequest(const QByteArray &frame, const RW_VAR &var, const ReplyShape &reply);

/// One read request for 1 to GroupLimit variables, as ReadRegister1() .. ReadRegister6() build it.
void readGroup(RW_VAR *const *vars, int count);

#endif
