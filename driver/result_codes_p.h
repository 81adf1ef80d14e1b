// Private: the outcomes of a reply and the codes of success. Not installed.
#ifndef TARN_RESULT_CODES_P_H
#define TARN_RESULT_CODES_P_H

#include "driver/tarn_fgsseries_p.h"

/// Reasons of GetDriverReturnValue().
enum Reason { Good, BadCheck, NoReply, WrongLength, RemoteGood, RemoteBadCheck, RemoteNoReply, RemoteWrongLength };

enum Code { GoodCode = 1, RemoteGoodCode = 100 }; ///< the results of answered requests; all others are failures

#endif
