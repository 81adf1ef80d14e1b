// What a command may write: the value of one tag, checked by the tag's rule.
#ifndef FGS_GATEWAY_COMMAND_VALUES_H
#define FGS_GATEWAY_COMMAND_VALUES_H

#include "command_text.h"
#include "settings.h"

namespace fgs
{

/// Values of a tag; a text is one.
int valuesIn(const GatewayTag &tag);
/// The elements that the value makes. Throws Refusal: NotAllowed, WrongType, OutOfRange or OffStep, whichever is
/// found first.
std::vector<quint32> elementsOf(const GatewayTag &tag, const Json &value);

} // namespace fgs

#endif
