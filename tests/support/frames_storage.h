// Variables in flight and replies to them, for the tests of reply storage.
#ifndef TARN_TESTS_FRAMES_STORAGE_H
#define TARN_TESTS_FRAMES_STORAGE_H

#include "support/fixture.h"

namespace frames
{

class StorageTest : public DriverTest
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
    /// The only variable in flight.
    void alone(int areaType, int address, int start, int len, int station = 1)
    {
        CurrentRWVar.clear();
        inFlight(variable(areaType, address, 0, station), start, len);
    }

    static void store(const char *reply)
    {
        QByteArray data = bytes(reply);
        SaveToLocalDataErea(&data);
    }
    static void store(QByteArray reply) { SaveToLocalDataErea(&reply); }
};

} // namespace frames

#endif
