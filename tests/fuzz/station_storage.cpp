// Per-station storage through every way into it, while the host changes ExtendVarList under the driver.
#include "stage.h"

namespace
{

class Storage : public fuzz::Exchange
{
public:
    std::string anyOperation(model::Random &random)
    {
        using Operation = std::string (Storage::*)(model::Random &);
        static const Operation operations[] = {&Storage::hostRead, &Storage::hostWrite,   &Storage::localReply,
                                               &Storage::hostCall, &Storage::remoteReply, &Storage::lookUp,
                                               &Storage::put,      &Storage::remove};
        return (this->*operations[random.between(0, static_cast<int>(std::size(operations)) - 1)])(random);
    }

private:
    int size() const { return static_cast<int>(expected.ExtendVarList.size()); }

    std::string lookUp(model::Random &random)
    {
        const model::Stored key = anyEntry(random);
        const int index = expected.ExtendFindSameVar(key.station, key.areaType, key.address);
        const int got = ExtendFindSameVar(key.station, key.areaType, key.address);
        const std::string found = model::named("index", model::difference(index, got));
        return found.empty() ? model::differenceOfState(expected, settings) : found;
    }

    // Few places, so that they meet again; values of any size.
    static model::Stored anyEntry(model::Random &random)
    {
        model::Stored entry;
        entry.station = random.between(0, 3);
        entry.areaType = model::anyAreaType(random);
        entry.address = random.chance(80) ? random.between(0, 16) * 8 : random.between(-9, 130);
        entry.value = model::anyBytes(random, random.chance(50) ? 4 : random.between(0, 6));
        return entry;
    }

    static EXTENDVAR toDriver(const model::Stored &entry)
    {
        EXTENDVAR made;
        made.station = entry.station;
        made.areaType = entry.areaType;
        made.address = entry.address;
        made.value = model::toDriver(entry.value);
        return made;
    }

    // An entry comes in between, or takes the place of another.
    std::string put(model::Random &random)
    {
        const model::Stored entry = anyEntry(random);
        if (size() > 0 && random.chance(50)) {
            const int at = random.between(0, size() - 1);
            expected.ExtendVarList[static_cast<size_t>(at)] = entry;
            PLC_driver.ExtendVarList[at] = toDriver(entry);
        } else {
            const int at = random.between(0, size());
            expected.ExtendVarList.insert(expected.ExtendVarList.begin() + at, entry);
            PLC_driver.ExtendVarList.insert(at, toDriver(entry));
        }
        return "";
    }

    // Some entries, or all.
    std::string remove(model::Random &random)
    {
        if (random.chance(10)) {
            expected.ExtendVarList.clear();
            PLC_driver.ExtendVarList.clear();
        }
        for (int count = random.between(0, 5); count > 0 && size() > 0; --count) {
            const int at = random.between(0, size() - 1);
            expected.ExtendVarList.erase(expected.ExtendVarList.begin() + at);
            PLC_driver.ExtendVarList.removeAt(at);
        }
        return "";
    }
};

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t *bytes, std::size_t size)
{
    static Storage stage;
    fuzz::Input input(bytes, size);
    model::Random random = fuzz::decisions(input);
    stage.begin(random);
    stage.set(model::stationMode, 1);
    while (!input.isUsedUp())
        fuzz::requireNone(stage.anyOperation(random));
    return 0;
}
