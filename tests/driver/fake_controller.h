// A controller in memory, with an encoder of its own: it includes nothing of the driver.
#ifndef TARN_TESTS_FAKE_CONTROLLER_H
#define TARN_TESTS_FAKE_CONTROLLER_H

#include <map>
#include <QtCore/QByteArray>
#include <tuple>

namespace fake
{

inline unsigned byteAt(const QByteArray &bytes, int at)
{
    return at < int(bytes.size()) ? static_cast<unsigned char>(bytes.at(at)) : 0u;
}

inline void appendByte(QByteArray &bytes, unsigned value)
{
    bytes.append(static_cast<char>(value & 0xFFu));
}

/// CRC-16: polynomial 0x8005 reflected, initial value 0xFFFF.
inline unsigned crc(const QByteArray &bytes)
{
    unsigned remainder = 0xFFFF;
    for (int i = 0; i < int(bytes.size()); ++i) {
        remainder ^= byteAt(bytes, i);
        for (int bit = 0; bit < 8; ++bit)
            remainder = (remainder >> 1) ^ ((remainder & 1u) ? 0xA001u : 0u);
    }
    return remainder;
}

/// The bytes with their check code behind them, low byte first.
inline QByteArray sealed(QByteArray bytes)
{
    const unsigned code = crc(bytes);
    appendByte(bytes, code);
    appendByte(bytes, code >> 8);
    return bytes;
}

inline bool isBitCode(unsigned code)
{
    return code <= 0x05;
}

constexpr unsigned doubleWordCode = 0x13;

/// The registers of any number of stations. Registers never written are 0.
class Controller
{
public:
    /// One bit, word or double word of the area with this code on the wire.
    unsigned &at(unsigned station, unsigned code, unsigned address)
    {
        return registers[std::make_tuple(station, code, address)];
    }

    /// The reply to a request; empty for station 0, a wrong check code or an unknown command.
    QByteArray answer(const QByteArray &request)
    {
        const QByteArray body = request.left(request.size() - 2);
        if (request.size() < 9 || sealed(body) != request || byteAt(request, 0) == 0)
            return QByteArray();
        switch (byteAt(request, 1)) {
        case 0xFE:
            return answerRead(request);
        case 0xFF:
            return answerWrite(request);
        default:
            return QByteArray();
        }
    }

    int reads = 0;
    int writes = 0;

private:
    QByteArray answerRead(const QByteArray &request)
    {
        ++reads;
        QByteArray reply = request.left(3);
        for (int entry = 3; entry + 6 <= int(request.size()); entry += 4) {
            reply.append(request.mid(entry, 2));
            appendData(reply, byteAt(request, 0), byteAt(request, entry), byteAt(request, entry + 1),
                       byteAt(request, entry + 2) + 256 * byteAt(request, entry + 3));
        }
        return sealed(reply);
    }

    void appendData(QByteArray &reply, unsigned station, unsigned code, unsigned count, unsigned address)
    {
        for (unsigned i = 0; isBitCode(code) && i < count; i += 8) {
            unsigned packed = 0;
            for (unsigned bit = 0; bit < 8; ++bit)
                packed |= (at(station, code, address + i + bit) & 1u) << bit;
            appendByte(reply, packed);
        }
        for (unsigned i = 0; !isBitCode(code) && i < count; ++i) {
            const unsigned value = at(station, code, address + i);
            appendWord(reply, value);
            if (code == doubleWordCode)
                appendWord(reply, value >> 16);
        }
    }

    static void appendWord(QByteArray &reply, unsigned value)
    {
        appendByte(reply, value >> 8);
        appendByte(reply, value);
    }

    QByteArray answerWrite(const QByteArray &request)
    {
        ++writes;
        const unsigned station = byteAt(request, 0), code = byteAt(request, 3);
        const unsigned address = byteAt(request, 5) + 256 * byteAt(request, 6);
        const auto word = [&request](unsigned index) {
            const int position = 7 + 2 * static_cast<int>(index);
            return 256 * byteAt(request, position) + byteAt(request, position + 1);
        };
        for (unsigned i = 0; i < byteAt(request, 4); ++i) {
            if (isBitCode(code))
                at(station, code, address) = byteAt(request, 7);
            else if (code == doubleWordCode)
                at(station, code, address + i) = word(2 * i) + (word(2 * i + 1) << 16);
            else
                at(station, code, address + i) = word(i);
        }
        QByteArray acknowledgement;
        appendByte(acknowledgement, station);
        appendByte(acknowledgement, 0xFF);
        appendByte(acknowledgement, 0x20);
        return acknowledgement;
    }

    std::map<std::tuple<unsigned, unsigned, unsigned>, unsigned> registers;
};

} // namespace fake

#endif
