// A second driver: slow, plain, of standard containers, written without a look at the real one. Random operations
// on both must leave the same state. It is as literal as it can be (a bubble sort that bubbles, a CRC bit by bit,
// a table of areas for every task that needs one), so that the two have no reason to share a mistake.
#ifndef TARN_TESTS_MODEL_H
#define TARN_TESTS_MODEL_H

#include <array>
#include <map>
#include <string>
#include <vector>

namespace model
{

using Bytes = std::vector<unsigned char>;
using Text = std::u16string;

/// Numbers of unlimited width, as far as the driver is concerned; wrap() is where they meet 32 bits.
using Wide = long long;
int wrap(Wide number);
unsigned char lowByte(Wide number);

struct Var {
    int hostType = 0, hostAddr = 0, hostField3 = 0, remoteModeCopy = 0, linkNo = 0, result = 0;
    Text text1, addressText;
    int areaType = 0, address = 0, station = 0, length = 0, remoteStoreMark = 0, hostField14 = 0;
    Bytes data;
};

struct Request {
    Bytes frame;
    int frameLen = 0, replyLen = 0, dataStart = 0, dataLen = 0;
    Var var;
};

/// One value in per-station storage.
struct Stored {
    int station = 0, areaType = 0, address = 0;
    Bytes value;
};

struct HostVar {
    int areaType = 0, station = 0;
    Text address;
    int length = 0;
};

/// The words of the host's settings that the driver knows.
enum Word {
    blockWords = 4,
    defaultStation = 6,
    retryLimit = 7,
    retryCount = 8,
    stationMode = 9,
    status10 = 10,
    frameTotal = 11,
    frameDone = 12,
    status13 = 13,
    remoteMode = 14,
    localLinkNo = 15,
    writeMode = 16,
    cycleDone = 17,
    hostHandle = 18,
    groupExtra = 19,
};

int StringAddressToInt(int areaType, const Text &text);
int PLCAddressChangeIntef(int areaType, const Text &text);

unsigned CalCRC(const Bytes &bytes, Wide length);
unsigned CalSUM(const Bytes &bytes, Wide length);
int CalLRC(const Bytes &bytes, Wide length);
unsigned CalXOR(const Bytes &bytes, Wide length);
int DigitalToASCII(int digit);
int ASCIIToDigital(int character);

/// The register image of the shared scheme, by area type.
struct Image {
    std::map<int, std::vector<unsigned char>> bits; ///< eight to a byte
    std::map<int, std::vector<unsigned short>> words;
    std::vector<unsigned> doubleWords;
};

void GetBitFromUC(Bytes &out, const std::vector<unsigned char> &buffer, int start, int count);
void GetBitFromUS(Bytes &out, const std::vector<unsigned short> &buffer, int start, int count);
void GetWordFromUS(Bytes &out, const std::vector<unsigned short> &buffer, int start, int count);
void GetWordFromUI(Bytes &out, const std::vector<unsigned> &buffer, int start, int count);
void SetBitToUC(int start, std::vector<unsigned char> &buffer, const Bytes &in, int count);
void SetBitToUS(int start, std::vector<unsigned short> &buffer, const Bytes &in, int count);
void SetWordToUS(int start, std::vector<unsigned short> &buffer, const Bytes &in, int count);
void SetWordToUI(int start, std::vector<unsigned> &buffer, const Bytes &in, int count);

// len bytes of the reply from start on into a buffer, from the item of the address on.
void SaveBitToUC(std::vector<unsigned char> &buffer, const Bytes &reply, Wide address, Wide start, Wide len);
void SaveWordToUS(std::vector<unsigned short> &buffer, const Bytes &reply, Wide address, Wide start, Wide len);
void SaveWordToUI(std::vector<unsigned> &buffer, const Bytes &reply, Wide address, Wide start, Wide len);

class Model
{
public:
    Model();

    // What can be seen of the real driver, under its names.
    std::array<int, 20> settings{}; ///< the host's record
    bool hasSettings = true;        ///< false: SetComInfo() got no record
    std::vector<Var> ReadVarList, WriteVarList, OnceReadVarList, CurrentRWVar;
    std::vector<Request> ProtocolList;
    std::vector<Stored> ExtendVarList;
    Var RetVar;
    int CurrentSource = 100, WriteTimes = 0, OnceReadTimes = 0, CycleReadCount = 0, CommFailFlag = 0, iTimes = 0;
    std::array<int, 6> iRet_ValidStar{}, iRet_ValidLen{};
    Image image;
    bool hasCallback = false;
    std::vector<std::array<int, 4>> callbacks; ///< every call made, with its arguments

    void SetComInfo(bool given);

    // Lists and queues.
    int AddListReadVar(const Var &var);
    int ReCreatReadVarList(const std::vector<HostVar> &hostVars);
    static void WhetherGroup(int length, int limit, const Var &var, std::vector<Var> &list);
    static void Bubble_Sort(std::vector<Var> &list);
    int WordVarReCreat(const std::vector<Var> &list, int limit, int count);
    int BitVarReCreat(const std::vector<Var> &list, int limit, int count);
    int AddListWriteVar(const Var &var, int mode);
    int AddListOnceReadVar(Var var, int mode);

    // Image and host access.
    int ExtendFindSameVar(int station, int areaType, int address);
    int GetRegisterData(int areaType, const Text &address, int station, Bytes &out, int length);
    int SetRegisterData(const Text &text, int areaType, const Text &address, int station, const Bytes &values,
                        int length, int hostType, int hostAddr);
    void WriteDataToLocal(const Var &var);

    // Requests.
    void ReadRegisterGroup(const std::vector<Var> &vars); ///< ReadRegister1 .. ReadRegister6
    void ReadRegister(Var &var);
    void ReadBool(const Var &var);
    void ReadAnalog(const Var &var);
    void ReadAnalog_32CV(Var &var);
    void WriteRegister(const Var &var);
    void WriteBool(const Var &var);
    void WriteAnalog(const Var &var);
    void WriteAnalog_32CV(const Var &var);
    void Remote_ReadVar(const Var &var);
    void Remote_WriteVar(const Var &var);

    // Polling and replies.
    const Request *ComCommunication();
    const Var &DataCom(const Bytes &reply, int length);
    int CheckGetData(const Bytes &reply, int length) const;
    int DealDataOfLocalArea(const Bytes &reply, int length);
    int DealDataOfRemoteArea(const Bytes &reply, int length);
    int GetDriverReturnValue(int reason) const;
    int SwitchErrorReturn(int base) const;
    void SaveToLocalDataErea(const Bytes &reply);
    void SaveToRemoteDataErea(const Bytes &reply);

private:
    int get(Word word) const { return hasSettings ? settings[word] : 0; }
    void set(Word word, int value);

    Var blockRecord() const;
    void buildShared(const std::vector<HostVar> &hostVars);
    void buildPerStation(const std::vector<HostVar> &hostVars);
    void addOnceReadPiece(const Var &piece);

    void getPerStation(int areaType, int address, int station, Bytes &out, int length);
    int queueHostWrite(Var record, const Bytes &values, Wide length);
    int queueRecord(const Var &record);
    void writeShared(const Var &var);
    void writePerStation(const Var &var);

    void append(Request request);
    void seal(Request &request, const Var &var, Wide replyLen, Wide dataStart, Wide dataLen);

    void buildCyclic();
    void endOfJob(bool remote);
    void endOfOnceRead(bool remote);
    void purge();

    void saveShared(const Bytes &reply, const Var &var, Wide start, Wide len);
    void savePerStation(const Bytes &reply, const Var &var, Wide start, Wide len, size_t *lastEntry);
};

} // namespace model

#endif
