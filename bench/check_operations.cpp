// Check codes, beside a loop over bits and a loop over one table.
#include "operations.h"
#include "plain.h"

#include <tarn_fgsseries.h>

namespace bench
{

namespace
{

unsigned short driver(const unsigned char *bytes, int length)
{
    return CalCRC(const_cast<unsigned char *>(bytes), static_cast<unsigned short>(length));
}

/// volatile: the result is wanted.
template <unsigned short (*Crc)(const unsigned char *, int), int Bytes>
Run crc()
{
    QByteArray bytes;
    for (int i = 0; i < Bytes; ++i)
        bytes.append(static_cast<char>(i * 37));
    return repeat([bytes] {
        volatile unsigned result = Crc(reinterpret_cast<const unsigned char *>(bytes.constData()), Bytes);
        static_cast<void>(result);
    });
}

} // namespace

Operations checkOperations()
{
    return {{"crc-9", 10000, crc<driver, 9>},
            {"crc-29", 10000, crc<driver, 29>},
            {"crc-256", 10000, crc<driver, 256>},
            {"table-crc-9", 10000, crc<plain::crcByTable, 9>},
            {"table-crc-29", 10000, crc<plain::crcByTable, 29>},
            {"table-crc-256", 10000, crc<plain::crcByTable, 256>},
            {"bitwise-crc-9", 10000, crc<plain::crcByBits, 9>},
            {"bitwise-crc-256", 1000, crc<plain::crcByBits, 256>}};
}

} // namespace bench
