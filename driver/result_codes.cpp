// Result codes of replies, by outcome and host type.
#include "driver/result_codes_p.h"

#include "protocol/requests_p.h"

int SwitchErrorReturn(int base)
{
    const Protocol *const request = requestInFlight();
    const int hostType = request ? request->var.hostType : 0;
    return cut(qint64(base) + (hostType >= 1 && hostType <= 11 ? hostType + 1 : 1)); // Deliberate: behaviour 141.
}

int GetDriverReturnValue(int reason)
{
    switch (reason) {
    case Good:
        return GoodCode;
    case BadCheck:
        return SwitchErrorReturn(10);
    case NoReply:
        return SwitchErrorReturn(40);
    case WrongLength:
        return SwitchErrorReturn(70);
    case RemoteGood:
        return RemoteGoodCode;
    case RemoteBadCheck:
        return SwitchErrorReturn(110);
    case RemoteNoReply:
        return SwitchErrorReturn(140);
    case RemoteWrongLength:
        return SwitchErrorReturn(170);
    default:
        return 200; // Deliberate: behaviour 142.
    }
}
