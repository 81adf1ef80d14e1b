// Private: the requests in ProtocolList. Polling thread. Not installed.
#ifndef TARN_REQUESTS_P_H
#define TARN_REQUESTS_P_H

#include "driver/tarn_fgsseries_p.h"

/// What a request expects back.
struct ReplyShape {
    int length;
    int dataStart;
    int dataLen;
};

/// Appends a request for var to ProtocolList, as a job of one frame. Its frame is still to be written; var may be
/// gone. Station 0 expects no reply.
Protocol &queueRequest(const RW_VAR &var, const ReplyShape &reply);

/// Removes the first request, of at least one.
void removeHead();
void removeRequests();

/// The first request, to look at; null if there is none.
inline const Protocol *requestInFlight()
{
    const QList<Protocol> &list = PLC_driver.ProtocolList;
    return list.isEmpty() ? 0 : &list.at(0);
}

#endif
