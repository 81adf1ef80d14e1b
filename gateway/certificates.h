// The files of TLS: whether they can be read, fit together, and are valid.
#ifndef FGS_GATEWAY_CERTIFICATES_H
#define FGS_GATEWAY_CERTIFICATES_H

#include "settings.h"

#include <stdexcept>

namespace fgs
{

struct CertificateFault {
    QString text;
    QString remedy;
};

/// What is wrong with the files at this time, all of it.
std::vector<CertificateFault> faultsOf(const TlsSettings &tls, Epoch now);
/// When the first of the certificates in them that are valid runs out; only if nothing is wrong.
Epoch validUntil(const TlsSettings &tls, Epoch now);

} // namespace fgs

#endif
