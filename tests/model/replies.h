// What comes back from a controller, or from a bad line.
#ifndef TARN_TESTS_REPLIES_H
#define TARN_TESTS_REPLIES_H

#include "generate.h"

namespace model
{

/// What the controller would say; any bytes where the request asks for nonsense.
Bytes goodReply(Random &random, const Request &request);
/// Silence, wrong bits, a wrong length, or a length that is not the array's.
void damage(Random &random, Bytes &reply, int &length);

} // namespace model

#endif
