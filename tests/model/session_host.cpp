// The host's calls outside the poll loop.
#include "session.h"

using namespace model;

int Session::someArea()
{
    return random.chance(40) ? 5 : anyAreaType(random);
}

std::string Session::hostRead()
{
    const int areaType = someArea();
    const Text words = addressText(random, areaType, addressIn(random, areaType));
    const int station = random.between(0, 3);
    const int length = random.between(-1, 24);
    operation = "GetRegisterData(" + std::to_string(areaType) + ", " + text(words) + ", station " +
                std::to_string(station) + ", length " + std::to_string(length) + ")";
    Bytes out = anyBytes(random, random.chance(90) ? 0 : 10);
    QByteArray got = toDriver(out);
    const int result = expected.GetRegisterData(areaType, words, station, out, length);
    const int gotResult = GetRegisterData(random.between(0, 9), areaType, toDriver(words), station, &got, length);
    const std::string found = named("result", model::difference(result, gotResult));
    return found.empty() ? named("out", model::difference(out, got)) : found;
}

std::string Session::hostWrite()
{
    const Var var = anyVar(random);
    const int areaType = someArea();
    const Text words = addressText(random, areaType, addressIn(random, areaType));
    operation = "SetRegisterData(" + std::to_string(areaType) + ", " + text(words) + ", length " +
                std::to_string(var.length) + ", " + text(var) + ")";
    QByteArray values = toDriver(var.data);
    const int result = expected.SetRegisterData(var.text1, areaType, words, var.station, var.data, var.length,
                                                var.hostType, var.hostAddr);
    const int got = SetRegisterData(toDriver(var.text1), areaType, toDriver(words), var.station, &values,
                                    var.length, var.hostType, var.hostAddr);
    const std::string found = named("result", model::difference(result, got));
    return found.empty() ? named("values", model::difference(var.data, values)) : found;
}

std::string Session::queueWrite()
{
    const Var var = anyVar(random);
    const int mode = random.pick({0, 0, 1, 2});
    operation = "AddListWriteVar(" + text(var) + ", mode " + std::to_string(mode) + ")";
    RW_VAR record = toDriver(var);
    const int result = expected.AddListWriteVar(var, mode);
    const std::string found = named("result", model::difference(result, AddListWriteVar(&record, mode)));
    return found.empty() ? named("argument", model::difference(var, record)) : found;
}

std::string Session::queueOnce()
{
    const Var var = anyVar(random);
    const int mode = random.pick({0, 0, 1, 2});
    operation = "AddListOnceReadVar(" + text(var) + ", mode " + std::to_string(mode) + ")";
    RW_VAR record = toDriver(var);
    const int result = expected.AddListOnceReadVar(var, mode);
    const std::string found = named("result", model::difference(result, AddListOnceReadVar(&record, mode)));
    return found.empty() ? named("argument", model::difference(var, record)) : found;
}

std::string Session::rebuild()
{
    const std::vector<HostVar> list = anyHostVars(random, 25);
    operation = "ReCreatReadVarList(" + std::to_string(list.size()) + " variables)";
    QList<HOST_VAR> host = toDriver(list);
    const int result = expected.ReCreatReadVarList(list);
    return named("result", model::difference(result, ReCreatReadVarList(&host)));
}

std::string Session::addCyclic()
{
    const Var var = anyVar(random);
    operation = "AddListReadVar(" + text(var) + ")";
    RW_VAR record = toDriver(var);
    const int result = expected.AddListReadVar(var);
    return named("result", model::difference(result, AddListReadVar(&record)));
}

std::string Session::changeSetting()
{
    const int word = random.pick(
        {blockWords, defaultStation, retryLimit, stationMode, remoteMode, localLinkNo, writeMode, hostHandle});
    const int value = anySetting(word);
    operation = "word " + std::to_string(word) + " = " + std::to_string(value);
    set(word, value);
    return "";
}

std::string Session::otherCallback()
{
    operation = "RegistCallBackFuncIntf";
    setCallback(random.chance(70));
    return "";
}

std::string Session::smallCalls()
{
    operation = "FlashLocalRegister, QueryFinishFlag, passRetValue";
    int memory[3];
    if (FlashLocalRegister(memory, memory + 1, memory + 2) != 452 || QueryFinishFlag() != 1)
        return "result differs";
    if (LB != memory || LW != memory + 1 || RWI != memory + 2)
        return "pointers differ";
    FlashLocalRegister(nullptr, nullptr, nullptr);
    const Var var = anyVar(random);
    Var copied = var;
    copied.data.clear();
    RW_VAR source = toDriver(var);
    RW_VAR destination = toDriver(anyVar(random));
    passRetValue(&source, &destination);
    const std::string found = named("destination", model::difference(copied, destination));
    return found.empty() ? named("source", model::difference(var, source)) : found;
}

// No record is nothing to do, no array an empty one.
std::string Session::nullPointers()
{
    operation = "null pointers";
    AddListWriteVar(nullptr, random.between(0, 1));
    AddListOnceReadVar(nullptr, random.between(0, 1));
    AddListReadVar(nullptr);
    WriteDataToLocal(nullptr);
    ReadRegister(nullptr);
    WriteRegister(nullptr);
    Remote_ReadVar(nullptr);
    Remote_WriteVar(nullptr);
    passRetValue(nullptr, nullptr);
    expected.DataCom(Bytes(), 0);
    DataCom(nullptr, 0);
    const int result = expected.SetRegisterData(u"t", 5, u"3", 1, Bytes(), 2, 3, 4);
    return named("result", model::difference(result, SetRegisterData("t", 5, "3", 1, nullptr, 2, 3, 4)));
}

// Every setting counts as 0 until the record comes back.
std::string Session::withoutSettings()
{
    const bool given = random.chance(60);
    operation = given ? "SetComInfo(record)" : "SetComInfo(null)";
    SetComInfo(given ? &settings : nullptr);
    expected.SetComInfo(given);
    return "";
}

std::string Session::flood()
{
    operation = "flood";
    for (int i = 0; i < 1100; ++i) {
        const Var var = anyVar(random);
        RW_VAR record = toDriver(var);
        if (expected.AddListWriteVar(var, 0) != AddListWriteVar(&record, 0))
            return "the write queue's size differs";
        if (expected.AddListOnceReadVar(var, 0) != AddListOnceReadVar(&record, 0))
            return "the one-shot queue's size differs";
    }
    return "";
}
