// A second encoder of the controller's and the remote frames, for expectations. It shares nothing with the driver.
#ifndef TARN_TESTS_FRAMES_H
#define TARN_TESTS_FRAMES_H

#include "support/wire.h"
#include "tarn_fgsseries.h"

#include <vector>

namespace frames
{

/// The frame and the low byte of the sum of its bytes.
inline QByteArray summed(QByteArray frame)
{
    unsigned sum = 0;
    for (int i = 0; i < int(frame.size()); ++i)
        sum += static_cast<unsigned char>(frame.at(i));
    put8(frame, sum);
    return frame;
}

/// One entry of a read: length as the variable has it.
struct Block {
    int areaType;
    int address;
    int length;
};

inline int countByte(const Block &block)
{
    const long long length = block.length;
    switch (area(block.areaType).kind) {
    case Kind::Bits:
        return int((length * 8) & 0xFF);
    case Kind::Words:
        return int(length & 0xFF);
    case Kind::DoubleWords:
        return int((length - 1) & 0xFF);
    default:
        return 0;
    }
}

inline int dataBytes(const Block &block)
{
    switch (area(block.areaType).kind) {
    case Kind::Bits:
        return block.length;
    case Kind::Words:
        return 2 * block.length;
    case Kind::DoubleWords:
        return 4 * (block.length - 1);
    default:
        return 0;
    }
}

inline QByteArray readRequest(int station, const std::vector<Block> &blocks)
{
    QByteArray frame;
    put8(frame, station);
    put8(frame, 0xFE);
    put8(frame, static_cast<long long>(blocks.size()));
    for (const Block &block : blocks) {
        put8(frame, area(block.areaType).readCode);
        put8(frame, countByte(block));
        put16LowFirst(frame, block.address);
    }
    return sealed(frame);
}

/// data: the bytes of each block, as they stand on the wire.
inline QByteArray readReply(int station, const std::vector<Block> &blocks, const std::vector<QByteArray> &data)
{
    QByteArray frame;
    put8(frame, station);
    put8(frame, 0xFE);
    put8(frame, static_cast<long long>(blocks.size()));
    for (size_t i = 0; i < blocks.size(); ++i) {
        put8(frame, area(blocks[i].areaType).readCode);
        put8(frame, countByte(blocks[i]));
        frame += data.at(i);
    }
    return sealed(frame);
}

inline int readReplyLength(const std::vector<Block> &blocks)
{
    int length = 5;
    for (const Block &block : blocks)
        length += 2 + dataBytes(block);
    return length;
}

/// A write of words, double words or one bit, as the area has it; data little-endian, as the host gives it. What
/// data lacks goes as 0.
inline QByteArray writeRequest(int station, const Block &block, const QByteArray &data)
{
    const auto at = [&data](int i) { return i < int(data.size()) ? static_cast<unsigned char>(data.at(i)) : 0; };
    const Area coding = area(block.areaType);
    const int doubles = (block.length + 1) / 2;
    QByteArray frame;
    put8(frame, station);
    put8(frame, 0xFF);
    put8(frame, 1);
    put8(frame, coding.writeCode);
    put8(frame, coding.kind == Kind::DoubleWords ? doubles : block.length);
    put16LowFirst(frame, block.address);
    if (coding.kind == Kind::Bits)
        put8(frame, at(0) == 1 ? 1 : 0);
    for (int i = 0; coding.kind == Kind::Words && i < block.length; ++i) {
        const bool whole = int(data.size()) > 2 * i + 1;
        put8(frame, whole ? at(2 * i + 1) : 0);
        put8(frame, whole ? at(2 * i) : 0);
    }
    for (int i = 0; coding.kind == Kind::DoubleWords && i < doubles; ++i) {
        const bool whole = int(data.size()) > 4 * i + 3;
        for (int from : {1, 0, 3, 2})
            put8(frame, whole ? at(4 * i + from) : 0);
    }
    return sealed(frame);
}

/// A remote frame: a read, or with data a write.
inline QByteArray remoteRequest(const RW_VAR &var, const QByteArray &data = QByteArray())
{
    QByteArray frame;
    put8(frame, 22 + data.size());
    put8(frame, var.hostType);
    put8(frame, var.hostField3);
    put8(frame, var.linkNo);
    put8(frame, var.station);
    put16(frame, var.areaType);
    put32(frame, var.address);
    put16(frame, var.length);
    put32(frame, var.remoteStoreMark);
    put32(frame, var.hostField14);
    return summed(frame + data);
}

/// Data bytes that a remote read of this variable expects.
inline int remoteDataBytes(const Block &block)
{
    if (block.areaType >= 0 && block.areaType <= 4)
        return block.length;
    if (block.areaType == 10)
        return 4 * ((block.length + 1) / 2);
    return 2 * block.length;
}

} // namespace frames

#endif
