// Replies into the image.
#include "model.h"

namespace model
{

static bool there(const Bytes &reply, Wide position)
{
    return position >= 0 && position < static_cast<Wide>(reply.size());
}

static unsigned at(const Bytes &reply, Wide position)
{
    return reply[static_cast<size_t>(position)];
}

template <typename Item>
static void store(std::vector<Item> &buffer, Wide index, unsigned value)
{
    if (index >= 0 && index < static_cast<Wide>(buffer.size()))
        buffer[static_cast<size_t>(index)] = static_cast<Item>(value);
}

void SaveBitToUC(std::vector<unsigned char> &buffer, const Bytes &reply, Wide address, Wide start, Wide len)
{
    if (len < 1)
        return;
    const Wide first = address / 8;
    for (Wide k = start; k <= start + len - 1; ++k) {
        if (k >= static_cast<Wide>(reply.size()))
            return;
        if (there(reply, k))
            store(buffer, first + (k - start), at(reply, k));
    }
}

void SaveWordToUS(std::vector<unsigned short> &buffer, const Bytes &reply, Wide address, Wide start, Wide len)
{
    if (len < 2)
        return;
    for (Wide i = 0; i <= len / 2 - 1; ++i) {
        const Wide p = start + 1 + 2 * i;
        if (p >= static_cast<Wide>(reply.size()))
            return;
        if (there(reply, p - 1))
            store(buffer, address + i, at(reply, p) + 256 * at(reply, p - 1));
    }
}

void SaveWordToUI(std::vector<unsigned> &buffer, const Bytes &reply, Wide address, Wide start, Wide len)
{
    if (len < 4)
        return;
    for (Wide i = 0; i <= len / 4 - 1; ++i) {
        const Wide p = start + 3 + 4 * i;
        if (p >= static_cast<Wide>(reply.size()))
            return;
        if (there(reply, p - 3))
            store(buffer, address + i,
                  at(reply, p - 2) + (at(reply, p - 3) << 8) + (at(reply, p) << 16) + (at(reply, p - 1) << 24));
    }
}

void Model::saveShared(const Bytes &reply, const Var &var, Wide start, Wide len)
{
    switch (var.areaType) {
    case 0:
    case 1:
    case 2:
    case 3:
    case 4:
    case 11:
        SaveBitToUC(image.bits[var.areaType], reply, var.address, start, len);
        break;
    case 5:
    case 6:
    case 7:
    case 8:
    case 9:
    case 12:
    case 13:
        SaveWordToUS(image.words[var.areaType], reply, var.address, start, len);
        break;
    case 10:
        SaveWordToUI(image.doubleWords, reply, var.address, start, len);
        break;
    default:
        break;
    }
}

void Model::savePerStation(const Bytes &reply, const Var &var, Wide start, Wide len, size_t *lastEntry)
{
    if (var.areaType < 0 || var.areaType > 13)
        return;
    const bool bits = (var.areaType >= 0 && var.areaType <= 4) || var.areaType == 11;
    const bool doubleWords = var.areaType == 10;
    const Wide bytesOfOne = bits ? 1 : doubleWords ? 4 : 2;
    if (len > 65536 * bytesOfOne)
        len = 65536 * bytesOfOne;
    const Wide items = len < bytesOfOne ? 0 : len / bytesOfOne;
    for (Wide i = 0; i < items; ++i) {
        const int address = wrap(bits ? var.address + 8 * i : var.address + i);
        *lastEntry = static_cast<size_t>(ExtendFindSameVar(var.station, var.areaType, address));
        Bytes &value = ExtendVarList[*lastEntry].value;
        value.clear();
        const Wide p = start + bytesOfOne * i + bytesOfOne - 1;
        if (!there(reply, p) || !there(reply, p - bytesOfOne + 1))
            continue;
        if (bits)
            value = {reply[static_cast<size_t>(p)]};
        else if (doubleWords)
            value = {lowByte(at(reply, p - 2)), lowByte(at(reply, p - 3)), lowByte(at(reply, p)),
                     lowByte(at(reply, p - 1))};
        else
            value = {lowByte(at(reply, p)), lowByte(at(reply, p - 1))};
    }
    if (!ExtendVarList.empty())
        ExtendVarList[*lastEntry].value.resize(static_cast<size_t>(len < 0 ? 0 : len), 0);
}

void Model::SaveToLocalDataErea(const Bytes &reply)
{
    size_t lastEntry = 0;
    iTimes = 0;
    while (iTimes <= get(groupExtra) && iTimes <= 5) {
        const size_t i = static_cast<size_t>(iTimes);
        if (i < CurrentRWVar.size()) {
            const Var var = CurrentRWVar[i];
            if (get(stationMode) == 0)
                saveShared(reply, var, iRet_ValidStar[i], iRet_ValidLen[i]);
            else
                savePerStation(reply, var, iRet_ValidStar[i], iRet_ValidLen[i], &lastEntry);
        }
        iTimes += 1;
    }
}

void Model::SaveToRemoteDataErea(const Bytes &reply)
{
    const Request &head = ProtocolList[0];
    size_t lastEntry = 0;
    if (get(stationMode) == 0)
        saveShared(reply, head.var, head.dataStart, head.dataLen);
    else
        savePerStation(reply, head.var, head.dataStart, head.dataLen, &lastEntry);
}

} // namespace model
