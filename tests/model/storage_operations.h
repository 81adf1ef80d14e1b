// Operations on the image and on per-station storage, each done on both sides: any request in flight with any reply
// to it, the host's reads and writes.
#ifndef TARN_TESTS_STORAGE_OPERATIONS_H
#define TARN_TESTS_STORAGE_OPERATIONS_H

#include "compare.h"
#include "generate.h"

#include <climits>

namespace model
{

class StorageOperations : public DriverTest
{
public:
    void begin(Random &random)
    {
        reset();
        expected = Model();
        fillImages(expected, static_cast<unsigned>(random.number()));
        set(stationMode, random.between(0, 1));
    }
    void set(Word word, int value) { setWord(expected, settings, word, value); }

    // Positions as a builder leaves them, or any; the entries behind the request are stale.
    void anyRequestInFlight(Random &random)
    {
        const int count = random.between(0, 7);
        expected.CurrentRWVar.clear();
        for (int i = 0; i < count; ++i)
            expected.CurrentRWVar.push_back(random.chance(90) ? anyVar(random) : extremeVar(random));
        CurrentRWVar = toDriver(expected.CurrentRWVar);
        set(groupExtra, random.chance(80) ? count - 1 : random.between(-2, 9));
        int position = 5;
        for (size_t i = 0; i < 6; ++i) {
            const int len = random.chance(95) ? random.between(0, 24) : random.pick({-300, -1, 0, 60, 99});
            const int start = random.chance(85) ? position : random.pick({0, 1, 3, 100, INT_MAX});
            iRet_ValidLen[i] = expected.iRet_ValidLen[i] = len;
            iRet_ValidStar[i] = expected.iRet_ValidStar[i] = start;
            position += std::max(len, 0) + 2;
        }
    }

    std::string describeRequest() const
    {
        std::string all = "\n  stationMode " + std::to_string(settings.stationMode) + ", groupExtra " +
                          std::to_string(settings.groupExtra);
        for (size_t i = 0; i < 6; ++i)
            all += "\n  start " + std::to_string(iRet_ValidStar[i]) + " len " + std::to_string(iRet_ValidLen[i]) +
                   (i < expected.CurrentRWVar.size() ? ": " + text(expected.CurrentRWVar[i]) : "");
        return all;
    }

    std::string localReply(Random &random)
    {
        anyRequestInFlight(random);
        const Bytes reply = anyBytes(random, random.between(0, random.chance(70) ? 60 : 250));
        QByteArray got = toDriver(reply);
        expected.SaveToLocalDataErea(reply);
        SaveToLocalDataErea(&got);
        const std::string found = differenceOfState(expected, settings);
        return found.empty() ? found : "local reply " + text(reply) + ": " + found + describeRequest();
    }

    std::string remoteReply(Random &random)
    {
        Request head;
        head.var = random.chance(90) ? anyVar(random) : extremeVar(random);
        head.dataStart = random.chance(80) ? 3 : random.pick({0, 1, 60, INT_MAX});
        head.dataLen = random.chance(95) ? random.between(0, 40) : random.pick({-300, -1, 0, 60, 99});
        expected.ProtocolList = {head};
        PLC_driver.ProtocolList.clear();
        PLC_driver.ProtocolList.append(toDriver(head));
        const Bytes reply = anyBytes(random, random.between(0, 60));
        QByteArray got = toDriver(reply);
        expected.SaveToRemoteDataErea(reply);
        SaveToRemoteDataErea(&got);
        const std::string found = differenceOfState(expected, settings);
        return found.empty() ? found
                             : "remote reply " + text(reply) + ", dataStart " + std::to_string(head.dataStart) +
                                   ", dataLen " + std::to_string(head.dataLen) + ", " + text(head.var) + ", " +
                                   "stationMode " + std::to_string(settings.stationMode) + ": " + found;
    }

    // In the fixed image any number; every item of per-station storage becomes an entry.
    int itemCount(Random &random) const
    {
        if (settings.stationMode != 0)
            return random.chance(90) ? random.between(0, 20) : random.between(-5, 80);
        return random.chance(80) ? anyLength(random) : random.pick({INT_MIN, -1, 65536, 70000, INT_MAX});
    }

    std::string hostRead(Random &random)
    {
        const int areaType = anyAreaType(random);
        const int address = random.chance(95) ? addressIn(random, areaType) : anyInt(random);
        const Text words = addressText(random, areaType, address);
        const int station = random.between(0, 3);
        const int length = itemCount(random);
        Bytes out = anyBytes(random, random.chance(80) ? 0 : random.between(1, 50));
        QByteArray got = toDriver(out);
        const int result = expected.GetRegisterData(areaType, words, station, out, length);
        const int gotResult = GetRegisterData(0, areaType, toDriver(words), station, &got, length);
        const std::string found =
            first({named("result", difference(result, gotResult)), named("out", difference(out, got)),
                   differenceOfState(expected, settings)});
        return found.empty() ? found
                             : "GetRegisterData area " + std::to_string(areaType) + " text " + text(words) +
                                   " station " + std::to_string(station) + " length " + std::to_string(length) +
                                   " stationMode " + std::to_string(settings.stationMode) + ": " + found;
    }

    std::string hostWrite(Random &random)
    {
        Var var = anyVar(random);
        if (random.chance(20))
            var.length = itemCount(random);
        if (random.chance(5))
            var.address = anyInt(random);
        RW_VAR record = toDriver(var);
        expected.WriteDataToLocal(var);
        WriteDataToLocal(&record);
        const std::string found =
            first({named("argument", difference(var, record)), differenceOfState(expected, settings)});
        return found.empty() ? found
                             : "WriteDataToLocal(" + text(var) + ") stationMode " +
                                   std::to_string(settings.stationMode) + ": " + found;
    }

    // Any write mode and block size; a block size of few words gives one record after another.
    std::string hostCall(Random &random)
    {
        set(writeMode, random.pick({0, 1, 2, 2, 2}));
        set(blockWords, random.chance(80) ? anyBlockSize(random) : anyInt(random));
        set(defaultStation, random.between(0, 2));
        set(localLinkNo, random.between(0, 3));
        set(remoteMode, random.between(0, 3));
        PLC_driver.CommFailFlag = static_cast<unsigned char>(expected.CommFailFlag = random.between(0, 1));
        const Var var = extremeVar(random);
        const Text words = addressText(random, var.areaType, std::max(var.address, -9));
        const bool manyWords = !isBitArea(var.areaType) && settings.blockWords >= 300 && settings.stationMode == 0;
        const int length =
            manyWords && random.chance(20) ? random.pick({65535, 65536, 70000, INT_MAX}) : std::min(var.length, 60);
        QByteArray values = toDriver(var.data);
        const int result = expected.SetRegisterData(var.text1, var.areaType, words, var.station, var.data, length,
                                                    var.hostType, var.hostAddr);
        const int got = SetRegisterData(toDriver(var.text1), var.areaType, toDriver(words), var.station, &values,
                                        length, var.hostType, var.hostAddr);
        const std::string found =
            first({named("result", difference(result, got)), named("values", difference(var.data, values)),
                   differenceOfState(expected, settings)});
        return found.empty() ? found
                             : "SetRegisterData(" + text(var) + ", address " + text(words) + ", length " +
                                   std::to_string(length) + ") blockWords " + std::to_string(settings.blockWords) +
                                   " writeMode " + std::to_string(settings.writeMode) + " stationMode " +
                                   std::to_string(settings.stationMode) + ": " + found;
    }

    Model expected;
};

} // namespace model

#endif
