// Random host lists through the list building, its steps one by one, and the two queues.
#include "list_operations.h"

using namespace model;

class ListsAgainstModel : public ListOperations
{
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
        const std::string found = first({difference(list, got), named("argument", difference(var, record))});
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
        return repeatedly(25, [&] { return queueOne(random); });
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
