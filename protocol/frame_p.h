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
    explicit FrameWriter(int length) : frame(length, 0), used(0) {}

    FrameWriter &u8(int value)
    {
        if (used < int(frame.size()))
            frame.data()[used++] = static_cast<char>(value);
        return *this;
    }
    FrameWriter &le16(int value) { return u8(value).u8(value >> 8); }
    FrameWriter &be16(int value) { return u8(value >> 8).u8(value); }
    FrameWriter &be32(int value) { return be16(value >> 16).be16(value); }
    FrameWriter &bytes(const QByteArray &values)
    {
        for (int i = 0; i < int(values.size()); ++i)
            u8(values.at(i));
        return *this;
    }

    /// Ends the frame with the CRC of everything before it, low byte first, and hands it over.
    const QByteArray &sealCrc()
    {
        le16(CalCRC(start(), static_cast<unsigned short>(used)));
        return frame;
    }
    /// Ends the frame with the low byte of the sum of everything before it.
    const QByteArray &sealSum()
    {
        u8(CalSUM(start(), static_cast<unsigned short>(used)));
        return frame;
    }

private:
    unsigned char *start() { return reinterpret_cast<unsigned char *>(frame.data()); }

    QByteArray frame;
    int used;
};

/// The bytes of a reply; those that it lacks read as 0.
class ReplyView
{
public:
    explicit ReplyView(const QByteArray *reply)
        : bytes(reply ? reply->constData() : 0), length(reply ? reply->size() : 0)
    {
    }
    bool has(qint64 position) const { return position >= 0 && position < length; }
    unsigned at(qint64 position) const { return has(position) ? static_cast<unsigned char>(bytes[position]) : 0; }
    qint64 size() const { return length; }

private:
    const char *bytes;
    qint64 length;
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
