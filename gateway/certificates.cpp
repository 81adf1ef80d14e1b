#include "certificates.h"

#include "host/text_error.h"

#include <algorithm>
#include <gnutls/x509.h>
#include <memory>
#include <QtCore/QDateTime>
#include <QtCore/QFile>

namespace fgs
{

namespace
{

struct Free {
    void operator()(gnutls_x509_crt_t certificate) const { gnutls_x509_crt_deinit(certificate); }
    void operator()(gnutls_x509_privkey_t key) const { gnutls_x509_privkey_deinit(key); }
};
using Certificate = std::unique_ptr<std::remove_pointer_t<gnutls_x509_crt_t>, Free>;
using Key = std::unique_ptr<std::remove_pointer_t<gnutls_x509_privkey_t>, Free>;

struct Refused {
    CertificateFault fault;
};

QString quoted(const std::string &file)
{
    return QLatin1Char('\'') + QString::fromStdString(file) + QLatin1Char('\'');
}

QByteArray contentOf(const std::string &name)
{
    QFile file(QString::fromStdString(name));
    if (!file.open(QIODevice::ReadOnly))
        throw Refused{{quoted(name) + QStringLiteral(" cannot be read: ") + file.errorString(),
                       QStringLiteral("give the user of the gateway the right to read it, or mend its path in "
                                      "[broker.tls]")}};
    return file.readAll();
}

gnutls_datum_t datumOf(QByteArray &bytes)
{
    return {reinterpret_cast<unsigned char *>(bytes.data()), static_cast<unsigned>(bytes.size())};
}

std::vector<Certificate> certificatesIn(const std::string &file)
{
    QByteArray bytes = contentOf(file);
    const gnutls_datum_t datum = datumOf(bytes);
    gnutls_x509_crt_t *list = nullptr;
    unsigned size = 0;
    if (gnutls_x509_crt_list_import2(&list, &size, &datum, GNUTLS_X509_FMT_PEM, 0) < 0 || size == 0)
        throw Refused{{quoted(file) + QStringLiteral(" holds no certificate in PEM form"),
                       QStringLiteral("it begins with -----BEGIN CERTIFICATE-----; openssl x509 -inform DER -in "
                                      "FILE makes such a one")}};
    std::vector<Certificate> certificates;
    for (unsigned i = 0; i < size; ++i)
        certificates.emplace_back(list[i]);
    gnutls_free(list);
    return certificates;
}

Key keyIn(const std::string &file)
{
    QByteArray bytes = contentOf(file);
    const gnutls_datum_t datum = datumOf(bytes);
    gnutls_x509_privkey_t key = nullptr;
    gnutls_x509_privkey_init(&key);
    Key owned(key);
    if (gnutls_x509_privkey_import2(key, &datum, GNUTLS_X509_FMT_PEM, nullptr, 0) < 0)
        throw Refused{{quoted(file) + QStringLiteral(" holds no private key in PEM form without a pass phrase"),
                       QStringLiteral("openssl pkey -in FILE -out NEW takes the pass phrase away")}};
    return owned;
}

template <typename Owner, typename Id>
QByteArray idOf(const Owner &owner, Id id)
{
    unsigned char bytes[64];
    std::size_t size = sizeof bytes;
    return id(owner.get(), 0, bytes, &size) < 0
               ? QByteArray()
               : QByteArray(reinterpret_cast<const char *>(bytes), static_cast<int>(size));
}

Epoch endOf(const Certificate &certificate)
{
    return Epoch(gnutls_x509_crt_get_expiration_time(certificate.get())) * 1000;
}

QString dateText(Epoch time)
{
    return QDateTime::fromMSecsSinceEpoch(time).toUTC().toString(QStringLiteral("yyyy-MM-dd HH:mm 'UTC'"));
}

Epoch beginOf(const Certificate &certificate)
{
    return Epoch(gnutls_x509_crt_get_activation_time(certificate.get())) * 1000;
}

bool isValid(const Certificate &certificate, Epoch now)
{
    return beginOf(certificate) <= now && now <= endOf(certificate);
}

void judgeDates(const std::string &file, const Certificate &certificate, Epoch now)
{
    if (now > endOf(certificate))
        throw Refused{{quoted(file) + QStringLiteral(" has run out on ") + dateText(endOf(certificate)),
                       QStringLiteral("have a new one made")}};
    if (now < beginOf(certificate))
        throw Refused{{quoted(file) + QStringLiteral(" is valid from ") + dateText(beginOf(certificate)) +
                           QStringLiteral(" on only"),
                       QStringLiteral("check the clock of this computer")}};
}

bool isAuthority(const Certificate &certificate)
{
    unsigned critical = 0;
    return gnutls_x509_crt_get_ca_status(certificate.get(), &critical) > 0;
}

/// A bundle of many authorities has some that have run out; one that is valid is enough.
void judgeAuthorities(const TlsSettings &tls, Epoch now)
{
    const std::vector<Certificate> all = certificatesIn(tls.authorities);
    if (std::none_of(all.begin(), all.end(), isAuthority))
        throw Refused{{quoted(tls.authorities) + QStringLiteral(" holds no certificate of an authority"),
                       QStringLiteral("ca names the certificate that the broker's one was signed with")}};
    if (std::none_of(all.begin(), all.end(), [now](const Certificate &each) { return isValid(each, now); }))
        judgeDates(tls.authorities, all.front(), now);
}

void judgeOwn(const TlsSettings &tls, Epoch now)
{
    if (tls.certificate.empty())
        return;
    for (const Certificate &each : certificatesIn(tls.certificate))
        judgeDates(tls.certificate, each, now);
}

void judgeKey(const TlsSettings &tls, Epoch)
{
    if (tls.certificate.empty())
        return;
    const Key key = keyIn(tls.key);
    if (idOf(key, gnutls_x509_privkey_get_key_id) !=
        idOf(certificatesIn(tls.certificate).front(), gnutls_x509_crt_get_key_id))
        throw Refused{{quoted(tls.key) + QStringLiteral(" is not the key of ") + quoted(tls.certificate),
                       QStringLiteral("name the two that were made together")}};
}

} // namespace

std::vector<CertificateFault> faultsOf(const TlsSettings &tls, Epoch now)
{
    std::vector<CertificateFault> faults;
    for (const auto judge : {judgeAuthorities, judgeOwn, judgeKey}) {
        try {
            judge(tls, now);
        } catch (const Refused &refused) {
            faults.push_back(refused.fault);
        }
    }
    return faults;
}

Epoch validUntil(const TlsSettings &tls, Epoch now)
{
    Epoch first = std::numeric_limits<Epoch>::max();
    for (const std::string &file : {tls.authorities, tls.certificate})
        if (!file.empty())
            for (const Certificate &each : certificatesIn(file))
                if (isValid(each, now))
                    first = std::min(first, endOf(each));
    return first;
}

} // namespace fgs
