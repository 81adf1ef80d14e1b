// Replies of 0 to 70,000 bytes, and positions in them that lie anywhere.
#include "extremes.h"
#include "support/wire.h"

namespace
{

using namespace extremes;

const int LongestReply = 70000;

/// Every length up to 300, then some, and the edges of 16 bits.
std::vector<int> lengths()
{
    std::vector<int> all;
    for (int length = 0; length <= 300; ++length)
        all.push_back(length);
    for (int length = 301; length < LongestReply; length += 1499)
        all.push_back(length);
    for (int length : {65534, 65535, 65536, 65537, 65538, LongestReply - 1, LongestReply})
        all.push_back(length);
    return all;
}

/// With a good check code, which covers 16 bits of the length.
QByteArray reply(int length)
{
    if (length < 2)
        return QByteArray(length, 1);
    QByteArray all(length - 2, 1);
    frames::put16LowFirst(all, frames::crc(all.left(int(all.size()) % 65536)));
    return all;
}

/// Per station one of each kind tells, and long pieces take long.
Values areaTypesFor(int stationMode)
{
    return stationMode ? Values{2, 5, 10, 14} : Values{0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14};
}

class ExtremeReplies : public ExtremesTest
{
protected:
    /// Reads of all kinds in one request, which takes a reply of any length.
    void readInFlight(bool remote)
    {
        settings.remoteMode = remote;
        settings.retryLimit = 0;
        for (int areaType : {5, 2, 10, 0, 7, 13}) {
            RW_VAR var = variable(areaType, 0, 10);
            var.linkNo = remote;
            var.remoteStoreMark = remote ? -1 : 0;
            PLC_driver.ReadVarList.append(var);
        }
        ComCommunication();
        PLC_driver.ProtocolList.first().replyLen = -1;
    }
};

TEST_F(ExtremeReplies, OfAnyLengthAreJudged)
{
    for (int stationMode : {0, 1})
        for (int remote : {0, 1})
            for (int length : lengths()) {
                restart(stationMode);
                readInFlight(remote);
                QByteArray bytes = reply(length);
                const int base = remote ? 100 : 0;
                const bool tooShort = length == 1 || length == 3; // 3: judged as an acknowledgement
                const int code = length == 0 ? base + 41 : tooShort ? base + 11 : 1;
                bounded("reply of " + std::to_string(length),
                        [&] { EXPECT_EQ(DataCom(&bytes, length)->result, code) << length; });
            }
}

TEST_F(ExtremeReplies, WithALengthThatIsNotTheirsAreBad)
{
    for (int stationMode : {0, 1})
        for (int size : {0, 1, 2, 3, 9, 300, 65535, 65536, LongestReply})
            for (int length : {INT_MIN, -1, 1, 4, 299, 65535, 65536, LongestReply, LongestReply + 1, INT_MAX}) {
                restart(stationMode);
                readInFlight(false);
                QByteArray bytes(size, 1);
                const std::string what = std::to_string(size) + " bytes as " + std::to_string(length);
                bounded(what, [&] { EXPECT_EQ(DataCom(&bytes, length)->result, 11) << what; });
            }
}

TEST_F(ExtremeReplies, ToABroadcastAreOfTheWrongLength)
{
    for (int length : lengths()) {
        restart(0);
        settings.retryLimit = 0;
        PLC_driver.ReadVarList.append(variable(5, 0, 4, 0));
        ComCommunication();
        QByteArray bytes = reply(length);
        bounded("reply of " + std::to_string(length) + " to a broadcast",
                [&] { EXPECT_EQ(DataCom(&bytes, length)->result, length == 0 ? 1 : 71) << length; });
    }
}

TEST_F(ExtremeReplies, MayHaveTheirDataAnywhere)
{
    const std::vector<Parameter> positions = {{"iTimes", 0, {INT_MIN, -1, 0, 1, 5, 6, INT_MAX}},
                                              {"start", 5, edgesAround(100)},
                                              {"length", 20, edgesAround(100)}};
    QByteArray bytes(100, 1);
    for (int stationMode : {0, 1})
        for (int areaType : areaTypesFor(stationMode))
            forPairs(positions, [&](const Values &v) {
                restart(stationMode);
                CurrentRWVar.append(variable(areaType, 0, 10));
                iTimes = v[0];
                iRet_ValidStar[0] = v[1];
                iRet_ValidLen[0] = v[2];
                bounded("storage of area " + std::to_string(areaType) + describe(positions, v), [&] {
                    SaveBitToUC(&bytes, PLC_driver.ucArea2);
                    SaveWordToUS(&bytes, PLC_driver.usArea5);
                    SaveWordToUI(&bytes, PLC_driver.uiArea10);
                    SpecialRegisterSave(&bytes, PLC_driver.usArea5);
                    SaveToLocalDataErea(&bytes);
                });
            });
}

TEST_F(ExtremeReplies, MayHaveTheirRemoteDataAnywhere)
{
    const std::vector<Parameter> positions = {
        {"address", 0, edgesAround(256)}, {"start", 3, edgesAround(100)}, {"length", 20, edgesAround(100)}};
    QByteArray bytes(100, 1);
    for (int stationMode : {0, 1})
        for (int areaType : areaTypesFor(stationMode))
            forPairs(positions, [&](const Values &v) {
                restart(stationMode);
                Protocol request;
                request.var = variable(areaType, v[0], 10);
                request.dataStart = v[1];
                request.dataLen = v[2];
                PLC_driver.ProtocolList.append(request);
                bounded("remote storage of area " + std::to_string(areaType) + describe(positions, v), [&] {
                    SaveBitToUCRemote(&bytes, PLC_driver.ucArea2);
                    SaveWordToUSRemote(&bytes, PLC_driver.usArea5);
                    SaveWordToUIRemote(&bytes, PLC_driver.uiArea10);
                    SaveToRemoteDataErea(&bytes);
                });
            });
}

} // namespace
