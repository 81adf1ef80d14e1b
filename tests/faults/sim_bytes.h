// Between Qt's byte arrays and those of the simulated controller.
#ifndef FGS_TESTS_SIM_BYTES_H
#define FGS_TESTS_SIM_BYTES_H

#include "sim/bytes.h"

#include <QtCore/QByteArray>

namespace faults
{

const int Stranger = 77; ///< a station that nobody asks

inline fgssim::Bytes toBytes(const QByteArray &bytes)
{
    return fgssim::Bytes(bytes.begin(), bytes.end());
}

inline QByteArray fromBytes(const fgssim::Bytes &bytes)
{
    return QByteArray(reinterpret_cast<const char *>(bytes.data()), int(bytes.size()));
}

} // namespace faults

#endif
