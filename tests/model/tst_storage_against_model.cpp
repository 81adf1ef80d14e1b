// Random replies to random requests in flight, the host's reads and writes, and the conversions beneath them.
#include "storage_operations.h"

using namespace model;

class StorageAgainstModel : public StorageOperations
{
public:
    using Operation = std::string (StorageOperations::*)(Random &);

    // Some operations of one kind on one image.
    void compare(int cases, Operation operation)
    {
        forEachCase(cases, [this, operation](Random &random) {
            begin(random);
            return repeatedly(20, [&] { return (this->*operation)(random); });
        });
    }
};

TEST_F(StorageAgainstModel, LocalReplies)
{
    compare(2000, &StorageOperations::localReply);
}

TEST_F(StorageAgainstModel, RemoteReplies)
{
    compare(1500, &StorageOperations::remoteReply);
}

TEST_F(StorageAgainstModel, HostReads)
{
    compare(1500, &StorageOperations::hostRead);
}

TEST_F(StorageAgainstModel, HostWrites)
{
    compare(1500, &StorageOperations::hostWrite);
}

TEST_F(StorageAgainstModel, HostCalls)
{
    compare(300, &StorageOperations::hostCall);
}

TEST_F(StorageAgainstModel, AllTogether)
{
    forEachCase(1000, [this](Random &random) {
        begin(random);
        const Operation operations[] = {&StorageOperations::localReply, &StorageOperations::remoteReply,
                                        &StorageOperations::hostRead, &StorageOperations::hostWrite};
        std::string found;
        for (int i = 0; i < 40 && found.empty(); ++i) {
            if (random.chance(10))
                set(stationMode, random.between(0, 1));
            found = (this->*operations[random.between(0, 3)])(random);
        }
        return found;
    });
}

TEST_F(StorageAgainstModel, MostItemsOfOneCall)
{
    set(stationMode, 1);
    Bytes out;
    QByteArray got;
    EXPECT_EQ(expected.GetRegisterData(2, u"5", 1, out, 100000), GetRegisterData(0, 2, "5", 1, &got, 100000));
    EXPECT_EQ(difference(out, got), "");
    EXPECT_EQ(got.size(), 65536);
    Var var;
    var.areaType = 2;
    var.station = 1;
    var.address = 5;
    var.length = 100000;
    var.data.assign(100000, 1);
    RW_VAR record = toDriver(var);
    expected.WriteDataToLocal(var);
    WriteDataToLocal(&record);
    EXPECT_EQ(differenceOfState(expected, settings), "");
}

TEST_F(StorageAgainstModel, MostWordsOfOneHostWrite)
{
    set(writeMode, 2);
    set(blockWords, 100);
    QByteArray values(150000, '\7');
    const Bytes same(150000, 7);
    EXPECT_EQ(expected.SetRegisterData(u"t", 5, u"3", 1, same, 100000, 1, 2),
              SetRegisterData("t", 5, "3", 1, &values, 100000, 1, 2));
    EXPECT_EQ(PLC_driver.WriteVarList.size(), 656);
    EXPECT_EQ(differenceOfState(expected, settings), "");
}

// Without the model: its search through so many entries would take seconds.
TEST_F(StorageAgainstModel, MostItemsOfOneReply)
{
    set(stationMode, 1);
    RW_VAR var = variable(5, 7, 1);
    CurrentRWVar.append(var);
    iRet_ValidStar[0] = 5;
    iRet_ValidLen[0] = 140000;
    QByteArray reply(140007, '\3');
    SaveToLocalDataErea(&reply);
    ASSERT_EQ(PLC_driver.ExtendVarList.size(), 65536);
    EXPECT_EQ(PLC_driver.ExtendVarList.last().address, 7 + 65535);
    EXPECT_EQ(PLC_driver.ExtendVarList.last().value.size(), 2 * 65536);
}
