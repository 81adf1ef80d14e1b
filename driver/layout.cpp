// The binary interface cannot drift: where every member stands, for hosts that were compiled elsewhere.
#include "tarn_fgsseries.h"

#include <cstddef>

// Qt 4 and 5 hold a list, a string, a byte array and a mutex as one pointer each; later ones do not.
#if QT_VERSION < 0x060000

#pragma GCC diagnostic ignored "-Winvalid-offsetof"

#define FOR_WIDTH(on32, on64) (sizeof(void *) == 4 ? (on32) : (on64))
#define SIZE(record, on32, on64) static_assert(sizeof(record) == FOR_WIDTH(on32, on64), #record " changed its size")
#define AT(record, member, on32, on64)                                                                             \
    static_assert(offsetof(record, member) == FOR_WIDTH(on32, on64), #record "::" #member " moved")

// NOLINTBEGIN(bugprone-branch-clone): much stands at one place for both widths.
//                                       32-bit  64-bit
SIZE(RW_VAR, 60, 72);
SIZE(Protocol, 92, 112);
SIZE(EXTENDVAR, 16, 24);
SIZE(COMINFO, 80, 80);
SIZE(HOST_VAR, 12, 24);
SIZE(Tarn_FGsSeries, 25892, 25952);

AT(Tarn_FGsSeries, settings, 0, 0);
AT(Tarn_FGsSeries, ReadVarList, 4, 8);
AT(Tarn_FGsSeries, WriteVarList, 8, 16);
AT(Tarn_FGsSeries, OnceReadVarList, 12, 24);
AT(Tarn_FGsSeries, SpareVarList, 16, 32);
AT(Tarn_FGsSeries, ProtocolList, 20, 40);
AT(Tarn_FGsSeries, ExtendVarList, 24, 48);
AT(Tarn_FGsSeries, CallBackFunc, 28, 56);
AT(Tarn_FGsSeries, CallBackContext, 32, 64);
AT(Tarn_FGsSeries, ListMutex, 36, 72);
AT(Tarn_FGsSeries, ImageMutex, 40, 80);
AT(Tarn_FGsSeries, RetVar, 44, 88);
AT(Tarn_FGsSeries, CurrentSource, 104, 160);
AT(Tarn_FGsSeries, WriteTimes, 108, 164);
AT(Tarn_FGsSeries, OnceReadTimes, 112, 168);
AT(Tarn_FGsSeries, CycleReadCount, 116, 172);
AT(Tarn_FGsSeries, CommFailFlag, 120, 176);
AT(Tarn_FGsSeries, spareFlag, 121, 177);
AT(Tarn_FGsSeries, ucArea0, 122, 178);
AT(Tarn_FGsSeries, ucArea1, 378, 434);
AT(Tarn_FGsSeries, ucArea2, 634, 690);
AT(Tarn_FGsSeries, ucArea11, 2134, 2190);
AT(Tarn_FGsSeries, ucArea4, 2274, 2330);
AT(Tarn_FGsSeries, ucArea3, 2530, 2586);
AT(Tarn_FGsSeries, usArea8, 2786, 2842);
AT(Tarn_FGsSeries, usArea9, 3298, 3354);
AT(Tarn_FGsSeries, usArea5, 3810, 3866);
AT(Tarn_FGsSeries, usArea12, 23810, 23866);
AT(Tarn_FGsSeries, usArea13, 23826, 23882);
AT(Tarn_FGsSeries, usArea7, 23842, 23898);
AT(Tarn_FGsSeries, usArea6, 24354, 24410);
AT(Tarn_FGsSeries, uiArea10, 24868, 24924);

AT(COMINFO, reserved0, 0, 0);
AT(COMINFO, blockWords, 16, 16);
AT(COMINFO, reserved5, 20, 20);
AT(COMINFO, defaultStation, 24, 24);
AT(COMINFO, retryLimit, 28, 28);
AT(COMINFO, retryCount, 32, 32);
AT(COMINFO, stationMode, 36, 36);
AT(COMINFO, status10, 40, 40);
AT(COMINFO, frameTotal, 44, 44);
AT(COMINFO, frameDone, 48, 48);
AT(COMINFO, status13, 52, 52);
AT(COMINFO, remoteMode, 56, 56);
AT(COMINFO, localLinkNo, 60, 60);
AT(COMINFO, writeMode, 64, 64);
AT(COMINFO, cycleDone, 68, 68);
AT(COMINFO, hostHandle, 72, 72);
AT(COMINFO, groupExtra, 76, 76);

AT(RW_VAR, hostType, 0, 0);
AT(RW_VAR, hostAddr, 4, 4);
AT(RW_VAR, hostField3, 8, 8);
AT(RW_VAR, remoteModeCopy, 12, 12);
AT(RW_VAR, linkNo, 16, 16);
AT(RW_VAR, result, 20, 20);
AT(RW_VAR, text1, 24, 24);
AT(RW_VAR, addressText, 28, 32);
AT(RW_VAR, areaType, 32, 40);
AT(RW_VAR, address, 36, 44);
AT(RW_VAR, station, 40, 48);
AT(RW_VAR, length, 44, 52);
AT(RW_VAR, remoteStoreMark, 48, 56);
AT(RW_VAR, hostField14, 52, 60);
AT(RW_VAR, data, 56, 64);

AT(Protocol, frame, 0, 0);
AT(Protocol, frameLen, 4, 8);
AT(Protocol, replyLen, 8, 12);
AT(Protocol, dataStart, 12, 16);
AT(Protocol, dataLen, 16, 20);
AT(Protocol, var, 20, 24);
AT(Protocol, spare, 80, 96);

AT(EXTENDVAR, station, 0, 0);
AT(EXTENDVAR, areaType, 4, 4);
AT(EXTENDVAR, address, 8, 8);
AT(EXTENDVAR, value, 12, 16);

AT(HOST_VAR, areaType, 0, 0);
AT(HOST_VAR, station, 1, 1);
AT(HOST_VAR, address, 4, 8);
AT(HOST_VAR, length, 8, 16);

// NOLINTEND(bugprone-branch-clone)
#endif
