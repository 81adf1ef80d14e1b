// Variables in flight and replies to them, for the tests of reply storage.
#ifndef TARN_TESTS_FRAMES_STORAGE_H
#define TARN_TESTS_FRAMES_STORAGE_H

#include "support/fixture.h"

#include <ostream>

namespace frames
{

/// A group in flight on the local path.
class GroupStorageTest : public DriverTest
{
protected:
    /// Adds a variable in flight whose len data bytes begin at start.
    void inFlight(const RW_VAR &var, int start, int len)
    {
        const int i = int(CurrentRWVar.size());
        CurrentRWVar.append(var);
        iRet_ValidStar[i] = start;
        iRet_ValidLen[i] = len;
        settings.groupExtra = i;
    }

    static void store(const char *reply)
    {
        QByteArray data = bytes(reply);
        SaveToLocalDataErea(&data);
    }
};

/// Where a reply's data lie and what stores them: the local path has variables and positions in flight, the remote
/// one the request at the head of the list.
enum class Path { Local, Remote };

inline void PrintTo(Path path, std::ostream *out)
{
    *out << (path == Path::Local ? "local" : "remote");
}

inline std::string pathName(const ::testing::TestParamInfo<Path> &info)
{
    return ::testing::PrintToString(info.param);
}

/// One variable in flight, on the path that is the parameter. What the other path would use is another variable.
class OneVariableStorageTest : public DriverTest, public ::testing::WithParamInterface<Path>
{
protected:
    OneVariableStorageTest()
    {
        request(variable(6, 200, 1), 0, 2);
        for (int i = 0; i < 6; ++i)
            CurrentRWVar.append(variable(6, 100 + i, 1));
        std::fill(std::begin(iRet_ValidLen), std::end(iRet_ValidLen), 2);
        settings.groupExtra = 5;
        iTimes = times;
    }

    static bool isLocal() { return GetParam() == Path::Local; }

    /// len data bytes of the variable begin at start. Its own length is not what counts.
    void alone(int areaType, int address, int start, int len, int station = 1)
    {
        const RW_VAR var = variable(areaType, address, 100, station);
        if (!isLocal())
            return request(var, start, len);
        CurrentRWVar.clear();
        CurrentRWVar.append(var);
        iRet_ValidStar[0] = start;
        iRet_ValidLen[0] = len;
        settings.groupExtra = 0;
    }

    static void nothingInFlight() { isLocal() ? CurrentRWVar.clear() : PLC_driver.ProtocolList.clear(); }

    /// Stores the reply; what is in flight and the other path's counter stay.
    void store(QByteArray *reply)
    {
        const int variables = int(CurrentRWVar.size()), requests = built();
        isLocal() ? SaveToLocalDataErea(reply) : SaveToRemoteDataErea(reply);
        EXPECT_EQ(iTimes, isLocal() ? settings.groupExtra + 1 : times);
        EXPECT_EQ(int(CurrentRWVar.size()), variables);
        EXPECT_EQ(built(), requests);
    }
    void store(const QByteArray &reply)
    {
        QByteArray data = reply;
        store(&data);
        EXPECT_EQ(hex(data), hex(reply));
    }
    void store(const char *reply) { store(bytes(reply)); }

private:
    static void request(const RW_VAR &var, int start, int len)
    {
        Protocol head;
        head.var = var;
        head.var.remoteStoreMark = -1;
        head.dataStart = start;
        head.dataLen = len;
        PLC_driver.ProtocolList.clear();
        PLC_driver.ProtocolList.append(head);
    }

    static constexpr int times = 3;
};

} // namespace frames

#endif
