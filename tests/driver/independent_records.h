// What a host that never saw the driver's header knows of it: the records in plain types, and the names it calls.
#ifndef TARN_TESTS_INDEPENDENT_RECORDS_H
#define TARN_TESTS_INDEPENDENT_RECORDS_H

#include <QtCore/QByteArray>
#include <QtCore/QList>
#include <QtCore/QMutex>
#include <QtCore/QString>

struct RW_VAR {
    int hostType, hostAddr, hostField3, remoteModeCopy, linkNo, result;
    QString text1, addressText;
    int areaType, address, station, length, remoteStoreMark, hostField14;
    QByteArray data;
};

struct Protocol {
    QByteArray frame;
    int frameLen, replyLen, dataStart, dataLen;
    RW_VAR var;
    int spare[3];
};

struct EXTENDVAR {
    int station, areaType, address;
    QByteArray value;
};

typedef int COMINFO[20];

enum ComInfoWord {
    BlockWords = 4,
    DefaultStation = 6,
    RetryLimit = 7,
    StationMode = 9,
    FrameTotal = 11,
    LocalLinkNo = 15,
    WriteMode = 16,
    CycleDone = 17,
    HostHandle = 18
};

struct HOST_VAR {
    unsigned char areaType, station;
    QString address;
    int length;
};

class Tarn_FGsSeries
{
public:
    Tarn_FGsSeries();

    int *settings;
    QList<RW_VAR> ReadVarList, WriteVarList, OnceReadVarList, SpareVarList;
    QList<Protocol> ProtocolList;
    QList<EXTENDVAR> ExtendVarList;
    void (*CallBackFunc)(int, int, int, int);
    int CallBackContext;
    QMutex ListMutex, ImageMutex;
    RW_VAR RetVar;
    int CurrentSource, WriteTimes, OnceReadTimes, CycleReadCount;
    unsigned char CommFailFlag, spareFlag;
    unsigned char ucArea0[256], ucArea1[256], ucArea2[1500], ucArea11[140], ucArea4[256], ucArea3[256];
    unsigned short usArea8[256], usArea9[256], usArea5[10000], usArea12[8], usArea13[8], usArea7[256], usArea6[256];
    unsigned int uiArea10[256];
};

extern Tarn_FGsSeries PLC_driver;

extern "C" {
void SetComInfo(int *settings);
void RegistCallBackFuncIntf(void (*func)(int, int, int, int), int context);
int FlashLocalRegister(void *lb, void *lw, void *rwi);
int QueryFinishFlag();
int PLCAddressChangeIntef(int areaType, QString text);
int ReCreatReadVarList(QList<HOST_VAR> *hostVars);
int AddListOnceReadVar(RW_VAR *var, int mode);
Protocol *ComCommunication();
RW_VAR *DataCom(QByteArray *reply, int length);
int GetRegisterData(int unused, int areaType, QString address, int station, QByteArray *out, int length);
int SetRegisterData(QString text, int areaType, QString address, int station, QByteArray *values, int length,
                    int hostType, int hostAddr);
}

#endif
