// Lists of variables as text, and the host's variables.
#ifndef TARN_TESTS_BLOCKS_H
#define TARN_TESTS_BLOCKS_H

#include "support/fixture.h"

#include <functional>
#include <ostream>

/// "5@100+4 5@200+1": area type, address and length of every entry.
inline std::string blocks(const QList<RW_VAR> &list)
{
    std::string text;
    for (const RW_VAR &var : list)
        text += (text.empty() ? "" : " ") + std::to_string(var.areaType) + "@" + std::to_string(var.address) + "+" +
                std::to_string(var.length);
    return text;
}

/// The same with the station in front: "3/5@100+4".
inline std::string stationBlocks(const QList<RW_VAR> &list)
{
    std::string text;
    for (const RW_VAR &var : list) {
        QList<RW_VAR> one;
        one.append(var);
        text += (text.empty() ? "" : " ") + std::to_string(var.station) + "/" + blocks(one);
    }
    return text;
}

inline HOST_VAR hostVar(int areaType, const char *address, int length, int station = 1)
{
    HOST_VAR var;
    var.areaType = static_cast<unsigned char>(areaType);
    var.station = static_cast<unsigned char>(station);
    var.address = QString::fromLatin1(address);
    var.length = length;
    return var;
}

inline QList<HOST_VAR> hostVars(std::initializer_list<HOST_VAR> vars)
{
    QList<HOST_VAR> list;
    for (const HOST_VAR &var : vars)
        list.append(var);
    return list;
}

inline QList<RW_VAR> varList(std::initializer_list<RW_VAR> vars)
{
    QList<RW_VAR> list;
    for (const RW_VAR &var : vars)
        list.append(var);
    return list;
}

/// One field changed, and whether that makes another entry of it.
struct Difference {
    const char *what;
    std::function<void(RW_VAR &)> make;
    bool another;
};

inline void PrintTo(const Difference &row, std::ostream *out)
{
    *out << row.what;
}

#endif
