// The driver's life: scheduler, reply intake, result codes.
#include "model.h"

namespace model
{

Model::Model()
{
    for (int areaType : {0, 1, 3, 4})
        image.bits[areaType].assign(256, 0);
    image.bits[2].assign(1500, 0);
    image.bits[11].assign(140, 0);
    image.words[5].assign(10000, 0);
    for (int areaType : {6, 7, 8, 9})
        image.words[areaType].assign(256, 0);
    image.words[12].assign(8, 0);
    image.words[13].assign(8, 0);
    image.doubleWords.assign(256, 0);
    RetVar.result = 1;
}

void Model::set(Word word, int value)
{
    if (hasSettings)
        settings[word] = value;
}

void Model::SetComInfo(bool given)
{
    hasSettings = given;
    set(status13, 0);
    set(status10, 0);
}

const Request *Model::ComCommunication()
{
    if (!ProtocolList.empty())
        return &ProtocolList[0];
    if (!WriteVarList.empty() && WriteTimes <= 4) {
        CurrentSource = 1;
        if (get(remoteMode) != 0)
            Remote_WriteVar(WriteVarList[0]);
        else
            WriteRegister(WriteVarList[0]);
        WriteTimes += 1;
    } else if (!OnceReadVarList.empty() && OnceReadTimes <= 4) {
        CurrentSource = 2;
        set(groupExtra, 0);
        if (get(remoteMode) != 0)
            Remote_ReadVar(OnceReadVarList[0]);
        else
            ReadRegister(OnceReadVarList[0]);
        OnceReadTimes += 1;
    } else if (ReadVarList.empty()) {
        WriteTimes = 0;
        OnceReadTimes = 0;
        set(cycleDone, 1);
    } else {
        buildCyclic();
    }
    return ProtocolList.empty() ? nullptr : &ProtocolList[0];
}

void Model::buildCyclic()
{
    CurrentSource = 0;
    if (get(remoteMode) != 0) {
        set(groupExtra, 0);
        Remote_ReadVar(ReadVarList[0]);
    } else {
        std::vector<Var> group;
        for (size_t i = 0; i < ReadVarList.size() && group.size() < 6; ++i) {
            if (ReadVarList[i].station != ReadVarList[0].station)
                break;
            group.push_back(ReadVarList[i]);
        }
        set(groupExtra, static_cast<int>(group.size()) - 1);
        ReadRegisterGroup(group);
    }
    WriteTimes = 0;
    OnceReadTimes = 0;
}

int Model::CheckGetData(const Bytes &reply, int length) const
{
    if (length == 0)
        return ProtocolList[0].var.station == 0 ? 2 : 0;
    if (length < 2 || length > static_cast<Wide>(reply.size()))
        return 0;
    if (length == 3)
        return reply[1] == 0xFF && reply[2] == 0x20 ? 2 : 0;
    const unsigned crc = CalCRC(reply, (length - 2) % 65536);
    const size_t last = static_cast<size_t>(length) - 1;
    return reply[last] == crc / 256 && reply[last - 1] == crc % 256 ? 1 : 0;
}

int Model::DealDataOfLocalArea(const Bytes &reply, int length)
{
    const int expected = ProtocolList[0].replyLen;
    if (length == 0 && expected != 0)
        return GetDriverReturnValue(2);
    if (length != 0 && length != expected && expected != -1)
        return GetDriverReturnValue(3);
    switch (CheckGetData(reply, length)) {
    case 1:
        SaveToLocalDataErea(reply);
        return GetDriverReturnValue(0);
    case 2:
        return GetDriverReturnValue(0);
    default:
        return GetDriverReturnValue(1);
    }
}

int Model::DealDataOfRemoteArea(const Bytes &reply, int length)
{
    const int expected = ProtocolList[0].replyLen;
    if (length == 0 && expected != 0)
        return GetDriverReturnValue(6);
    if (length != 0 && length != expected && expected != -1)
        return GetDriverReturnValue(7);
    if (CheckGetData(reply, length) == 0)
        return GetDriverReturnValue(5);
    if (ProtocolList[0].var.remoteStoreMark != -1)
        return GetDriverReturnValue(4);
    SaveToRemoteDataErea(reply);
    return GetDriverReturnValue(get(frameDone) == 1 ? 4 : 0);
}

int Model::GetDriverReturnValue(int reason) const
{
    switch (reason) {
    case 0:
        return 1;
    case 1:
        return SwitchErrorReturn(10);
    case 2:
        return SwitchErrorReturn(40);
    case 3:
        return SwitchErrorReturn(70);
    case 4:
        return 100;
    case 5:
        return SwitchErrorReturn(110);
    case 6:
        return SwitchErrorReturn(140);
    case 7:
        return SwitchErrorReturn(170);
    default:
        return 200;
    }
}

int Model::SwitchErrorReturn(int base) const
{
    const int hostType = ProtocolList[0].var.hostType;
    return wrap(Wide(base) + (hostType >= 1 && hostType <= 11 ? hostType + 1 : 1));
}

static void passRetValue(const Var &source, Var &destination)
{
    destination = source;
    destination.data.clear();
}

const Var &Model::DataCom(const Bytes &reply, int length)
{
    RetVar.result = 1;
    if (ProtocolList.empty())
        return RetVar;
    const bool remote = ProtocolList[0].var.linkNo != get(localLinkNo);
    const int code = remote ? DealDataOfRemoteArea(reply, length) : DealDataOfLocalArea(reply, length);
    if (code == 1 || code == 100) {
        CommFailFlag = 0;
        ProtocolList.erase(ProtocolList.begin());
        const int answered = wrap(Wide(get(frameDone)) + 1);
        set(frameDone, answered);
        if (answered < get(frameTotal)) {
            RetVar.result = code;
            return RetVar;
        }
        if (get(cycleDone) == 0 && !remote) {
            CycleReadCount += 1;
            if (CycleReadCount > static_cast<int>(ReadVarList.size())) {
                CycleReadCount = 0;
                set(cycleDone, 1);
            }
        }
    } else {
        CycleReadCount = 0;
        CommFailFlag = 1;
        set(cycleDone, 0);
        const int failures = wrap(Wide(get(retryCount)) + 1);
        set(retryCount, failures);
        if (failures <= get(retryLimit)) {
            RetVar.result = 0;
            return RetVar;
        }
        set(retryCount, 0);
        ProtocolList.clear();
    }
    endOfJob(remote);
    if (CommFailFlag)
        purge();
    RetVar.result = code;
    return RetVar;
}

void Model::endOfJob(bool remote)
{
    if (CurrentSource == 1 && !WriteVarList.empty()) {
        passRetValue(WriteVarList[0], RetVar);
        WriteVarList.erase(WriteVarList.begin());
    } else if (CurrentSource == 2 && !OnceReadVarList.empty()) {
        endOfOnceRead(remote);
    } else if (CurrentSource == 0 && !ReadVarList.empty()) {
        passRetValue(ReadVarList[0], RetVar);
        for (int i = 0; i < get(groupExtra) + 1; ++i) {
            const Var head = ReadVarList[0];
            ReadVarList.erase(ReadVarList.begin());
            ReadVarList.push_back(head);
        }
    }
}

void Model::endOfOnceRead(bool remote)
{
    const Var head = OnceReadVarList[0];
    bool another = false;
    for (size_t i = 1; i < OnceReadVarList.size(); ++i)
        if (OnceReadVarList[i].hostType == head.hostType && OnceReadVarList[i].hostAddr == head.hostAddr)
            another = true;
    if (!remote && !another && hasCallback)
        callbacks.push_back({get(hostHandle), head.hostType, head.hostAddr, CommFailFlag == 0 ? 1 : 2});
    passRetValue(head, RetVar);
    OnceReadVarList.erase(OnceReadVarList.begin());
}

void Model::purge()
{
    if (get(stationMode) == 0) {
        OnceReadVarList.clear();
        WriteVarList.clear();
        return;
    }
    for (std::vector<Var> *list : {&OnceReadVarList, &WriteVarList}) {
        std::vector<Var> kept;
        for (const Var &var : *list)
            if (var.station != RetVar.station)
                kept.push_back(var);
        *list = kept;
    }
}

} // namespace model
