// Request frames: reads, writes and the remote ones.
#include "model.h"

#include <algorithm>

namespace model
{

void Model::append(Request request)
{
    ProtocolList.push_back(std::move(request));
    set(frameTotal, 1);
    set(frameDone, 0);
}

// Check code, lengths and variable; without an answer (station 0) the last three are 0.
void Model::seal(Request &request, const Var &var, Wide replyLen, Wide dataStart, Wide dataLen)
{
    const Wide covered = static_cast<Wide>(request.frame.size()) % 65536;
    const unsigned crc = CalCRC(request.frame, covered);
    request.frame.push_back(lowByte(crc));
    request.frame.push_back(lowByte(crc >> 8));
    request.frameLen = static_cast<int>(request.frame.size());
    request.replyLen = var.station != 0 ? wrap(replyLen) : 0;
    request.dataStart = var.station != 0 ? wrap(dataStart) : 0;
    request.dataLen = var.station != 0 ? wrap(dataLen) : 0;
    request.var = var;
}

// One entry of a grouped read: area code, count byte, data bytes.
struct Entry {
    Wide code, count, data;
};

static Entry entryOf(const Var &var)
{
    const Wide length = var.length;
    switch (var.areaType) {
    case 0:
    case 1:
    case 2:
    case 4:
        return {var.areaType, length * 8, length};
    case 3:
        return {5, length * 8, length};
    case 11:
        return {3, length * 8, length};
    case 5:
        return {8, length, 2 * length};
    case 6:
        return {18, length, 2 * length};
    case 7:
        return {17, length, 2 * length};
    case 8:
        return {6, length, 2 * length};
    case 9:
        return {7, length, 2 * length};
    case 12:
        return {9, length, 2 * length};
    case 13:
        return {16, length, 2 * length};
    case 10:
        return {19, length - 1, 4 * (length - 1)};
    default:
        return {0, 0, 0};
    }
}

static void addEntry(Bytes &frame, Wide code, Wide count, Wide address)
{
    frame.push_back(lowByte(code));
    frame.push_back(lowByte(count));
    frame.push_back(lowByte(address));
    frame.push_back(lowByte(address >> 8));
}

void Model::ReadRegisterGroup(const std::vector<Var> &vars)
{
    const bool answered = vars[0].station != 0;
    Request request;
    request.frame = {lowByte(vars[0].station), 0xFE, lowByte(static_cast<Wide>(vars.size()))};
    Wide replyLen = 5;
    Wide position = 5;
    for (size_t i = 0; i < vars.size(); ++i) {
        const Entry entry = entryOf(vars[i]);
        addEntry(request.frame, entry.code, entry.count, vars[i].address);
        replyLen += 2 + entry.data;
        if (answered) {
            iRet_ValidStar[i] = wrap(position);
            iRet_ValidLen[i] = wrap(entry.data);
        }
        position += entry.data + 2;
    }
    seal(request, vars[0], replyLen, 0, 0);
    CurrentRWVar.clear();
    for (const Var &var : vars)
        CurrentRWVar.push_back(var);
    append(request);
}

void Model::ReadRegister(Var &var)
{
    switch (var.areaType) {
    case 0:
    case 1:
    case 2:
    case 3:
    case 4:
    case 11:
        ReadBool(var);
        break;
    case 5:
    case 6:
    case 7:
    case 8:
    case 9:
    case 12:
    case 13:
        ReadAnalog(var);
        break;
    case 10:
        ReadAnalog_32CV(var);
        break;
    default:
        break;
    }
}

void Model::ReadBool(const Var &var)
{
    const int codes[11] = {1, 2, 5, 4, 0, 0, 0, 0, 0, 0, 3};
    const int code = var.areaType >= 1 && var.areaType <= 11 ? codes[var.areaType - 1] : 0;
    const Wide length = var.length;
    Request request;
    request.frame = {lowByte(var.station), 0xFE, 0x01};
    addEntry(request.frame, code, length * 8, var.address);
    seal(request, var, length + 7, 0, 0);
    iRet_ValidStar[0] = var.station != 0 ? 5 : 0;
    iRet_ValidLen[0] = var.station != 0 ? var.length : 0;
    CurrentRWVar.clear();
    CurrentRWVar.push_back(var);
    append(request);
}

void Model::ReadAnalog(const Var &var)
{
    const int codes[9] = {8, 18, 17, 6, 7, 0, 0, 9, 16};
    const int code = var.areaType >= 5 && var.areaType <= 13 ? codes[var.areaType - 5] : 0;
    const Wide length = var.length;
    Request request;
    request.frame = {lowByte(var.station), 0xFE, 0x01};
    addEntry(request.frame, code, length, var.address);
    seal(request, var, 2 * length + 7, 5, 2 * length);
    append(request);
}

void Model::ReadAnalog_32CV(Var &var)
{
    var.length = var.length / 2;
    const Wide length = var.length;
    Request request;
    request.frame = {lowByte(var.station), 0xFE, 0x01};
    addEntry(request.frame, 0x13, length - 1, var.address);
    seal(request, var, 4 * (length - 1) + 7, 5, 4 * (length - 1));
    append(request);
}

void Model::WriteRegister(const Var &var)
{
    switch (var.areaType) {
    case 1:
    case 2:
    case 3:
    case 4:
    case 11:
        WriteBool(var);
        break;
    case 5:
    case 6:
    case 7:
    case 9:
    case 12:
    case 13:
        WriteAnalog(var);
        break;
    case 10:
        WriteAnalog_32CV(var);
        break;
    default:
        break;
    }
    if (!CommFailFlag)
        WriteDataToLocal(var);
}

void Model::WriteBool(const Var &var)
{
    const int codes[11] = {1, 2, 5, 4, 0, 0, 0, 0, 0, 0, 3};
    const int code = var.areaType >= 1 && var.areaType <= 11 ? codes[var.areaType - 1] : 0;
    Request request;
    request.frame = {lowByte(var.station), 0xFF, 0x01};
    addEntry(request.frame, code, var.length, var.address);
    request.frame.push_back(!var.data.empty() && var.data[0] == 1 ? 1 : 0);
    seal(request, var, 3, 0, 0);
    append(request);
}

void Model::WriteAnalog(const Var &var)
{
    const int codes[9] = {8, 18, 17, 0, 7, 0, 0, 9, 16};
    const int code = var.areaType >= 5 && var.areaType <= 13 ? codes[var.areaType - 5] : 0;
    const int length = std::min(var.length, 65536);
    Request request;
    request.frame = {lowByte(var.station), 0xFF, 0x01};
    addEntry(request.frame, code, length, var.address);
    for (int i = 0; i < length; ++i) {
        const size_t low = 2 * static_cast<size_t>(i);
        const bool there = var.data.size() > low + 1;
        request.frame.push_back(there ? var.data[low + 1] : 0);
        request.frame.push_back(there ? var.data[low] : 0);
    }
    seal(request, var, 3, 0, 0);
    append(request);
}

void Model::WriteAnalog_32CV(const Var &var)
{
    const int length = std::min(var.length, 65536);
    const int count = length / 2 + (length % 2 != 0 ? 1 : 0);
    Request request;
    request.frame = {lowByte(var.station), 0xFF, 0x01};
    addEntry(request.frame, 19, count, var.address);
    for (int i = 0; i < count && length >= 1; ++i) {
        const size_t first = 4 * static_cast<size_t>(i);
        const bool there = var.data.size() > first + 3;
        for (size_t k : {first + 1, first, first + 3, first + 2})
            request.frame.push_back(there ? var.data[k] : 0);
    }
    seal(request, var, 3, 0, 0);
    append(request);
}

static void addHighFirst(Bytes &frame, int bytes, Wide number)
{
    for (int i = bytes - 1; i >= 0; --i)
        frame.push_back(lowByte(number >> (8 * i)));
}

// 21 bytes, then those of the value, then the sum.
static Bytes remoteFrame(const Var &var, const Bytes &value)
{
    Bytes frame;
    frame.push_back(lowByte(22 + static_cast<Wide>(value.size())));
    frame.push_back(lowByte(var.hostType));
    frame.push_back(lowByte(var.hostField3));
    frame.push_back(lowByte(var.linkNo));
    frame.push_back(lowByte(var.station));
    addHighFirst(frame, 2, var.areaType);
    addHighFirst(frame, 4, var.address);
    addHighFirst(frame, 2, var.length);
    addHighFirst(frame, 4, var.remoteStoreMark);
    addHighFirst(frame, 4, var.hostField14);
    frame.insert(frame.end(), value.begin(), value.end());
    frame.push_back(lowByte(CalSUM(frame, static_cast<Wide>(frame.size()))));
    return frame;
}

static Wide halfRoundedUp(Wide number)
{
    Wide half = number / 2;
    if (half * 2 < number)
        ++half;
    return half;
}

static Wide remoteDataBytes(const Var &var)
{
    if (var.areaType >= 0 && var.areaType <= 4)
        return var.length;
    if (var.areaType == 10)
        return 4 * halfRoundedUp(var.length);
    return 2 * Wide(var.length);
}

void Model::Remote_ReadVar(const Var &var)
{
    Request request;
    request.frame = remoteFrame(var, Bytes());
    request.frameLen = 22;
    if (var.station != 0) {
        request.replyLen = wrap(remoteDataBytes(var) + 5);
        request.dataStart = 3;
        request.dataLen = wrap(remoteDataBytes(var));
    }
    request.var = var;
    append(request);
}

void Model::Remote_WriteVar(const Var &var)
{
    Request request;
    request.frame = remoteFrame(var, var.data);
    request.frameLen = static_cast<int>(request.frame.size());
    request.replyLen = var.station != 0 ? 8 : 0;
    request.var = var;
    append(request);
    WriteDataToLocal(var);
}

} // namespace model
