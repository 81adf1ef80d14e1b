// Random host lists through the list building, its steps one by one, and the two queues.
#include "compare.h"
#include "generate.h"

#include <climits>

using namespace model;

class ListsAgainstModel : public DriverTest
{
protected:
    // Both sides as after loading, with settings that matter to lists.
    void begin(Random &random)
    {
        reset();
        expected = Model();
        set(blockWords, random.chance(80) ? anyBlockSize(random) : anyInt(random));
        set(defaultStation, random.chance(80) ? random.between(0, 5) : anyInt(random));
        set(stationMode, random.between(0, 1) * random.pick({1, 1, 7, -1}));
        set(remoteMode, random.between(0, 2));
        set(localLinkNo, random.between(0, 9));
        set(cycleDone, random.between(0, 1));
        PLC_driver.CycleReadCount = expected.CycleReadCount = random.between(0, 9);
    }
    void set(Word word, int value) { setWord(expected, settings, word, value); }
    int blockSize() const { return settings.blockWords; }

    // Extremes into some entries; no more than some hundred pieces a variable.
    void stretch(Random &random, std::vector<HostVar> &list)
    {
        const Wide most = 200LL * std::max(blockSize(), 1);
        for (HostVar &var : list) {
            if (random.chance(20))
                var.address = addressText(random, var.areaType, anyInt(random));
            if (random.chance(20))
                var.length = anyInt(random);
            if (random.chance(20))
                var.station = random.between(0, 255);
            if (settings.stationMode != 0 && blockSize() > 0)
                var.length = wrap(std::min<Wide>(var.length, most));
        }
    }

    std::string recreate(const std::vector<HostVar> &list)
    {
        QList<HOST_VAR> host = toDriver(list);
        const int result = expected.ReCreatReadVarList(list);
        std::string found = named("result", difference(result, ReCreatReadVarList(&host)));
        if (found.empty())
            found = differenceOfState(expected, settings);
        return found.empty() ? found : found + describe(list);
    }

    std::string describe(const std::vector<HostVar> &list) const
    {
        std::string all = "\n  blockWords " + std::to_string(blockSize()) + ", stationMode " +
                          std::to_string(settings.stationMode);
        for (const HostVar &var : list)
            all += "\n  area " + std::to_string(var.areaType) + " station " + std::to_string(var.station) +
                   " address " + text(var.address) + " length " + std::to_string(var.length);
        return all;
    }

    static std::string describe(const std::vector<Var> &list)
    {
        std::string all;
        for (const Var &var : list)
            all += "\n  " + text(var);
        return all;
    }

    // A sorted list of one area, as the merges expect it.
    static std::vector<Var> sortedList(Random &random)
    {
        std::vector<Var> list;
        const bool extreme = random.chance(15);
        const int count = random.between(0, 25);
        for (int i = 0; i < count; ++i)
            list.push_back(extreme ? extremeVar(random) : anyVar(random));
        Model::Bubble_Sort(list);
        return list;
    }

    static int anyLimit(Random &random)
    {
        return random.chance(80) ? random.pick({-1, 0, 1, 2, 8, 16, 30, 32, 64, 240, 256, 2040}) : anyInt(random);
    }

    Model expected;
};

TEST_F(ListsAgainstModel, PanelLists)
{
    forEachCase(12000, [this](Random &random) {
        begin(random);
        return recreate(anyHostVars(random, 40));
    });
}

TEST_F(ListsAgainstModel, ExtremeLists)
{
    forEachCase(12000, [this](Random &random) {
        begin(random);
        std::vector<HostVar> list = anyHostVars(random, 20);
        stretch(random, list);
        return recreate(list);
    });
}

TEST_F(ListsAgainstModel, RebuildReplacesTheList)
{
    forEachCase(1000, [this](Random &random) {
        begin(random);
        std::string found;
        for (int i = 0; i < 4 && found.empty(); ++i) {
            set(stationMode, random.between(0, 1));
            found = recreate(anyHostVars(random, 12));
        }
        return found;
    });
}

TEST_F(ListsAgainstModel, MostPiecesOfOneVariable)
{
    for (int areaType : {2, 5, 10}) {
        reset();
        expected = Model();
        set(stationMode, 1);
        set(blockWords, 2);
        EXPECT_EQ(recreate({{areaType, 1, u"3", 2 * 8 * 70000}}), "");
        EXPECT_EQ(PLC_driver.ReadVarList.size(), 65536);
    }
}

TEST_F(ListsAgainstModel, WhetherGroup)
{
    forEachCase(20000, [](Random &random) {
        const Var var = extremeVar(random);
        const int length = random.chance(80) ? var.length : anyInt(random);
        const int limit = anyLimit(random);
        std::vector<Var> list = {Var()};
        QList<RW_VAR> got = toDriver(list);
        RW_VAR record = toDriver(var);
        Model::WhetherGroup(length, limit, var, list);
        WhetherGroup(length, limit, &record, &got);
        std::string found = difference(list, got);
        if (found.empty())
            found = named("argument", difference(var, record));
        return found.empty() ? found
                             : "WhetherGroup(" + std::to_string(length) + ", " + std::to_string(limit) + ", " +
                                   text(var) + ") list" + found;
    });
}

TEST_F(ListsAgainstModel, BubbleSort)
{
    forEachCase(5000, [](Random &random) {
        std::vector<Var> list;
        const int count = random.between(0, 30);
        for (int i = 0; i < count; ++i)
            list.push_back(random.chance(10) ? extremeVar(random) : anyVar(random));
        QList<RW_VAR> got = toDriver(list);
        Model::Bubble_Sort(list);
        Bubble_Sort(&got);
        return named("sorted", difference(list, got));
    });
}

TEST_F(ListsAgainstModel, Merging)
{
    forEachCase(20000, [this](Random &random) {
        reset();
        expected = Model();
        std::string found;
        for (int call = 0; call < 2 && found.empty(); ++call) {
            const std::vector<Var> list = sortedList(random);
            QList<RW_VAR> records = toDriver(list);
            const int limit = anyLimit(random);
            const int count = static_cast<int>(expected.ReadVarList.size());
            const bool bits = random.chance(50);
            const int result =
                bits ? expected.BitVarReCreat(list, limit, count) : expected.WordVarReCreat(list, limit, count);
            const int got = bits ? BitVarReCreat(&records, limit, count) : WordVarReCreat(&records, limit, count);
            found = named("result", difference(result, got));
            if (found.empty())
                found = differenceOfState(expected, settings);
            if (!found.empty())
                found = std::string(bits ? "BitVarReCreat" : "WordVarReCreat") + " limit " + std::to_string(limit) +
                        ": " + found + describe(list);
        }
        return found;
    });
}

TEST_F(ListsAgainstModel, Queues)
{
    forEachCase(3000, [this](Random &random) {
        begin(random);
        std::string found;
        for (int i = 0; i < 25 && found.empty(); ++i) {
            Var var = random.chance(10) ? extremeVar(random) : anyVar(random);
            var.address = random.chance(80) ? random.between(0, 3) : var.address;
            var.length = random.chance(80) ? random.between(1, 3) : std::min(var.length, 600);
            const int mode = random.pick({0, 0, 0, 1, 2, -1});
            RW_VAR record = toDriver(var);
            const bool once = random.chance(50);
            const int result = once ? expected.AddListOnceReadVar(var, mode) : expected.AddListWriteVar(var, mode);
            const int got = once ? AddListOnceReadVar(&record, mode) : AddListWriteVar(&record, mode);
            found = named("result", difference(result, got));
            if (found.empty())
                found = named("argument", difference(var, record));
            if (found.empty())
                found = differenceOfState(expected, settings);
            if (!found.empty())
                found = (once ? "AddListOnceReadVar(" : "AddListWriteVar(") + text(var) + ", mode " +
                        std::to_string(mode) + ") blockWords " + std::to_string(blockSize()) + ": " + found;
        }
        return found;
    });
}

TEST_F(ListsAgainstModel, FullQueues)
{
    forEachCase(2, [this](Random &random) {
        begin(random);
        set(blockWords, 4);
        for (int i = 0; i < 1500; ++i) {
            Var var = anyVar(random);
            var.address = random.between(0, 5000);
            var.addressText = addressText(random, var.areaType, var.address);
            RW_VAR record = toDriver(var);
            const int mode = random.chance(98) ? 0 : 1;
            const int write = expected.AddListWriteVar(var, mode);
            const int once = expected.AddListOnceReadVar(var, mode);
            if (write != AddListWriteVar(&record, mode) || once != AddListOnceReadVar(&record, mode))
                return "a queue's size differs after " + std::to_string(i) + " records";
        }
        return differenceOfState(expected, settings);
    });
}

TEST_F(ListsAgainstModel, AddressTexts)
{
    forEachCase(30000, [](Random &random) {
        const int areaType = random.chance(90) ? anyAreaType(random) : anyInt(random);
        const int address = random.chance(50) ? anyInt(random) : random.between(-300, 500);
        const Text words = addressText(random, areaType, address);
        std::string found =
            named("StringAddressToInt", difference(model::StringAddressToInt(areaType, words),
                                                   ::StringAddressToInt(areaType, toDriver(words))));
        if (found.empty())
            found = named("PLCAddressChangeIntef", difference(model::PLCAddressChangeIntef(areaType, words),
                                                              ::PLCAddressChangeIntef(areaType, toDriver(words))));
        return found.empty() ? found : found + " for area " + std::to_string(areaType) + " text " + text(words);
    });
}
