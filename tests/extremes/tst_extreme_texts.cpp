// Texts of 10,000 characters and more, in every place that takes one.
#include "extremes.h"

namespace
{

using namespace extremes;

struct Text {
    const char *name;
    QString text;
    int octal, decimal; ///< the number that it is; 0 if it is none
};

void PrintTo(const Text &text, std::ostream *out)
{
    *out << text.name;
}

QString repeated(ushort character)
{
    return QString(10000, QChar(character));
}

QString zerosBefore(const char *digits)
{
    return repeated('0') + QLatin1String(digits);
}

const Text texts[] = {
    {"Ones", repeated('1'), 0, 0},
    {"Zeros", repeated('0'), 0, 0},
    {"ZerosBeforeANumber", zerosBefore("17"), 15, 17},
    {"ANegativeNumber", QLatin1Char('-') + zerosBefore("17"), -15, -17},
    {"Blanks", repeated(' '), 0, 0},
    {"BlanksAroundANumber", repeated(' ') + QLatin1String("17") + repeated(' '), 15, 17},
    {"Nulls", repeated(0), 0, 0},
    {"Signs", repeated('-'), 0, 0},
    {"HalvesOfCharacters", repeated(0xD800), 0, 0},
    {"LettersOfAnotherScript", repeated(0x05D0), 0, 0},
};

class ExtremeTexts : public ExtremesTest, public ::testing::WithParamInterface<Text>
{
};

TEST_P(ExtremeTexts, AreNumbersOrCountAsZero)
{
    const QString text = GetParam().text;
    bounded("as an address", [&] {
        EXPECT_EQ(StringAddressToInt(0, text), GetParam().octal);
        EXPECT_EQ(StringAddressToInt(5, text), GetParam().decimal);
        EXPECT_EQ(PLCAddressChangeIntef(5, text), GetParam().decimal);
        EXPECT_EQ(PLCAddressChangeIntef(10, text), -1);
    });
}

TEST_P(ExtremeTexts, AreTakenInAVariable)
{
    for (int stationMode : {0, 1}) {
        SCOPED_TRACE(stationMode);
        restart(stationMode);
        HOST_VAR var;
        var.areaType = 5;
        var.address = GetParam().text;
        var.length = 1;
        QList<HOST_VAR> vars;
        vars.append(var);
        bounded("in a variable", [&] { ReCreatReadVarList(&vars); });
        EXPECT_EQ(PLC_driver.ReadVarList.size(), GetParam().decimal >= 0);
    }
}

TEST_P(ExtremeTexts, AreTakenInARecord)
{
    for (int stationMode : {0, 1}) {
        SCOPED_TRACE(stationMode);
        restart(stationMode);
        RW_VAR wish = variable(2, 0, 8);
        wish.text1 = wish.addressText = GetParam().text;
        bounded("in a record", [&] {
            AddListWriteVar(&wish, 0);
            AddListOnceReadVar(&wish, 0);
            ComCommunication();
            DataCom(nullptr, 0);
        });
        EXPECT_EQ(PLC_driver.OnceReadVarList.size(), GetParam().decimal >= 0);
    }
}

TEST_P(ExtremeTexts, AreTakenInReadsAndWrites)
{
    const QString text = GetParam().text;
    const bool isAddress = GetParam().decimal >= 0;
    for (int stationMode : {0, 1}) {
        SCOPED_TRACE(stationMode);
        restart(stationMode);
        QByteArray values(2, 1), out;
        bounded("in a read", [&] { EXPECT_EQ(GetRegisterData(0, 5, text, 1, &out, 1), isAddress); });
        bounded("in a write", [&] { EXPECT_EQ(SetRegisterData(text, 5, text, 1, &values, 1, 0, 0), isAddress); });
    }
}

INSTANTIATE_TEST_SUITE_P(Of10000Characters, ExtremeTexts, ::testing::ValuesIn(texts),
                         [](const ::testing::TestParamInfo<Text> &text) { return text.param.name; });

} // namespace
