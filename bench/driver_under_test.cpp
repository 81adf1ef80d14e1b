#include "driver_under_test.h"

#include "support/wire.h"

#include <algorithm>
#include <random>

namespace bench
{

namespace
{

const int Areas = 14;
const int Stations = 8;

void emptyDriver()
{
    PLC_driver.ReadVarList.clear();
    PLC_driver.WriteVarList.clear();
    PLC_driver.OnceReadVarList.clear();
    PLC_driver.ProtocolList.clear();
    PLC_driver.ExtendVarList.clear();
    PLC_driver.WriteTimes = PLC_driver.OnceReadTimes = 0;
    PLC_driver.CommFailFlag = 0;
}

/// The header of each entry of a reply is the beginning of the request's entry.
void putHeaders(QByteArray &reply, const Protocol &request)
{
    int at = 3;
    for (int i = 0; i < request.frame.at(2); ++i) {
        reply[at] = request.frame.at(3 + 4 * i);
        reply[at + 1] = request.frame.at(4 + 4 * i);
        at += 2 + iRet_ValidLen[i];
    }
}

} // namespace

COMINFO &startDriver(int blockWords, bool perStation)
{
    static COMINFO info;
    info = COMINFO();
    info.blockWords = blockWords;
    info.defaultStation = 1;
    info.stationMode = perStation;
    info.writeMode = 2;
    emptyDriver();
    SetComInfo(&info);
    RegistCallBackFuncIntf(nullptr, 0);
    return info;
}

HOST_VAR hostVar(int areaType, int station, int address, int length)
{
    HOST_VAR var;
    var.areaType = static_cast<unsigned char>(areaType);
    var.station = static_cast<unsigned char>(station);
    var.address = QString::number(address, areaType <= 1 ? 8 : 10);
    var.length = length;
    return var;
}

QByteArray replyTo(const Protocol &request)
{
    QByteArray reply = request.frame.left(3);
    while (reply.size() < request.replyLen - 2)
        reply.append(static_cast<char>(reply.size()));
    putHeaders(reply, request);
    return frames::sealed(reply);
}

QList<HOST_VAR> shuffledVariables(int count)
{
    std::mt19937 random(1);
    std::vector<HOST_VAR> variables;
    for (int i = 0; i < count; ++i)
        variables.push_back(hostVar(i % Areas, 1 + i / Areas % Stations, i / Areas * 3, 1 + i / Areas % 3));
    std::shuffle(variables.begin(), variables.end(), random);
    // Per station a bit at the end would have all blocks joined by the rule of bits.
    std::stable_partition(variables.begin(), variables.end(),
                          [](const HOST_VAR &var) { return var.areaType != 9; });
    QList<HOST_VAR> list;
    for (const HOST_VAR &variable : variables)
        list.append(variable);
    return list;
}

} // namespace bench
