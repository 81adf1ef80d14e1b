// Null pointers to every function that takes one, and calls before the settings are known.
#include "extremes.h"

#include <functional>

namespace
{

using namespace extremes;

struct Call {
    const char *name;
    std::function<void()> make;
};

void PrintTo(const Call &call, std::ostream *out)
{
    *out << call.name;
}

QString one()
{
    return QString::fromLatin1("1");
}

const Call nullCalls[] = {
    {"SetComInfo", [] { SetComInfo(nullptr); }},
    {"RegistCallBackFuncIntf", [] { RegistCallBackFuncIntf(nullptr, 0); }},
    {"FlashLocalRegister", [] { EXPECT_EQ(FlashLocalRegister(nullptr, nullptr, nullptr), 452); }},
    {"AddListReadVar", [] { EXPECT_EQ(AddListReadVar(nullptr), 0); }},
    {"ReCreatReadVarList", [] { EXPECT_EQ(ReCreatReadVarList(nullptr), 0); }},
    {"AddListWriteVar", [] { EXPECT_EQ(AddListWriteVar(nullptr, 0) + AddListWriteVar(nullptr, 1), 0); }},
    {"AddListOnceReadVar", [] { EXPECT_EQ(AddListOnceReadVar(nullptr, 0) + AddListOnceReadVar(nullptr, 1), 0); }},
    {"GetRegisterData", [] { EXPECT_EQ(GetRegisterData(0, 5, one(), 1, nullptr, 4), 1); }},
    {"SetRegisterData", [] { EXPECT_EQ(SetRegisterData(QString(), 5, one(), 1, nullptr, 4, 0, 0), 1); }},
    {"DataCom", [] { EXPECT_EQ(DataCom(nullptr, 9), &PLC_driver.RetVar); }},
    {"DealDataOfLocalArea", [] { EXPECT_EQ(DealDataOfLocalArea(nullptr, 9), 71); }},
    {"DealDataOfRemoteArea", [] { EXPECT_EQ(DealDataOfRemoteArea(nullptr, 9), 171); }},
    {"CheckGetData", [] { EXPECT_EQ(CheckGetData(nullptr, 9), 0); }},
    {"check_codes",
     [] {
         EXPECT_EQ(CalSUM(nullptr, 9), 0);
         EXPECT_EQ(CalCRC(nullptr, 9), 0xFFFF);
         EXPECT_EQ(CalLRC(nullptr, 9), 256);
         EXPECT_EQ(CalXOR(nullptr, 9), 0);
     }},
    {"passRetValue",
     [] {
         RW_VAR var = variable(5, 1, 1);
         passRetValue(nullptr, &var);
         passRetValue(&var, nullptr);
         EXPECT_EQ(var.areaType, 5);
     }},
    {"WhetherGroup",
     [] {
         RW_VAR var;
         QList<RW_VAR> list;
         WhetherGroup(4, 2, nullptr, &list);
         WhetherGroup(4, 2, &var, nullptr);
         EXPECT_EQ(list.size(), 0);
     }},
    {"list_building",
     [] {
         Bubble_Sort(nullptr);
         EXPECT_EQ(WordVarReCreat(nullptr, 30, 7), 7);
         EXPECT_EQ(BitVarReCreat(nullptr, 30, 7), 7);
     }},
    {"conversion_out_of_no_buffer",
     [] {
         QByteArray out;
         GetBitFromUC(out, nullptr, 0, 4);
         GetBitFromUS(out, nullptr, 0, 4);
         GetWordFromUS(out, nullptr, 0, 4);
         GetWordFromUI(out, nullptr, 0, 4);
         EXPECT_EQ(out.size(), 0);
     }},
    {"conversion_into_no_buffer",
     [] {
         QByteArray in(16, 1);
         SetBitToUC(0, nullptr, &in, 4);
         SetBitToUS(0, nullptr, &in, 4);
         SetWordToUS(0, nullptr, &in, 4);
         SetWordToUI(0, nullptr, &in, 4);
     }},
    {"conversion_of_no_array",
     [] {
         const QByteArray before = wholeImage();
         SetBitToUC(0, PLC_driver.ucArea2, nullptr, 4);
         SetBitToUS(0, PLC_driver.usArea5, nullptr, 4);
         SetWordToUS(0, PLC_driver.usArea5, nullptr, 4);
         SetWordToUI(0, PLC_driver.uiArea10, nullptr, 4);
         WriteDataToLocal(nullptr);
         EXPECT_TRUE(sameImage(before));
     }},
    {"read_builders",
     [] {
         RW_VAR var;
         ReadRegister1(nullptr);
         ReadRegister2(&var, nullptr);
         ReadRegister3(&var, &var, nullptr);
         ReadRegister4(&var, &var, &var, nullptr);
         ReadRegister5(nullptr, &var, &var, &var, &var);
         ReadRegister6(&var, &var, &var, &var, &var, nullptr);
         ReadRegister(nullptr);
         ReadBool(nullptr);
         ReadAnalog(nullptr);
         ReadAnalog_32CV(nullptr);
         Remote_ReadVar(nullptr);
         EXPECT_EQ(PLC_driver.ProtocolList.size(), 0);
     }},
    {"write_builders",
     [] {
         WriteRegister(nullptr);
         WriteBool(nullptr);
         WriteAnalog(nullptr);
         WriteAnalog_32CV(nullptr);
         Remote_WriteVar(nullptr);
         EXPECT_EQ(PLC_driver.ProtocolList.size(), 0);
     }},
    {"storage",
     [] {
         QByteArray reply(9, 1);
         const QByteArray before = wholeImage();
         SaveToLocalDataErea(nullptr);
         SaveBitToUC(nullptr, PLC_driver.ucArea2);
         SaveBitToUC(&reply, nullptr);
         SaveWordToUS(nullptr, nullptr);
         SaveWordToUI(nullptr, nullptr);
         SpecialRegisterSave(nullptr, nullptr);
         EXPECT_TRUE(sameImage(before));
     }},
    {"remote_storage",
     [] {
         QByteArray reply(9, 1);
         const QByteArray before = wholeImage();
         SaveToRemoteDataErea(nullptr);
         SaveBitToUCRemote(&reply, nullptr);
         SaveWordToUSRemote(nullptr, PLC_driver.usArea5);
         SaveWordToUIRemote(nullptr, nullptr);
         EXPECT_TRUE(sameImage(before));
     }},
};

class NullPointers : public ExtremesTest, public ::testing::WithParamInterface<Call>
{
};

TEST_P(NullPointers, AreHarmless)
{
    for (int stationMode : {0, 1}) {
        restart(stationMode);
        bounded(GetParam().name, GetParam().make);
    }
}

TEST_P(NullPointers, AreHarmlessWithoutSettings)
{
    PLC_driver.settings = nullptr;
    bounded(GetParam().name, GetParam().make);
    EXPECT_EQ(PLC_driver.settings, nullptr);
}

INSTANTIATE_TEST_SUITE_P(To, NullPointers, ::testing::ValuesIn(nullCalls),
                         [](const ::testing::TestParamInfo<Call> &call) { return call.param.name; });

class BeforeSetComInfo : public ExtremesTest
{
protected:
    BeforeSetComInfo() { PLC_driver.settings = nullptr; }
};

TEST_F(BeforeSetComInfo, TheImageIsFixedAndWritesStayInIt)
{
    QByteArray values = bytes("34 12"), out;
    bounded("read and write", [&] {
        EXPECT_EQ(SetRegisterData(QString(), 5, one(), 1, &values, 1, 0, 0), 1);
        EXPECT_EQ(GetRegisterData(0, 5, one(), 9, &out, 1), 1);
    });
    EXPECT_EQ(hex(out), "34 12");
    EXPECT_EQ(PLC_driver.WriteVarList.size(), 0);
}

TEST_F(BeforeSetComInfo, JobsOfEveryKindArePolled)
{
    RW_VAR write = variable(5, 1, 1, 1, bytes("34 12")), wish = variable(2, 0, 8);
    EXPECT_EQ(AddListWriteVar(&write, 0), 1);
    EXPECT_EQ(AddListOnceReadVar(&wish, 0), 1);
    HOST_VAR var;
    var.areaType = 5;
    var.length = 4;
    QList<HOST_VAR> vars;
    vars.append(var);
    EXPECT_EQ(ReCreatReadVarList(&vars), 0);
    QByteArray acknowledgement = bytes("01 FF 20");
    bounded("jobs", [&] {
        EXPECT_EQ(hex(ComCommunication()->frame).substr(0, 5), "01 FF");
        EXPECT_EQ(DataCom(&acknowledgement, 3)->result, 1);
        EXPECT_EQ(hex(ComCommunication()->frame).substr(0, 5), "00 FE"); // the default station counts as 0
        EXPECT_EQ(DataCom(nullptr, 0)->result, 1);
        EXPECT_EQ(hex(ComCommunication()->frame).substr(0, 5), "00 FE");
        EXPECT_EQ(DataCom(nullptr, 0)->result, 1);
    });
}

} // namespace
