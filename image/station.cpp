#include "image/station_p.h"

#include <unordered_map>

namespace
{

struct Key {
    int station;
    int areaType;
    int address;

    bool operator==(const Key &other) const
    {
        return station == other.station && areaType == other.areaType && address == other.address;
    }
};

Key keyOf(const EXTENDVAR &entry)
{
    return Key{entry.station, entry.areaType, entry.address};
}

struct KeyHash {
    size_t operator()(const Key &key) const
    {
        return (unsigned(key.station) * 31 + unsigned(key.areaType)) * 0x9E3779B1u + unsigned(key.address);
    }
};

/// Finds entries without walking the list. The list belongs to everybody: a shared copy kept here makes each
/// change by somebody else detach it, and so be noticed. Only references that somebody took before that are not:
/// keys changed through them show when the old keys are looked for. Deliberate: behaviour 317.
class StationIndex
{
public:
    /// Index of the first entry with the key, -1 if there is none.
    int find(const Key &key) TARN_THREAD(requires_capability(PLC_driver.ImageMutex))
    {
        for (refresh();; rebuild()) {
            const Indexes::const_iterator found = firstOf.find(key);
            if (found == firstOf.end())
                return -1;
            if (keyOf(seen.at(found->second)) == key) // not changed through a reference from before the last access
                return found->second;
        }
    }

    /// The key has just been looked for.
    int append(const Key &key) TARN_THREAD(requires_capability(PLC_driver.ImageMutex))
    {
        EXTENDVAR entry;
        entry.station = key.station;
        entry.areaType = key.areaType;
        entry.address = key.address;
        entry.value = QByteArray(4, 0); // Deliberate: behaviour 306.
        seen.clear();
        PLC_driver.ExtendVarList.append(entry);
        seen = PLC_driver.ExtendVarList;
        return firstOf[key] = int(PLC_driver.ExtendVarList.size()) - 1;
    }

    void setValue(int index, const QByteArray &value) TARN_THREAD(requires_capability(PLC_driver.ImageMutex))
    {
        refresh();
        seen.clear();
        PLC_driver.ExtendVarList[index].value = value;
        seen = PLC_driver.ExtendVarList;
    }

private:
    void refresh() TARN_THREAD(requires_capability(PLC_driver.ImageMutex))
    {
        if (!PLC_driver.ExtendVarList.isSharedWith(seen))
            rebuild();
    }

    void rebuild() TARN_THREAD(requires_capability(PLC_driver.ImageMutex))
    {
        seen = PLC_driver.ExtendVarList;
        firstOf.clear();
        for (int i = 0; i < int(seen.size()); ++i)
            firstOf.insert(std::make_pair(keyOf(seen.at(i)), i));
    }

    typedef std::unordered_map<Key, int, KeyHash> Indexes;

    QList<EXTENDVAR> seen;
    Indexes firstOf;
};

StationIndex stationIndex;

} // namespace

int ExtendFindSameVar(int station, int areaType, int address)
{
    const Key key = {station, areaType, address};
    const int index = stationIndex.find(key);
    return index >= 0 ? index : stationIndex.append(key); // Deliberate: behaviour 305.
}

const QByteArray &stationValue(int index)
{
    return PLC_driver.ExtendVarList.at(index).value;
}

void setStationValue(int index, const QByteArray &value)
{
    stationIndex.setValue(index, value);
}
