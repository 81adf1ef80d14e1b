// What all request builders have in common: wire widths, the copy of the variable, station 0, counts and leftovers.
#include "support/frames.h"
#include "support/frames_request.h"
#include "support/image_check.h"

#include <climits>

namespace
{

QByteArray readFrame(const RW_VAR &var)
{
    return frames::readRequest(var.station, {{var.areaType, var.address, var.length}});
}

QByteArray halvedReadFrame(const RW_VAR &var)
{
    return frames::readRequest(var.station, {{var.areaType, var.address, var.length / 2}});
}

QByteArray writeFrame(const RW_VAR &var)
{
    return frames::writeRequest(var.station, {var.areaType, var.address, var.length}, var.data);
}

QByteArray remoteReadFrame(const RW_VAR &var)
{
    return frames::remoteRequest(var);
}

QByteArray remoteWriteFrame(const RW_VAR &var)
{
    return frames::remoteRequest(var, var.data);
}

struct Builder {
    const char *name;
    void (*build)(RW_VAR *);
    QByteArray (*frame)(const RW_VAR &); ///< by the second encoder
    int areaType;                        ///< one that it builds
    bool leavesPositions;                ///< those of the last read, with its variables
    bool leavesImage;
};

void PrintTo(const Builder &builder, std::ostream *out)
{
    *out << builder.name;
}

const Builder writeRegister = {"WriteRegister", WriteRegister, writeFrame, 5, true, false};
const Builder remoteWriteVar = {"Remote_WriteVar", Remote_WriteVar, remoteWriteFrame, 5, true, false};

const Builder builders[] = {
    {"ReadRegister1", ReadRegister1, readFrame, 5, false, true},
    {"ReadRegister", ReadRegister, readFrame, 5, true, true},
    {"ReadBool", ReadBool, readFrame, 3, false, true},
    {"ReadAnalog", ReadAnalog, readFrame, 5, true, true},
    {"ReadAnalog_32CV", ReadAnalog_32CV, halvedReadFrame, 10, true, true},
    writeRegister,
    {"WriteBool", WriteBool, writeFrame, 1, true, true},
    {"WriteAnalog", WriteAnalog, writeFrame, 5, true, true},
    {"WriteAnalog_32CV", WriteAnalog_32CV, writeFrame, 10, true, true},
    {"Remote_ReadVar", Remote_ReadVar, remoteReadFrame, 5, true, true},
    remoteWriteVar,
};

class EveryBuilder : public frames::RequestTest, public ::testing::WithParamInterface<Builder>
{
protected:
    static RW_VAR asked(int address, int station = 1)
    {
        return variable(GetParam().areaType, address, 8, station, bytes("01 02 03 04"));
    }

    /// The record as the builder leaves it.
    static RW_VAR build(RW_VAR var)
    {
        GetParam().build(&var);
        return var;
    }
};

INSTANTIATE_TEST_SUITE_P(Requests, EveryBuilder, ::testing::ValuesIn(builders),
                         [](const auto &row) { return std::string(row.param.name); });

TEST_P(EveryBuilder, CutsStationAndAddressToTheirWireWidths)
{
    for (int station : {1, 255, 256, 0x1FE, 0x12345, -1, INT_MAX, INT_MIN}) {
        for (int address : {0, 0x1234, 0xFFFF, 0x10000, 0x5ABCD, -1, -2, INT_MAX, INT_MIN}) {
            PLC_driver.ProtocolList.clear();
            build(asked(address, station));
            EXPECT_EQ(hex(head().frame), hex(GetParam().frame(asked(address, station))))
                << station << " " << address;
            EXPECT_EQ(head().frameLen, int(head().frame.size()));
            EXPECT_NE(head().replyLen, 0) << "a station whose low byte is 0 still answers: " << station;
        }
    }
}

TEST_P(EveryBuilder, ExpectsNothingOfStationZero)
{
    build(asked(8, 0));
    ASSERT_EQ(built(), 1);
    EXPECT_EQ(hex(head().frame), hex(GetParam().frame(asked(8, 0))));
    EXPECT_EQ(head().replyLen, 0);
    EXPECT_EQ(head().dataStart, 0);
    EXPECT_EQ(head().dataLen, 0);
}

TEST_P(EveryBuilder, PutsAFullCopyOfTheVariableIntoTheRequest)
{
    RW_VAR var = distinctVariable(GetParam().areaType, 5, 8), expected = var;
    if (GetParam().frame == halvedReadFrame)
        expected.length = 4;
    GetParam().build(&var);
    EXPECT_TRUE(sameVariable(var, expected)) << "the caller's record";
    var.data[0] = 'x';
    var.address = 99;
    EXPECT_TRUE(sameVariable(head().var, expected));
    EXPECT_TRUE(spareIsZero(head()));
}

TEST_P(EveryBuilder, AppendsItsRequest)
{
    build(asked(8));
    build(asked(16));
    ASSERT_EQ(built(), 2);
    EXPECT_EQ(head().var.address, 8);
    EXPECT_EQ(last().var.address, 16);
}

TEST_P(EveryBuilder, MakesAJobOfOneFrame)
{
    for (int station : {0, 1}) {
        markSettings();
        build(asked(8, station));
        EXPECT_TRUE(onlyFrameCountsWereSet()) << station;
    }
}

TEST_P(EveryBuilder, LeavesTheVariablesAndPositionsOfTheLastReadUnlessItMakesItsOwn)
{
    for (int station : {0, 1})
        build(asked(8, station));
    EXPECT_EQ(bool(positionsAreUntouched()), GetParam().leavesPositions) << positions();
    EXPECT_EQ(iTimes, mark);
}

TEST_P(EveryBuilder, WorksWithoutSettings)
{
    PLC_driver.settings = nullptr;
    build(asked(8));
    EXPECT_EQ(hex(head().frame), hex(GetParam().frame(asked(8))));
}

TEST_P(EveryBuilder, HasNothingToDoForANullRecord)
{
    GetParam().build(nullptr);
    EXPECT_EQ(built(), 0);
    EXPECT_TRUE(positionsAreUntouched());
    EXPECT_TRUE(locksAreFree());
}

TEST_P(EveryBuilder, LeavesImageAndListsUnlessItWrites)
{
    fillImage(0x5A);
    const QByteArray before = wholeImage();
    PLC_driver.WriteVarList.append(variable(5, 1, 1));
    build(asked(8));
    EXPECT_EQ(bool(sameImage(before)), GetParam().leavesImage);
    EXPECT_EQ(int(PLC_driver.WriteVarList.size()), 1);
    EXPECT_EQ(int(PLC_driver.ReadVarList.size() + PLC_driver.OnceReadVarList.size()), 0);
    EXPECT_EQ(stored(), "");
    EXPECT_EQ(PLC_driver.CurrentSource, 100);
    EXPECT_EQ(PLC_driver.WriteTimes, 0);
}

TEST_P(EveryBuilder, TakesNoLockUnlessItWrites)
{
    if (!GetParam().leavesImage)
        return; // it takes the image lock
    PLC_driver.ListMutex.lock();
    PLC_driver.ImageMutex.lock();
    build(asked(8));
    PLC_driver.ImageMutex.unlock();
    PLC_driver.ListMutex.unlock();
    EXPECT_EQ(built(), 1);
}

// --- those that a host's write calls

class EveryWriter : public DriverTest, public ::testing::WithParamInterface<Builder>
{
protected:
    static void write(RW_VAR var) { GetParam().build(&var); }
};

INSTANTIATE_TEST_SUITE_P(Requests, EveryWriter, ::testing::Values(writeRegister, remoteWriteVar),
                         [](const auto &row) { return std::string(row.param.name); });

TEST_P(EveryWriter, PutsTheValueIntoTheImageAtOnce)
{
    for (const AreaBuffer &buffer : areaBuffers()) {
        SCOPED_TRACE(buffer.areaType);
        fillImage(0);
        write(variable(buffer.areaType, 3, 2, 5, bytes("01 00 56 78")));
        if (buffer.isBits())
            EXPECT_TRUE(imageIs(buffer.areaType, 0, {0x08}));
        else if (buffer.areaType == 10)
            EXPECT_TRUE(imageIs(buffer.areaType, 3, {0x78560001}));
        else
            EXPECT_TRUE(imageIs(buffer.areaType, 3, {0x0001, 0x7856}));
        EXPECT_TRUE(locksAreFree());
    }
}

TEST_P(EveryWriter, PutsTheValueIntoPerStationStorageUnderTheRecordsStation)
{
    settings.stationMode = 1;
    write(variable(5, 100, 2, 7, bytes("34 12 78 56")));
    write(variable(10, 9, 2, 8, bytes("01 02 03 04")));
    EXPECT_EQ(stored(), "7/5@100 = 34 12\n7/5@101 = 78 56\n8/10@9 = 01 02 03 04\n");
    EXPECT_TRUE(imageIsEmpty());
}

TEST_P(EveryWriter, WithoutSettingsChangesTheFixedImage)
{
    PLC_driver.settings = nullptr;
    write(variable(5, 100, 2, 8, bytes("34 12 78 56")));
    EXPECT_TRUE(imageIs(5, 100, {0x1234, 0x5678}));
}

} // namespace
