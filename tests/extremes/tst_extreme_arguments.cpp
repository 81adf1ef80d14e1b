// The integers that functions take, in pairs.
#include "extremes.h"

#include <functional>

namespace
{

using namespace extremes;

using Call = std::function<void(const Values &)>;

struct Function {
    const char *name;
    std::vector<Parameter> parameters;
    Call call;
};

void PrintTo(const Function &function, std::ostream *out)
{
    *out << function.name;
}

const int Words5 = 10000, Bits2 = 12000, Doubles10 = 256;
const int QueueLimit = 1024;
const int MostItems = 65536;

QByteArray someBytes(int count = 100)
{
    return QByteArray(count, 1);
}

QString text(int number)
{
    return QString::number(number);
}

RW_VAR record(int address, int length)
{
    return variable(5, address, length, 1, someBytes());
}

void getData(const Values &v)
{
    QByteArray out;
    const int address = StringAddressToInt(v[1], text(v[2]));
    EXPECT_EQ(GetRegisterData(v[0], v[1], text(v[2]), v[3], &out, v[4]), address < 0 ? 0 : 1);
    EXPECT_LE(out.size(), 4 * MostItems);
}

void setData(const Values &v)
{
    QByteArray in = someBytes();
    EXPECT_GE(SetRegisterData(QString(), v[0], text(v[1]), v[2], &in, v[3], v[4], v[5]), 0);
    EXPECT_LE(PLC_driver.WriteVarList.size(), QueueLimit);
}

void setImage(const Values &v)
{
    PLC_driver.settings->writeMode = 0;
    setData(v);
}

void rebuild(const Values &v)
{
    QList<HOST_VAR> vars;
    for (int i = 0; i < 2; ++i) {
        HOST_VAR var;
        var.areaType = static_cast<unsigned char>(v[0]);
        var.station = static_cast<unsigned char>(v[1]);
        var.address = text(v[2]);
        var.length = v[3];
        vars.append(var);
    }
    EXPECT_GE(ReCreatReadVarList(&vars), 0);
    EXPECT_LE(PLC_driver.ReadVarList.size(), 2 * MostItems);
}

Call merging(int (*merge)(QList<RW_VAR> *, int, int))
{
    return [merge](const Values &v) {
        QList<RW_VAR> list;
        list << record(v[2], v[3]) << record(v[4], v[5]) << record(100, 4);
        Bubble_Sort(&list);
        merge(&list, v[0], v[1]);
        EXPECT_LE(PLC_driver.ReadVarList.size(), 3);
    };
}

template <typename Element>
Call getting(void (*get)(QByteArray &, Element *, int, int), Element *buffer, int capacity, int width)
{
    return [=](const Values &v) {
        QByteArray out;
        get(out, buffer, v[0], v[1]);
        EXPECT_LE(out.size(), width * (qint64(capacity) - qMin(v[0], 0)));
    };
}

template <typename Element>
Call setting(void (*set)(int, Element *, QByteArray *, int), Element *buffer, int areaType)
{
    return [=](const Values &v) {
        QByteArray in = someBytes(2 * MostItems);
        const QByteArray before = wholeImage(), own = area(areaType).content();
        set(v[0], buffer, &in, v[1]);
        std::memcpy(area(areaType).start, own.constData(), size_t(own.size()));
        EXPECT_TRUE(sameImage(before)) << "another area has changed";
    };
}

template <typename Code>
Call checking(Code code)
{
    return [code](const Values &v) {
        QByteArray data = someBytes(65535);
        code(reinterpret_cast<unsigned char *>(data.data()), static_cast<unsigned short>(v[0]));
    };
}

Call ofOne(int (*call)(int))
{
    return [call](const Values &v) { call(v[0]); };
}

std::vector<Parameter> startAndCount(int capacity)
{
    return {{"start", 0, edgesAround(capacity)}, {"count", 4, edgesAround(capacity)}};
}

/// A function of one number: it has no second one to make a pair with.
std::vector<Parameter> one(const char *name)
{
    return {{name, 1, edges()}, {"nothing", 0, {0}}};
}

/// Each of the longest writes is over half a second's work with sanitizers, which take the greatest length alone.
Values writeLengths()
{
    return TARN_SANITIZED ? Values{INT_MIN, -1, 0, 1, Words5 - 1, Words5, INT_MAX} : edgesAround(Words5);
}

std::vector<Parameter> writeParameters()
{
    return {{"areaType", 5, areaTypes()}, {"address", 0, edgesAround(Words5)},
            {"station", 1, edges()},      {"length", 4, writeLengths()},
            {"hostType", 0, edges()},     {"hostAddr", 0, edges()}};
}

std::vector<Parameter> mergeParameters()
{
    return {{"limit", 30, edges()}, {"count", 0, edges()},     {"address", 0, edgesAround(Words5)},
            {"length", 4, edges()}, {"address 2", 8, edges()}, {"length 2", 4, edges()}};
}

const Function functions[] = {
    {"GetRegisterData",
     {{"unused", 0, edges()},
      {"areaType", 5, areaTypes()},
      {"address", 0, edgesAround(Words5)},
      {"station", 1, edges()},
      {"length", 4, edgesAround(Words5)}},
     getData},
    {"SetRegisterData", writeParameters(), setData},
    {"SetRegisterData_in_the_image", writeParameters(), setImage},
    {"ReCreatReadVarList",
     {{"areaType", 5, {0, 1, 2, 5, 10, 11, 13, 14, 255}},
      {"station", 1, {0, 1, 254, 255}},
      {"address", 0, edgesAround(Words5)},
      {"length", 4, edgesAround(Words5)}},
     rebuild},
    {"WhetherGroup",
     {{"length", 4, edges()}, {"limit", 30, edges()}, {"address", 0, edges()}},
     [](const Values &v) {
         QList<RW_VAR> list;
         RW_VAR var = record(v[2], 4);
         WhetherGroup(v[0], v[1], &var, &list);
         EXPECT_LE(list.size(), 2);
     }},
    {"WordVarReCreat", mergeParameters(), merging(WordVarReCreat)},
    {"BitVarReCreat", mergeParameters(), merging(BitVarReCreat)},
    {"ExtendFindSameVar",
     {{"station", 1, edges()}, {"areaType", 5, areaTypes()}, {"address", 0, edgesAround(Words5)}},
     [](const Values &v) {
         const int index = ExtendFindSameVar(v[0], v[1], v[2]);
         EXPECT_EQ(ExtendFindSameVar(v[0], v[1], v[2]), index);
     }},
    {"GetBitFromUC", startAndCount(Bits2), getting(GetBitFromUC, PLC_driver.ucArea2, Bits2, 1)},
    {"GetBitFromUS", startAndCount(16 * Words5), getting(GetBitFromUS, PLC_driver.usArea5, 16 * Words5, 1)},
    {"GetWordFromUS", startAndCount(Words5), getting(GetWordFromUS, PLC_driver.usArea5, Words5, 2)},
    {"GetWordFromUI", startAndCount(Doubles10), getting(GetWordFromUI, PLC_driver.uiArea10, Doubles10, 4)},
    {"SetBitToUC", startAndCount(Bits2), setting(SetBitToUC, PLC_driver.ucArea2, 2)},
    {"SetBitToUS", startAndCount(16 * Words5), setting(SetBitToUS, PLC_driver.usArea5, 5)},
    {"SetWordToUS", startAndCount(Words5), setting(SetWordToUS, PLC_driver.usArea5, 5)},
    {"SetWordToUI", startAndCount(Doubles10), setting(SetWordToUI, PLC_driver.uiArea10, 10)},
    {"CalSUM", one("length"), checking(CalSUM)},
    {"CalCRC", one("length"), checking(CalCRC)},
    {"CalLRC", one("length"), checking(CalLRC)},
    {"CalXOR", one("length"), checking(CalXOR)},
    {"DigitalToASCII", one("digit"), ofOne(DigitalToASCII)},
    {"ASCIIToDigital", one("character"), ofOne(ASCIIToDigital)},
    {"SwitchErrorReturn", one("base"), ofOne(SwitchErrorReturn)},
    {"GetDriverReturnValue", one("reason"), ofOne(GetDriverReturnValue)},
    {"StringAddressToInt",
     {{"areaType", 5, areaTypes()}, {"address", 0, edges()}},
     [](const Values &v) {
         const int address = StringAddressToInt(v[0], text(v[1]));
         EXPECT_EQ(address, v[0] < 0 || v[0] > 13 ? 0 : text(v[1]).toInt(nullptr, v[0] <= 1 ? 8 : 10));
     }},
    {"PLCAddressChangeIntef",
     {{"areaType", 5, areaTypes()}, {"address", 0, edges()}},
     [](const Values &v) {
         const int address = StringAddressToInt(v[0], text(v[1]));
         EXPECT_EQ(PLCAddressChangeIntef(v[0], text(v[1])), v[0] != 10      ? address
                                                            : address < 200 ? -1
                                                                            : address - 200);
     }},
    {"RegistCallBackFuncIntf", one("context"),
     [](const Values &v) {
         RegistCallBackFuncIntf(nullptr, v[0]);
         EXPECT_EQ(PLC_driver.CallBackContext, v[0]);
     }},
    {"AddListWriteVar",
     {{"mode", 0, edges()}, {"length", 4, edges()}},
     [](const Values &v) {
         RW_VAR var = record(0, v[1]);
         EXPECT_EQ(AddListWriteVar(&var, v[0]), 1);
     }},
    {"AddListOnceReadVar",
     {{"mode", 0, edges()}, {"length", 4, edges()}},
     [](const Values &v) {
         RW_VAR var = record(0, v[1]);
         const int queued = AddListOnceReadVar(&var, v[0]);
         EXPECT_EQ(queued, PLC_driver.OnceReadVarList.size());
         EXPECT_LE(PLC_driver.OnceReadVarList.size(), QueueLimit);
     }},
};

class ExtremeArguments : public ExtremesTest, public ::testing::WithParamInterface<Function>
{
};

TEST_P(ExtremeArguments, AreTakenInPairs)
{
    const Function &function = GetParam();
    forPairsInBothSchemes(function.parameters, [&](int stationMode, const Values &values) {
        restart(stationMode);
        bounded(function.name + describe(function.parameters, values), [&] { function.call(values); });
    });
    EXPECT_GT(calls, 0);
}

INSTANTIATE_TEST_SUITE_P(Of, ExtremeArguments, ::testing::ValuesIn(functions),
                         [](const ::testing::TestParamInfo<Function> &function) { return function.param.name; });

} // namespace
