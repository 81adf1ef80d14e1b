// List building on both sides, from settings and host lists that include extremes.
#ifndef TARN_TESTS_LIST_OPERATIONS_H
#define TARN_TESTS_LIST_OPERATIONS_H

#include "compare.h"
#include "generate.h"

#include <climits>

namespace model
{

class ListOperations : public DriverTest
{
public:
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
        const std::string found = first({named("result", difference(result, ReCreatReadVarList(&host))),
                                         differenceOfState(expected, settings)});
        return found.empty() ? found : found + describe(list);
    }

    std::string queueOne(Random &random)
    {
        Var var = random.chance(10) ? extremeVar(random) : anyVar(random);
        var.address = random.chance(80) ? random.between(0, 3) : var.address;
        var.length = random.chance(80) ? random.between(1, 3) : std::min(var.length, 600);
        const int mode = random.pick({0, 0, 0, 1, 2, -1});
        RW_VAR record = toDriver(var);
        const bool once = random.chance(50);
        const int result = once ? expected.AddListOnceReadVar(var, mode) : expected.AddListWriteVar(var, mode);
        const int got = once ? AddListOnceReadVar(&record, mode) : AddListWriteVar(&record, mode);
        const std::string found =
            first({named("result", difference(result, got)), named("argument", difference(var, record)),
                   differenceOfState(expected, settings)});
        return found.empty()
                   ? found
                   : (once ? "AddListOnceReadVar(" : "AddListWriteVar(") + text(var) + ", mode " +
                         std::to_string(mode) + ") blockWords " + std::to_string(blockSize()) + ": " + found;
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

} // namespace model

#endif
