// Driver for controllers of the FGs series: records, the driver object and every exported name.
//
// The host owns the link and the threads. It hands over the variables that it wants refreshed, sends the
// frames that ComCommunication() returns, hands the replies to DataCom() and reads values with
// GetRegisterData(). The library does no input or output.
//
// Byte strings between host and driver are little-endian: a word low byte first, a double word least
// significant byte first, a bit as one byte, 0 or 1.
//
// Threads: ComCommunication() and DataCom() belong to one polling thread and alternate strictly.
// GetRegisterData(), SetRegisterData(), AddListWriteVar(), AddListOnceReadVar() and ReCreatReadVarList() may
// be called on any thread at any time. Everything else is called before polling starts, or is a routine of
// the driver itself that a host rarely needs; what those expect to be locked stands at the declaration.
//
// Errors are integers, never exceptions. Null pointers are harmless everywhere: a null record is nothing to
// do, a null array is an empty one, and without SetComInfo() every setting counts as 0.
#ifndef TARN_FGSSERIES_H
#define TARN_FGSSERIES_H

#include <QtCore/QByteArray>
#include <QtCore/QList>
#include <QtCore/QMutex>
#include <QtCore/QString>

#define TARN_EXPORT __attribute__((visibility("default")))

// Clang checks the locking with -Wthread-safety; other compilers see nothing.
#if defined(__clang__)
#define TARN_THREAD(annotation) __attribute__((annotation))
#else
#define TARN_THREAD(annotation)
#endif

/// A non-recursive QMutex, no member added, that the thread-safety analysis understands.
class TARN_THREAD(capability("mutex")) TarnMutex : public QMutex
{
public:
    void lock() TARN_THREAD(acquire_capability()) { QMutex::lock(); }
    void unlock() TARN_THREAD(release_capability()) { QMutex::unlock(); }
};

/// One controller variable, or a block or piece of one.
struct RW_VAR {
    int hostType = 0;        ///< the host's type code; moves the failure codes, goes to the callback
    int hostAddr = 0;        ///< the host's number of the variable; goes to the callback
    int hostField3 = 0;      ///< the host's; sent in remote frames
    int remoteModeCopy = 0;  ///< COMINFO::remoteMode when the entry was made
    int linkNo = 0;          ///< other than COMINFO::localLinkNo: the reply takes the remote path
    int result = 0;          ///< in RetVar: the result code of the last reply
    QString text1;           ///< the host's, copied unchanged
    QString addressText;     ///< address as text; octal for areas 0 and 1, otherwise decimal
    int areaType = 0;        ///< register area, 0..13
    int address = 0;         ///< bit number, word index or double-word index in the area
    int station = 0;         ///< controller station; station 0 is a broadcast and gets no reply
    int length = 0;          ///< number of bits or words; of bytes in the block reads of a bit area
    int remoteStoreMark = 0; ///< -1: the data of a remote reply is stored
    int hostField14 = 0;     ///< the host's; sent in remote frames
    QByteArray data;         ///< value bytes to write, little-endian
};

/// One built request, waiting to be sent and answered.
struct Protocol {
    QByteArray frame;         ///< the bytes to send
    int frameLen = 0;         ///< number of bytes in frame
    int replyLen = 0;         ///< bytes expected in the reply; 0 no reply, -1 any length
    int dataStart = 0;        ///< first data byte in the reply, where the builder gives it
    int dataLen = 0;          ///< data bytes in the reply, where the builder gives it
    RW_VAR var;               ///< the (first) variable that the request serves
    int spare[3] = {0, 0, 0}; ///< unused
};

/// One value in per-station storage; bits are kept eight to an entry, at addresses that are multiples of 8.
struct EXTENDVAR {
    int station = 0;
    int areaType = 0;
    int address = 0;
    QByteArray value;
};

/// The host's communication settings. The host owns the record and keeps it alive; the driver reads the
/// settings, keeps its counters in the words marked (driver) and leaves every other word alone.
struct COMINFO {
    int reserved0[4];
    int blockWords; ///< most 16-bit words that one read block may cover
    int reserved5;
    int defaultStation; ///< station of every variable while stationMode is 0
    int retryLimit;     ///< extra attempts for a failing request
    int retryCount;     ///< (driver) failed replies since the limit was last passed
    int stationMode;    ///< nonzero: per-station storage, and a dead station loses only its own queue entries
    int status10;       ///< (driver) set to 0 by SetComInfo
    int frameTotal;     ///< (driver) frames built for the job in flight
    int frameDone;      ///< (driver) frames of that job answered so far
    int status13;       ///< (driver) set to 0 by SetComInfo
    int remoteMode;     ///< nonzero: every request is built for the remote path
    int localLinkNo;    ///< link number of the controller attached locally
    int writeMode;      ///< 2: host writes go to the controller; otherwise they change the image only
    int cycleDone;      ///< (driver) 1 once a pass over the cyclic list is complete
    int hostHandle;     ///< first argument of the host callback
    int groupExtra;     ///< (driver) variables in the request in flight, minus one
};

/// One variable that the host wants refreshed all the time; length in bits, words or, for area 10, the unit
/// of a grouped read (one more than the double words wanted).
struct HOST_VAR {
    unsigned char areaType = 0;
    unsigned char station = 0;
    QString address;
    int length = 0;
};

/// The driver's state. Every function works on one object, PLC_driver; another one, in a host's test, is only
/// looked at. Lock order: ListMutex, then ImageMutex.
class Tarn_FGsSeries
{
public:
    /// As after loading: empty lists, an image of zeros, CurrentSource 100, RetVar.result 1.
    TARN_EXPORT Tarn_FGsSeries();

    COMINFO *settings;
    QList<RW_VAR> ReadVarList TARN_THREAD(guarded_by(ListMutex));     ///< cyclic reads, served round and round
    QList<RW_VAR> WriteVarList TARN_THREAD(guarded_by(ListMutex));    ///< queued writes
    QList<RW_VAR> OnceReadVarList TARN_THREAD(guarded_by(ListMutex)); ///< queued one-shot reads
    QList<RW_VAR> SpareVarList;   ///< unused, keeps the member order. Deliberate: behaviour 105.
    QList<Protocol> ProtocolList; ///< polling thread only; head is in flight
    QList<EXTENDVAR> ExtendVarList TARN_THREAD(guarded_by(ImageMutex));
    void (*CallBackFunc)(int, int, int, int);
    int CallBackContext;
    TarnMutex ListMutex TARN_THREAD(acquired_before(ImageMutex));
    TarnMutex ImageMutex;
    RW_VAR RetVar;                                        ///< polling thread only
    int CurrentSource TARN_THREAD(guarded_by(ListMutex)); ///< 0 cyclic, 1 write, 2 one-shot, 100 none yet
    int WriteTimes TARN_THREAD(guarded_by(ListMutex));    ///< writes served in a row
    int OnceReadTimes TARN_THREAD(guarded_by(ListMutex)); ///< one-shot reads served in a row
    int CycleReadCount TARN_THREAD(guarded_by(ListMutex));
    unsigned char
        CommFailFlag; ///< 1 while the last reply failed; read and written by __atomic_load_n, __atomic_store_n
    unsigned char spareFlag;

    // The register image: bits packed eight to a byte from the least significant, words, double words.
    unsigned char ucArea0[256] TARN_THREAD(guarded_by(ImageMutex));
    unsigned char ucArea1[256] TARN_THREAD(guarded_by(ImageMutex));
    unsigned char ucArea2[1500] TARN_THREAD(guarded_by(ImageMutex));
    unsigned char ucArea11[140] TARN_THREAD(guarded_by(ImageMutex));
    unsigned char ucArea4[256] TARN_THREAD(guarded_by(ImageMutex));
    unsigned char ucArea3[256] TARN_THREAD(guarded_by(ImageMutex));
    unsigned short usArea8[256] TARN_THREAD(guarded_by(ImageMutex));
    unsigned short usArea9[256] TARN_THREAD(guarded_by(ImageMutex));
    unsigned short usArea5[10000] TARN_THREAD(guarded_by(ImageMutex));
    unsigned short usArea12[8] TARN_THREAD(guarded_by(ImageMutex));
    unsigned short usArea13[8] TARN_THREAD(guarded_by(ImageMutex));
    unsigned short usArea7[256] TARN_THREAD(guarded_by(ImageMutex));
    unsigned short usArea6[256] TARN_THREAD(guarded_by(ImageMutex));
    unsigned int uiArea10[256] TARN_THREAD(guarded_by(ImageMutex));
};

TARN_EXPORT extern Tarn_FGsSeries PLC_driver;

/// Host memory as FlashLocalRegister() stored it; the driver reads nothing through it.
TARN_EXPORT extern void *LB, *LW, *RWI;

// The read request last built (polling thread): its variables in frame order, and for each the position and
// number of its data bytes in the reply. iTimes is the variable being stored.
TARN_EXPORT extern QList<RW_VAR> CurrentRWVar;
TARN_EXPORT extern int iRet_ValidLen[6];
TARN_EXPORT extern int iRet_ValidStar[6];
TARN_EXPORT extern int iTimes;

extern "C" {

// Start-up. These take no lock and are called before polling starts.

/// Stores the address of the host's settings and clears status words 10 and 13 in them.
TARN_EXPORT void SetComInfo(COMINFO *info);
/// Stores the host callback (hostHandle, hostType, hostAddr, status); status 1: a one-shot read is done,
/// 2: it failed. It runs on the polling thread with ListMutex held and must not call a list function.
TARN_EXPORT void RegistCallBackFuncIntf(void (*func)(int, int, int, int), int context);
/// Stores three pointers into host memory. Returns 452.
TARN_EXPORT int FlashLocalRegister(void *lb, void *lw, void *rwi);
/// Returns 1.
TARN_EXPORT int QueryFinishFlag();
/// Address text to number in the host's numbering (area 10 counts from 200); 0 or, for area 10, -1 if invalid.
TARN_EXPORT int PLCAddressChangeIntef(int areaType, QString text);
/// Appends one entry to the cyclic list as it stands, without locking. Returns the list's new size.
TARN_EXPORT int AddListReadVar(RW_VAR *var);

// Any thread.

/// Replaces the cyclic read list by one built from the host's variables. Returns 0, with per-station storage
/// the number of entries built. Takes ListMutex.
TARN_EXPORT int ReCreatReadVarList(QList<HOST_VAR> *hostVars)
    TARN_THREAD(locks_excluded(PLC_driver.ListMutex, PLC_driver.ImageMutex));
/// Queues a write; unless mode is 1, a queued write of the same place (but not the first) takes the new value
/// instead, and a full queue (1024) drops the record. Returns the queue's size. Takes ListMutex.
TARN_EXPORT int AddListWriteVar(RW_VAR *var, int mode)
    TARN_THREAD(locks_excluded(PLC_driver.ListMutex, PLC_driver.ImageMutex));
/// Queues a one-shot read; unless mode is 1, it is placed by its addressText, split into blocks, and dropped if
/// it already waits or the queue is full (1024). Returns the queue's size, 0 for a negative address. Takes
/// ListMutex.
TARN_EXPORT int AddListOnceReadVar(RW_VAR *var, int mode)
    TARN_THREAD(locks_excluded(PLC_driver.ListMutex, PLC_driver.ImageMutex));
/// Reads length items from the image into out (text that is no number is address 0), from its position 0; never
/// asks the controller. Length counts bits or words; for area 10, 16-bit words in the fixed image and double words
/// in per-station storage. Returns 0 for a negative address, otherwise 1. Takes ImageMutex.
TARN_EXPORT int GetRegisterData(int unused, int areaType, QString address, int station, QByteArray *out, int length)
    TARN_THREAD(locks_excluded(PLC_driver.ImageMutex));
/// Writes values (a byte a bit, otherwise two bytes a word) of length bits or words. With writeMode 2 the
/// write is queued and the queue's size returned, 0 if it was refused; the image follows when the request is
/// built, or at once while the link fails. With any other mode the image is changed and 1
/// returned. 0 for a negative address. Takes ListMutex and ImageMutex, one after the other.
TARN_EXPORT int SetRegisterData(QString text, int areaType, QString address, int station, QByteArray *values,
                                int length, int hostType, int hostAddr)
    TARN_THREAD(locks_excluded(PLC_driver.ListMutex, PLC_driver.ImageMutex));

// Polling thread.

/// The request to send now, or null. Until DataCom() it stays valid, and each call returns the same pointer, also
/// if the host keeps copies of ProtocolList. Takes ListMutex when nothing is in flight.
TARN_EXPORT Protocol *ComCommunication() TARN_THREAD(locks_excluded(PLC_driver.ListMutex, PLC_driver.ImageMutex));
/// Takes the reply to the request in flight, length 0 if none came. Returns RetVar: the served variable, and in
/// result 1 or 100 for success, 0 while the request is to be sent again, otherwise the failure. Takes both locks.
TARN_EXPORT RW_VAR *DataCom(QByteArray *reply, int length)
    TARN_THREAD(locks_excluded(PLC_driver.ListMutex, PLC_driver.ImageMutex));

} // extern "C"

// The routines behind the functions above, exported under their own names.

/// Address text to number in the controller's numbering; 0 if the text or the area type is invalid.
TARN_EXPORT int StringAddressToInt(int areaType, QString text);
/// Copies every field but data, which is emptied in the destination.
TARN_EXPORT void passRetValue(RW_VAR *source, RW_VAR *destination);
/// base plus the increment for the hostType of the request in flight.
TARN_EXPORT int SwitchErrorReturn(int base);
/// Result code for an outcome, 0..7; 200 for any other.
TARN_EXPORT int GetDriverReturnValue(int reason);
/// Judges and stores the reply to the request in flight. Return the result code. Take ImageMutex.
TARN_EXPORT int DealDataOfLocalArea(QByteArray *reply, int length)
    TARN_THREAD(locks_excluded(PLC_driver.ImageMutex));
TARN_EXPORT int DealDataOfRemoteArea(QByteArray *reply, int length)
    TARN_THREAD(locks_excluded(PLC_driver.ImageMutex));
/// 0: bad, 1: good, 2: good and nothing to store.
TARN_EXPORT int CheckGetData(QByteArray *reply, int length);

TARN_EXPORT unsigned short CalSUM(unsigned char *bytes, unsigned short length);
/// CRC-16, polynomial 0x8005 reflected, initial value 0xFFFF, no final XOR; "123456789" gives 0x4B37.
TARN_EXPORT unsigned short CalCRC(unsigned char *bytes, unsigned short length);
/// 1..256
TARN_EXPORT int CalLRC(unsigned char *bytes, unsigned short length);
/// Reads the first byte even if length is 0.
TARN_EXPORT unsigned short CalXOR(unsigned char *bytes, unsigned short length);
TARN_EXPORT int DigitalToASCII(int digit);
TARN_EXPORT int ASCIIToDigital(int character);

/// Appends the record, cut at limit, to list.
TARN_EXPORT void WhetherGroup(int length, int limit, RW_VAR *var, QList<RW_VAR> *list);
/// Stable sort by address.
TARN_EXPORT void Bubble_Sort(QList<RW_VAR> *list);
/// Merge a sorted list into blocks at the end of the cyclic list, which holds count entries. Return its new size.
TARN_EXPORT int WordVarReCreat(QList<RW_VAR> *list, int limit, int count)
    TARN_THREAD(requires_capability(PLC_driver.ListMutex));
TARN_EXPORT int BitVarReCreat(QList<RW_VAR> *list, int limit, int count)
    TARN_THREAD(requires_capability(PLC_driver.ListMutex));

/// Index of the first entry with these keys; a new entry of four zero bytes is appended if there is none. Keys that
/// were changed through a reference from before the last access are noticed only where the old ones are looked for.
TARN_EXPORT int ExtendFindSameVar(int station, int areaType, int address)
    TARN_THREAD(requires_capability(PLC_driver.ImageMutex));
// Between a buffer, from item start, and a byte string, from position 0. A buffer of PLC_driver is bounded by
// its area: items outside are skipped. Get.. grow the string as needed, Set.. skip items that it lacks.
// ..UI count in 16-bit words. The caller holds ImageMutex for a buffer of PLC_driver.
TARN_EXPORT void GetBitFromUC(QByteArray &out, unsigned char *buffer, int start, int count);
TARN_EXPORT void GetBitFromUS(QByteArray &out, unsigned short *buffer, int start, int count);
TARN_EXPORT void GetWordFromUS(QByteArray &out, unsigned short *buffer, int start, int count);
TARN_EXPORT void GetWordFromUI(QByteArray &out, unsigned int *buffer, int start, int count);
TARN_EXPORT void SetBitToUC(int start, unsigned char *buffer, QByteArray *in, int count);
TARN_EXPORT void SetBitToUS(int start, unsigned short *buffer, QByteArray *in, int count);
TARN_EXPORT void SetWordToUS(int start, unsigned short *buffer, QByteArray *in, int count);
TARN_EXPORT void SetWordToUI(int start, unsigned int *buffer, QByteArray *in, int count);
/// Copies the record's data into the image. Takes ImageMutex.
TARN_EXPORT void WriteDataToLocal(RW_VAR *var) TARN_THREAD(locks_excluded(PLC_driver.ImageMutex));

// Request builders: each appends one Protocol to ProtocolList. Polling thread.
TARN_EXPORT void ReadRegister1(RW_VAR *);
TARN_EXPORT void ReadRegister2(RW_VAR *, RW_VAR *);
TARN_EXPORT void ReadRegister3(RW_VAR *, RW_VAR *, RW_VAR *);
TARN_EXPORT void ReadRegister4(RW_VAR *, RW_VAR *, RW_VAR *, RW_VAR *);
TARN_EXPORT void ReadRegister5(RW_VAR *, RW_VAR *, RW_VAR *, RW_VAR *, RW_VAR *);
TARN_EXPORT void ReadRegister6(RW_VAR *, RW_VAR *, RW_VAR *, RW_VAR *, RW_VAR *, RW_VAR *);
/// The single read for the variable's area; builds nothing for an unknown one.
TARN_EXPORT void ReadRegister(RW_VAR *var);
TARN_EXPORT void ReadBool(RW_VAR *var);
TARN_EXPORT void ReadAnalog(RW_VAR *var);
/// Halves the length in the caller's record.
TARN_EXPORT void ReadAnalog_32CV(RW_VAR *var);
/// The write for the variable's area, if it has one; then, unless the link failed, the image. Takes ImageMutex.
TARN_EXPORT void WriteRegister(RW_VAR *var) TARN_THREAD(locks_excluded(PLC_driver.ImageMutex));
TARN_EXPORT void WriteBool(RW_VAR *var);
TARN_EXPORT void WriteAnalog(RW_VAR *var);
TARN_EXPORT void WriteAnalog_32CV(RW_VAR *var);
TARN_EXPORT void Remote_ReadVar(RW_VAR *var);
/// Also writes the value into the image. Takes ImageMutex.
TARN_EXPORT void Remote_WriteVar(RW_VAR *var) TARN_THREAD(locks_excluded(PLC_driver.ImageMutex));

// Reply storage: the variables of the request in flight. Polling thread, ImageMutex held by the caller.
TARN_EXPORT void SaveToLocalDataErea(QByteArray *reply) TARN_THREAD(requires_capability(PLC_driver.ImageMutex));
TARN_EXPORT void SaveBitToUC(QByteArray *reply, unsigned char *buffer);
TARN_EXPORT void SaveWordToUS(QByteArray *reply, unsigned short *buffer);
TARN_EXPORT void SaveWordToUI(QByteArray *reply, unsigned int *buffer);
/// Does nothing.
TARN_EXPORT void SpecialRegisterSave(QByteArray *reply, unsigned short *buffer);
TARN_EXPORT void SaveToRemoteDataErea(QByteArray *reply) TARN_THREAD(requires_capability(PLC_driver.ImageMutex));
TARN_EXPORT void SaveBitToUCRemote(QByteArray *reply, unsigned char *buffer);
TARN_EXPORT void SaveWordToUSRemote(QByteArray *reply, unsigned short *buffer);
TARN_EXPORT void SaveWordToUIRemote(QByteArray *reply, unsigned int *buffer);

#endif
