// The result codes and their increments by hostType.
#include "support/fixture.h"

#include <climits>

namespace
{

class ResultCodes : public DriverTest
{
protected:
    /// Puts a request for a variable of this type into flight.
    static void inFlight(int hostType)
    {
        Protocol request;
        request.var.hostType = hostType;
        PLC_driver.ProtocolList.clear();
        PLC_driver.ProtocolList.append(request);
    }
};

struct Increment {
    int hostType, added;
};

// Only 1..11 are told apart; every other value shares the increment of 0.
const Increment increments[] = {
    {0, 1},   {1, 2},   {2, 3},  {3, 4},  {4, 5},  {5, 6},  {6, 7},   {7, 8},       {8, 9},       {9, 10},
    {10, 11}, {11, 12}, {12, 1}, {13, 1}, {14, 1}, {-1, 1}, {100, 1}, {INT_MAX, 1}, {INT_MIN, 1},
};

struct Band {
    int reason, base;
};

const Band bands[] = {{1, 10}, {2, 40}, {3, 70}, {5, 110}, {6, 140}, {7, 170}};

TEST_F(ResultCodes, SwitchErrorReturnAddsTheIncrementOfTheHostType)
{
    for (const Increment &row : increments) {
        SCOPED_TRACE(row.hostType);
        inFlight(row.hostType);
        for (int base : {0, 10, 40, 70, 110, 140, 170, 1000, -500})
            EXPECT_EQ(SwitchErrorReturn(base), base + row.added) << base;
    }
}

TEST_F(ResultCodes, EveryFailureLiesInItsBand)
{
    for (const Increment &row : increments) {
        SCOPED_TRACE(row.hostType);
        inFlight(row.hostType);
        for (const Band &band : bands)
            EXPECT_EQ(GetDriverReturnValue(band.reason), band.base + row.added) << "reason " << band.reason;
    }
}

TEST_F(ResultCodes, SuccessDoesNotDependOnTheHostType)
{
    for (const Increment &row : increments) {
        SCOPED_TRACE(row.hostType);
        inFlight(row.hostType);
        EXPECT_EQ(GetDriverReturnValue(0), 1);
        EXPECT_EQ(GetDriverReturnValue(4), 100);
    }
}

TEST_F(ResultCodes, AnyOtherReasonIsUnknown)
{
    for (int hostType : {0, 5, 11}) {
        inFlight(hostType);
        for (int reason : {8, -1, 9, 100, INT_MAX, INT_MIN})
            EXPECT_EQ(GetDriverReturnValue(reason), 200) << reason;
    }
}

TEST_F(ResultCodes, GiveTheDocumentedExamples)
{
    inFlight(5);
    EXPECT_EQ(GetDriverReturnValue(1), 16);
    inFlight(0);
    EXPECT_EQ(GetDriverReturnValue(1), 11);
    inFlight(12);
    EXPECT_EQ(GetDriverReturnValue(1), 11);
    inFlight(11);
    EXPECT_EQ(GetDriverReturnValue(6), 152);
}

TEST_F(ResultCodes, LookAtTheHeadRequestOnly)
{
    inFlight(3);
    Protocol later;
    later.var.hostType = 9;
    PLC_driver.ProtocolList.append(later);
    PLC_driver.RetVar.hostType = 7;
    CurrentRWVar.append(variable(5, 0, 1));
    EXPECT_EQ(SwitchErrorReturn(10), 14);
    PLC_driver.ProtocolList.removeFirst();
    EXPECT_EQ(SwitchErrorReturn(10), 20);
}

TEST_F(ResultCodes, ChangeNothing)
{
    inFlight(3);
    for (int reason = 0; reason < 9; ++reason)
        GetDriverReturnValue(reason);
    EXPECT_EQ(built(), 1);
    EXPECT_EQ(PLC_driver.RetVar.result, 1);
    EXPECT_TRUE(locksAreFree());
}

TEST_F(ResultCodes, SucceedAndFailWithoutARequestInFlight)
{
    EXPECT_EQ(GetDriverReturnValue(0), 1);
    EXPECT_EQ(GetDriverReturnValue(4), 100);
    EXPECT_EQ(GetDriverReturnValue(8), 200);
    for (const Band &band : bands)
        GetDriverReturnValue(band.reason); // harmless
}

TEST_F(ResultCodes, TakeAnyBaseWithoutOverflow)
{
    inFlight(11);
    SwitchErrorReturn(INT_MAX);
    EXPECT_EQ(SwitchErrorReturn(INT_MIN), INT_MIN + 12);
}

} // namespace
