// ExtendFindSameVar: the per-station entries, found by their three keys.
#include "support/fixture.h"

#include <climits>

namespace
{

class ExtendEntries : public DriverTest
{
protected:
    /// Entries of addresses 0 to 99.
    static void makeHundred()
    {
        for (int i = 0; i < 100; ++i)
            EXPECT_EQ(ExtendFindSameVar(1, 5, i), i);
    }

    static EXTENDVAR entry(int station, int areaType, int address, const char *value = "")
    {
        EXTENDVAR var;
        var.station = station;
        var.areaType = areaType;
        var.address = address;
        var.value = bytes(value);
        return var;
    }
};

TEST_F(ExtendEntries, AMissOnAnEmptyListMakesTheFirstEntry)
{
    EXPECT_EQ(ExtendFindSameVar(1, 5, 100), 0);
    EXPECT_EQ(stored(), "1/5@100 = 00 00 00 00\n");
}

TEST_F(ExtendEntries, ASecondCallFindsIt)
{
    ExtendFindSameVar(1, 5, 100);
    EXPECT_EQ(ExtendFindSameVar(1, 5, 100), 0);
    EXPECT_EQ(PLC_driver.ExtendVarList.size(), 1);
}

TEST_F(ExtendEntries, AllThreeKeysTell)
{
    EXPECT_EQ(ExtendFindSameVar(1, 5, 100), 0);
    EXPECT_EQ(ExtendFindSameVar(2, 5, 100), 1);
    EXPECT_EQ(ExtendFindSameVar(1, 6, 100), 2);
    EXPECT_EQ(ExtendFindSameVar(1, 5, 101), 3);
    EXPECT_EQ(ExtendFindSameVar(5, 1, 100), 4);
    EXPECT_EQ(ExtendFindSameVar(1, 6, 100), 2);
    EXPECT_EQ(PLC_driver.ExtendVarList.size(), 5);
}

// Keys whose sums, or whose mixtures by the golden ratio, are equal: a table of hashes may take them for one.
TEST_F(ExtendEntries, KeysThatAnIndexMayMixUpHaveEntriesOfTheirOwn)
{
    const int goldenRatio = 0x61C88647; // 2^32 less 0x9E3779B9
    const EXTENDVAR alike[] = {entry(1, 0, 0),           entry(0, 31, 0), entry(1, 1, 0x61C8864F),
                               entry(1, 1, goldenRatio), entry(0, 1, 0),  entry(0, 0, 1)};
    int index = 0;
    for (const EXTENDVAR &key : alike)
        EXPECT_EQ(ExtendFindSameVar(key.station, key.areaType, key.address), index++);
    index = 0;
    for (const EXTENDVAR &key : alike)
        EXPECT_EQ(ExtendFindSameVar(key.station, key.areaType, key.address), index++);
}

TEST_F(ExtendEntries, TheFourZeroBytesDoNotDependOnTheArea)
{
    for (int type : {0, 2, 5, 10, 13, 14, -1})
        EXPECT_EQ(hex(PLC_driver.ExtendVarList.at(ExtendFindSameVar(1, type, 8)).value), "00 00 00 00") << type;
}

TEST_F(ExtendEntries, AnyKeysAreTaken)
{
    EXPECT_EQ(ExtendFindSameVar(INT_MIN, INT_MAX, -1), 0);
    EXPECT_EQ(ExtendFindSameVar(-1, INT_MIN, INT_MAX), 1);
    EXPECT_EQ(ExtendFindSameVar(-1, -1, -1), 2);
    EXPECT_EQ(ExtendFindSameVar(INT_MIN, INT_MAX, -1), 0);
    EXPECT_EQ(ExtendFindSameVar(0, 0, 0), 3);
}

TEST_F(ExtendEntries, AFoundEntryKeepsItsValue)
{
    PLC_driver.ExtendVarList.append(entry(1, 5, 100, "34 12"));
    EXPECT_EQ(ExtendFindSameVar(1, 5, 100), 0);
    EXPECT_EQ(stored(), "1/5@100 = 34 12\n");
}

TEST_F(ExtendEntries, TheFirstOfTwoTwinsIsFound)
{
    PLC_driver.ExtendVarList.append(entry(9, 9, 9));
    PLC_driver.ExtendVarList.append(entry(1, 5, 100, "01"));
    PLC_driver.ExtendVarList.append(entry(1, 5, 100, "02"));
    EXPECT_EQ(ExtendFindSameVar(1, 5, 100), 1);
    PLC_driver.ExtendVarList.prepend(entry(1, 5, 100, "03"));
    EXPECT_EQ(ExtendFindSameVar(1, 5, 100), 0);
}

// The list belongs to everyone; what is found must be what it holds now.
TEST_F(ExtendEntries, AClearedListStartsAgain)
{
    makeHundred();
    PLC_driver.ExtendVarList.clear();
    EXPECT_EQ(ExtendFindSameVar(1, 5, 50), 0);
    EXPECT_EQ(stored(), "1/5@50 = 00 00 00 00\n");
}

TEST_F(ExtendEntries, AListOfTheSameSizeWithOtherKeysIsNoticed)
{
    makeHundred();
    QList<EXTENDVAR> other;
    for (int i = 0; i < 100; ++i)
        other.append(entry(2, 5, i));
    PLC_driver.ExtendVarList = other;
    EXPECT_EQ(ExtendFindSameVar(2, 5, 40), 40);
    EXPECT_EQ(ExtendFindSameVar(1, 5, 40), 100);
}

TEST_F(ExtendEntries, AKeyChangedInPlaceIsNoticed)
{
    makeHundred();
    PLC_driver.ExtendVarList[70].address = 5000;
    EXPECT_EQ(ExtendFindSameVar(1, 5, 5000), 70);
    EXPECT_EQ(ExtendFindSameVar(1, 5, 70), 100);
}

// A reference that somebody took before the last access changes the list without a trace; what is found still has
// the keys that were asked for.
TEST_F(ExtendEntries, AKeyChangedThroughAnOldReferenceIsNotFoundUnderItsOldOne)
{
    makeHundred();
    EXTENDVAR &old = PLC_driver.ExtendVarList[70];
    EXPECT_EQ(ExtendFindSameVar(1, 5, 70), 70);
    old.address = 5000;
    EXPECT_EQ(ExtendFindSameVar(1, 5, 70), 100);
    EXPECT_EQ(PLC_driver.ExtendVarList.at(100).address, 70);
    EXPECT_EQ(ExtendFindSameVar(1, 5, 5000), 70);
}

TEST_F(ExtendEntries, ATwinBehindAKeyChangedThroughAnOldReferenceIsFound)
{
    for (int i = 0; i < 3; ++i)
        PLC_driver.ExtendVarList.append(entry(1, 5, 100));
    for (int twin = 0; twin < 3; ++twin) {
        EXTENDVAR &old = PLC_driver.ExtendVarList[twin];
        EXPECT_EQ(ExtendFindSameVar(1, 5, 100), twin);
        old.station = 2;
    }
    EXPECT_EQ(ExtendFindSameVar(1, 5, 100), 3);
}

// Pairs that a hash of 31 * station + area type, times 0x9E3779B1, plus the address does not tell apart.
TEST_F(ExtendEntries, KeysOfTheSameHashAreToldApart)
{
    EXPECT_EQ(ExtendFindSameVar(0, 31, 7), 0);
    EXPECT_EQ(ExtendFindSameVar(1, 0, 7), 1);
    EXPECT_EQ(ExtendFindSameVar(1, 6, 0), 2);
    EXPECT_EQ(ExtendFindSameVar(1, 5, int(0x9E3779B1u)), 3);
    EXPECT_EQ(ExtendFindSameVar(2, 5, 0), 4);
    EXPECT_EQ(ExtendFindSameVar(1, 5, int(31 * 0x9E3779B1u)), 5);
}

TEST_F(ExtendEntries, ATwinMadeInPlaceBeforeAnEntryIsFoundFirst)
{
    makeHundred();
    PLC_driver.ExtendVarList[10].address = 70;
    EXPECT_EQ(ExtendFindSameVar(1, 5, 70), 10);
}

TEST_F(ExtendEntries, AnEntryTakenOutMovesTheLaterOnes)
{
    makeHundred();
    PLC_driver.ExtendVarList.removeAt(0);
    EXPECT_EQ(ExtendFindSameVar(1, 5, 99), 98);
    EXPECT_EQ(ExtendFindSameVar(1, 5, 0), 99);
}

TEST_F(ExtendEntries, EntriesAppendedFromOutsideAreFound)
{
    makeHundred();
    PLC_driver.ExtendVarList.append(entry(3, 6, 7));
    EXPECT_EQ(ExtendFindSameVar(3, 6, 7), 100);
    EXPECT_EQ(ExtendFindSameVar(3, 6, 8), 101);
}

TEST_F(ExtendEntries, ManyEntriesKeepTheirIndexes)
{
    for (int i = 0; i < 3000; ++i)
        ASSERT_EQ(ExtendFindSameVar(i % 7, 5, i), i);
    for (int i = 2999; i >= 0; --i)
        ASSERT_EQ(ExtendFindSameVar(i % 7, 5, i), i);
    EXPECT_EQ(PLC_driver.ExtendVarList.size(), 3000);
}

TEST_F(ExtendEntries, TheCallerHoldsTheLock)
{
    PLC_driver.ImageMutex.lock(); // taking it again would wait for ever
    EXPECT_EQ(ExtendFindSameVar(1, 5, 100), 0);
    PLC_driver.ImageMutex.unlock();
}

} // namespace
