// Reading from and writing to a QIODevice without letting its buffers grow.
#ifndef FGS_SIM_DEVICE_H
#define FGS_SIM_DEVICE_H

#include "channel.h"

#include <QtCore/QIODevice>

namespace fgssim
{

const qint64 MaxUnsent = 65536; ///< bytes

/// A Channel::Write. `Device` is a QTcpSocket or a QSerialPort.
template <typename Device>
bool sendBounded(Device &device, const char *bytes, std::size_t count)
{
    if (device.bytesToWrite() + qint64(count) > MaxUnsent)
        return false;
    const bool taken = device.write(bytes, qint64(count)) == qint64(count);
    device.flush();
    return taken;
}

inline void receiveChunk(QIODevice &device, Channel &channel)
{
    const QByteArray bytes = device.read(Channel::ChunkSize);
    channel.receive(bytes.constData(), std::size_t(bytes.size()));
}

} // namespace fgssim

#endif
