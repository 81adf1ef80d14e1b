// Random variables through every request builder, and random bytes through the check codes.
#include "compare.h"
#include "generate.h"

#include <climits>

using namespace model;

class FramesAgainstModel : public DriverTest
{
protected:
    void begin(Random &random)
    {
        reset();
        expected = Model();
        setWord(expected, settings, stationMode, random.between(0, 1));
        setWord(expected, settings, frameDone, random.between(0, 9));
        setWord(expected, settings, groupExtra, random.between(0, 5));
        PLC_driver.CommFailFlag = static_cast<unsigned char>(expected.CommFailFlag = random.between(0, 1));
        for (size_t i = 0; i < 6; ++i) {
            iRet_ValidLen[i] = expected.iRet_ValidLen[i] = random.between(0, 99);
            iRet_ValidStar[i] = expected.iRet_ValidStar[i] = random.between(0, 99);
        }
        const Var before = anyVar(random);
        expected.CurrentRWVar = {before};
        CurrentRWVar = toDriver(expected.CurrentRWVar);
    }

    // A long write is built as 65,536 words: seldom.
    static Var anyTarget(Random &random)
    {
        Var var = random.chance(50) ? extremeVar(random) : anyVar(random);
        if (var.length > 3000 && random.chance(90))
            var.length = random.between(200, 3000);
        return var;
    }

    std::string group(Random &random)
    {
        std::vector<Var> vars;
        const int count = random.between(1, 6);
        for (int i = 0; i < count; ++i)
            vars.push_back(random.chance(50) ? extremeVar(random) : anyVar(random));
        std::vector<RW_VAR> records;
        for (const Var &var : vars)
            records.push_back(toDriver(var));
        expected.ReadRegisterGroup(vars);
        readGroup(records);
        std::string found = differenceOfState(expected, settings);
        for (size_t i = 0; i < vars.size() && found.empty(); ++i)
            found = named("argument", difference(vars[i], records[i]));
        for (const Var &var : vars)
            found += found.empty() ? "" : "\n  " + text(var);
        return named("ReadRegister" + std::to_string(count), found);
    }

    std::string single(Random &random)
    {
        static const struct {
            const char *name;
            std::function<void(Model &, Var &)> model;
            void (*driver)(RW_VAR *);
        } builders[] = {
            {"ReadRegister", [](Model &m, Var &v) { m.ReadRegister(v); }, ReadRegister},
            {"ReadBool", [](Model &m, Var &v) { m.ReadBool(v); }, ReadBool},
            {"ReadAnalog", [](Model &m, Var &v) { m.ReadAnalog(v); }, ReadAnalog},
            {"ReadAnalog_32CV", [](Model &m, Var &v) { m.ReadAnalog_32CV(v); }, ReadAnalog_32CV},
            {"WriteRegister", [](Model &m, Var &v) { m.WriteRegister(v); }, WriteRegister},
            {"WriteBool", [](Model &m, Var &v) { m.WriteBool(v); }, WriteBool},
            {"WriteAnalog", [](Model &m, Var &v) { m.WriteAnalog(v); }, WriteAnalog},
            {"WriteAnalog_32CV", [](Model &m, Var &v) { m.WriteAnalog_32CV(v); }, WriteAnalog_32CV},
            {"Remote_ReadVar", [](Model &m, Var &v) { m.Remote_ReadVar(v); }, Remote_ReadVar},
            {"Remote_WriteVar", [](Model &m, Var &v) { m.Remote_WriteVar(v); }, Remote_WriteVar},
        };
        const auto &builder = builders[random.between(0, static_cast<int>(std::size(builders)) - 1)];
        Var var = anyTarget(random);
        if (settings.stationMode != 0 && isBitArea(var.areaType)) // every bit is looked up
            var.length = std::min(var.length, 500);
        const std::string before = text(var);
        RW_VAR record = toDriver(var);
        builder.model(expected, var);
        builder.driver(&record);
        const std::string found =
            first({named("argument", difference(var, record)), differenceOfState(expected, settings)});
        return found.empty() ? found : std::string(builder.name) + "(" + before + ") " + found;
    }

    Model expected;
};

TEST_F(FramesAgainstModel, Builders)
{
    forEachCase(6000, [this](Random &random) {
        begin(random);
        return repeatedly(5, [&] { return random.chance(30) ? group(random) : single(random); });
    });
}

TEST_F(FramesAgainstModel, CheckCodes)
{
    forEachCase(5000, [](Random &random) {
        Bytes data = anyBytes(random, random.chance(98) ? random.between(1, 300) : 65535);
        const int length = random.between(0, static_cast<int>(data.size()));
        const auto count = static_cast<unsigned short>(length);
        std::string found =
            named("CalCRC", difference(static_cast<int>(CalCRC(data, length)), ::CalCRC(data.data(), count)));
        if (found.empty())
            found =
                named("CalSUM", difference(static_cast<int>(CalSUM(data, length)), ::CalSUM(data.data(), count)));
        if (found.empty())
            found = named("CalLRC", difference(CalLRC(data, length), ::CalLRC(data.data(), count)));
        if (found.empty())
            found =
                named("CalXOR", difference(static_cast<int>(CalXOR(data, length)), ::CalXOR(data.data(), count)));
        return found.empty() ? found : found + " of " + text(data) + ", length " + std::to_string(length);
    });
}

// The CRC counts its bytes in 16 bits.
TEST_F(FramesAgainstModel, LongReplies)
{
    forEachCase(60, [this](Random &random) {
        begin(random);
        expected.ProtocolList = {Request()};
        PLC_driver.ProtocolList.append(toDriver(Request()));
        const int length = random.between(65530, 65600);
        Bytes reply = anyBytes(random, length);
        const unsigned crc = CalCRC(reply, (length - 2) % 65536);
        reply[static_cast<size_t>(length) - 2] = lowByte(crc);
        reply[static_cast<size_t>(length) - 1] = lowByte(random.chance(80) ? crc >> 8 : 0);
        QByteArray got = toDriver(reply);
        const std::string found = difference(expected.CheckGetData(reply, length), CheckGetData(&got, length));
        return found.empty() ? found : "CheckGetData, length " + std::to_string(length) + found;
    });
}

TEST_F(FramesAgainstModel, HexadecimalDigits)
{
    forEachCase(5000, [](Random &random) {
        const int number = anyInt(random);
        std::string found =
            named("DigitalToASCII", difference(model::DigitalToASCII(number), ::DigitalToASCII(number)));
        if (found.empty())
            found = named("ASCIIToDigital", difference(model::ASCIIToDigital(number), ::ASCIIToDigital(number)));
        return found.empty() ? found : found + " for " + std::to_string(number);
    });
}
