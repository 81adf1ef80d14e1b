// The register image in both schemes, and the host's reads and writes on it.
#include "model.h"

#include <algorithm>

namespace model
{

// What one call may reach in per-station storage, and what one host write may hold.
static const Wide mostItems = 65536;

static void put(Bytes &out, Wide position, Wide value)
{
    const size_t index = static_cast<size_t>(position);
    if (out.size() <= index)
        out.resize(index + 1, 0);
    out[index] = lowByte(value);
}

static bool holds(const Bytes &in, Wide position)
{
    return position >= 0 && position < static_cast<Wide>(in.size());
}

static unsigned at(const Bytes &in, Wide position)
{
    return in[static_cast<size_t>(position)];
}

// Items outside a buffer are skipped; behind its end nothing comes any more.
template <typename Item>
static void getBits(Bytes &out, const std::vector<Item> &buffer, Wide start, Wide count, Wide width)
{
    for (Wide i = 0; i < count; ++i) {
        const Wide bit = start + i;
        if (bit < 0)
            continue;
        if (bit / width >= static_cast<Wide>(buffer.size()))
            return;
        put(out, i, (buffer[static_cast<size_t>(bit / width)] >> (bit % width)) & 1);
    }
}

template <typename Item>
static void setBits(Wide start, std::vector<Item> &buffer, const Bytes &in, Wide count, Wide width)
{
    for (Wide i = 0; i < count && holds(in, i); ++i) {
        const Wide bit = start + i;
        if (bit < 0)
            continue;
        if (bit / width >= static_cast<Wide>(buffer.size()))
            return;
        Item &item = buffer[static_cast<size_t>(bit / width)];
        const unsigned mask = 1u << (bit % width);
        item = static_cast<Item>(at(in, i) == 1 ? item | mask : item & ~mask);
    }
}

void GetBitFromUC(Bytes &out, const std::vector<unsigned char> &buffer, int start, int count)
{
    getBits(out, buffer, start, count, 8);
}

void GetBitFromUS(Bytes &out, const std::vector<unsigned short> &buffer, int start, int count)
{
    getBits(out, buffer, start, count, 16);
}

void SetBitToUC(int start, std::vector<unsigned char> &buffer, const Bytes &in, int count)
{
    setBits(start, buffer, in, count, 8);
}

void SetBitToUS(int start, std::vector<unsigned short> &buffer, const Bytes &in, int count)
{
    setBits(start, buffer, in, count, 16);
}

void GetWordFromUS(Bytes &out, const std::vector<unsigned short> &buffer, int start, int count)
{
    for (Wide i = 0; i < count; ++i) {
        const Wide element = start + i;
        if (element < 0)
            continue;
        if (element >= static_cast<Wide>(buffer.size()))
            return;
        put(out, 2 * i, buffer[static_cast<size_t>(element)]);
        put(out, 2 * i + 1, buffer[static_cast<size_t>(element)] >> 8);
    }
}

void SetWordToUS(int start, std::vector<unsigned short> &buffer, const Bytes &in, int count)
{
    for (Wide i = 0; i < count && holds(in, 2 * i + 1); ++i) {
        const Wide element = start + i;
        if (element >= 0 && element < static_cast<Wide>(buffer.size()))
            buffer[static_cast<size_t>(element)] =
                static_cast<unsigned short>(at(in, 2 * i) + 256 * at(in, 2 * i + 1));
    }
}

void GetWordFromUI(Bytes &out, const std::vector<unsigned> &buffer, int start, int count)
{
    const Wide bytesOfOne = count == 1 ? 2 : 4;
    const Wide items = count == 1 ? 1 : count / 2;
    for (Wide i = 0; i < items; ++i) {
        const Wide element = start + i;
        if (element < 0)
            continue;
        if (element >= static_cast<Wide>(buffer.size()))
            return;
        for (Wide k = 0; k < bytesOfOne; ++k)
            put(out, 4 * i + k, buffer[static_cast<size_t>(element)] >> (8 * k));
    }
}

void SetWordToUI(int start, std::vector<unsigned> &buffer, const Bytes &in, int count)
{
    for (Wide i = 0; i < count / 2 && holds(in, 4 * i + 3); ++i) {
        const Wide element = start + i;
        if (element >= 0 && element < static_cast<Wide>(buffer.size()))
            buffer[static_cast<size_t>(element)] =
                at(in, 4 * i) + (at(in, 4 * i + 1) << 8) + (at(in, 4 * i + 2) << 16) + (at(in, 4 * i + 3) << 24);
    }
}

int Model::ExtendFindSameVar(int station, int areaType, int address)
{
    for (size_t i = 0; i < ExtendVarList.size(); ++i)
        if (ExtendVarList[i].station == station && ExtendVarList[i].areaType == areaType &&
            ExtendVarList[i].address == address)
            return static_cast<int>(i);
    ExtendVarList.push_back({station, areaType, address, Bytes(4, 0)});
    return static_cast<int>(ExtendVarList.size()) - 1;
}

// Down to a multiple of 8, toward zero.
static int byteAddress(int bitAddress)
{
    return wrap((bitAddress < 0 ? Wide(bitAddress) + 7 : bitAddress) & ~Wide(7));
}

int Model::GetRegisterData(int areaType, const Text &text, int station, Bytes &out, int length)
{
    const int address = StringAddressToInt(areaType, text);
    if (address < 0)
        return 0;
    if (get(stationMode) != 0) {
        getPerStation(areaType, address, station, out, length);
        return 1;
    }
    switch (areaType) {
    case 0:
    case 1:
    case 2:
    case 3:
    case 4:
    case 11:
        GetBitFromUC(out, image.bits[areaType], address, length);
        break;
    case 5:
    case 6:
    case 7:
    case 8:
    case 9:
    case 12:
    case 13:
        GetWordFromUS(out, image.words[areaType], address, length);
        break;
    case 10:
        GetWordFromUI(out, image.doubleWords, address, length);
        break;
    default:
        break;
    }
    return 1;
}

void Model::getPerStation(int areaType, int address, int station, Bytes &out, int length)
{
    const bool bits =
        areaType == 0 || areaType == 1 || areaType == 2 || areaType == 3 || areaType == 4 || areaType == 11;
    if (areaType < 0 || areaType > 13)
        return;
    const size_t bytesOfOne = areaType == 10 ? 4 : 2;
    for (Wide i = 0; i < std::min<Wide>(length, mostItems); ++i) {
        const int item = wrap(address + i);
        const int index = ExtendFindSameVar(station, areaType, bits ? byteAddress(item) : item);
        const Bytes &value = ExtendVarList[static_cast<size_t>(index)].value;
        if (bits) {
            put(out, i, value.empty() ? 0 : (value[0] >> (item & 7)) & 1);
            continue;
        }
        for (size_t k = 0; k < bytesOfOne; ++k)
            put(out, i * static_cast<Wide>(bytesOfOne) + static_cast<Wide>(k),
                value.size() >= bytesOfOne ? value[k] : 0);
    }
}

int Model::SetRegisterData(const Text &text, int areaType, const Text &addressText, int station,
                           const Bytes &values, int length, int hostType, int hostAddr)
{
    const int address = StringAddressToInt(areaType, addressText);
    if (address < 0)
        return 0;
    Var record;
    record.hostType = hostType;
    record.hostAddr = hostAddr;
    record.hostField3 = 1;
    record.remoteModeCopy = get(remoteMode);
    record.linkNo = get(localLinkNo);
    record.text1 = text;
    record.addressText = addressText;
    record.areaType = areaType;
    record.address = address;
    record.station = get(stationMode) != 0 ? station : get(defaultStation);
    const Wide cut = std::min<Wide>(length, mostItems);
    if (get(writeMode) == 2)
        return queueHostWrite(record, values, cut);
    record.length = wrap(cut);
    record.data = values;
    WriteDataToLocal(record);
    return 1;
}

// Bytes first .. first + count - 1, zeros for those that are not there.
static Bytes part(const Bytes &values, Wide first, Wide count)
{
    Bytes cut;
    for (Wide k = first; k < first + count; ++k)
        cut.push_back(holds(values, k) ? lowByte(at(values, k)) : lowByte(0));
    return cut;
}

int Model::queueHostWrite(Var record, const Bytes &values, Wide length)
{
    const int areaType = record.areaType;
    const Wide address = record.address;
    int result = 0;
    if (areaType == 1 || areaType == 2 || areaType == 3 || areaType == 4 || areaType == 11) {
        record.length = 1;
        for (Wide i = 0; i < length; ++i) {
            record.address = wrap(address + i);
            record.data = part(values, i, 1);
            result = queueRecord(record);
        }
    } else if (areaType == 5 || areaType == 6 || areaType == 7 || areaType == 9 || areaType == 10 ||
               areaType == 12 || areaType == 13) {
        const Wide blockSize = get(blockWords) < 1 ? length : get(blockWords);
        for (Wide done = 0; done < length; done += blockSize) {
            record.length = wrap(std::min(blockSize, length - done));
            record.address = wrap(address + done);
            record.data = part(values, 2 * done, 2 * record.length);
            result = queueRecord(record);
        }
    }
    return result;
}

int Model::queueRecord(const Var &record)
{
    const int size = AddListWriteVar(record, 0);
    if (CommFailFlag)
        WriteDataToLocal(record);
    return size;
}

void Model::WriteDataToLocal(const Var &var)
{
    if (get(stationMode) == 0)
        writeShared(var);
    else
        writePerStation(var);
}

void Model::writeShared(const Var &var)
{
    switch (var.areaType) {
    case 0:
    case 1:
    case 2:
    case 3:
    case 4:
    case 11:
        SetBitToUC(var.address, image.bits[var.areaType], var.data, var.length);
        break;
    case 5:
    case 6:
    case 7:
    case 8:
    case 9:
    case 12:
    case 13:
        SetWordToUS(var.address, image.words[var.areaType], var.data, var.length);
        break;
    case 10:
        SetWordToUI(var.address, image.doubleWords, var.data, var.length);
        break;
    default:
        break;
    }
}

void Model::writePerStation(const Var &var)
{
    const bool bits = (var.areaType >= 0 && var.areaType <= 4) || var.areaType == 11;
    if (var.areaType < 0 || var.areaType > 13)
        return;
    if (bits) {
        for (Wide i = 0; i < std::min<Wide>(var.length, mostItems); ++i) {
            const int bit = wrap(var.address + i);
            const int index = ExtendFindSameVar(var.station, var.areaType, byteAddress(bit));
            Bytes &value = ExtendVarList[static_cast<size_t>(index)].value;
            if (value.empty() || !holds(var.data, i))
                continue;
            const int mask = 1 << (bit & 7);
            value = {lowByte(at(var.data, i) == 1 ? value[0] | mask : value[0] & ~mask)};
        }
        return;
    }
    const Wide bytesOfOne = var.areaType == 10 ? 4 : 2;
    const Wide items = std::min<Wide>(var.areaType == 10 ? var.length / 2 : var.length, mostItems);
    for (Wide i = 0; i < items; ++i) {
        if (!holds(var.data, bytesOfOne * (i + 1) - 1))
            continue;
        const int index = ExtendFindSameVar(var.station, var.areaType, wrap(var.address + i));
        ExtendVarList[static_cast<size_t>(index)].value = part(var.data, bytesOfOne * i, bytesOfOne);
    }
}

} // namespace model
