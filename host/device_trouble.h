#ifndef FGS_HOST_DEVICE_TROUBLE_H
#define FGS_HOST_DEVICE_TROUBLE_H

#include "text_error.h"

namespace fgs
{

/// A serial device cannot be used.
class DeviceTrouble : public TextError
{
public:
    enum TroubleKind {
        Missing,  ///< there is none at the path, or no serial one
        Closed,   ///< this user may not use it
        InUse,    ///< by another program
        Unusable, ///< by what the system says
    };
    DeviceTrouble(TroubleKind troubleKind, const QString &message) : TextError(message), kind(troubleKind) {}

    const TroubleKind kind;
};

} // namespace fgs

#endif
