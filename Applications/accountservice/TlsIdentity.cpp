// Every call's answer is looked at; the first that fails ends the work.
#include "TlsIdentity.h"

#include <gnutls/gnutls.h>
#include <gnutls/x509.h>

#include <QRandomGenerator>

#include <array>
#include <ctime>
#include <memory>

namespace AccountService {

namespace {

constexpr std::time_t kDay = 24 * 60 * 60;

template <auto Release>
struct Releaser {
    template <typename T>
    void operator()(T* thing) const {
        Release(thing);
    }
};
using Key = std::unique_ptr<gnutls_x509_privkey_int, Releaser<gnutls_x509_privkey_deinit>>;
using Certificate = std::unique_ptr<gnutls_x509_crt_int, Releaser<gnutls_x509_crt_deinit>>;

/// Answers whether all calls so far were fine; remembers the first that was not.
class Steps {
public:
    [[nodiscard]] bool did(int code) {
        mCode = mCode < 0 ? mCode : code;
        return mCode >= 0;
    }
    [[nodiscard]] QString reason() const { return QString::fromUtf8(gnutls_strerror(mCode)); }

private:
    int mCode = 0;
};

Key makeKey(Steps& steps) {
    gnutls_x509_privkey_t raw = nullptr;
    if (!steps.did(gnutls_x509_privkey_init(&raw))) {
        return {};
    }
    Key key(raw);
    const unsigned bits = GNUTLS_CURVE_TO_BITS(GNUTLS_ECC_CURVE_SECP256R1);
    return steps.did(gnutls_x509_privkey_generate(raw, GNUTLS_PK_ECDSA, bits, 0)) ? std::move(key) : Key();
}

/// What both certificates have: number, name, dates, key.
Certificate makeCertificate(const Key& key, const char* name, Steps& steps) {
    gnutls_x509_crt_t raw = nullptr;
    if (!steps.did(gnutls_x509_crt_init(&raw))) {
        return {};
    }
    Certificate certificate(raw);
    std::array<quint32, 4> serial{};
    QRandomGenerator::system()->fillRange(serial.data(), serial.size());
    serial[0] &= ~0x80U; // Its first byte: a number of a certificate is positive.
    const std::time_t now = std::time(nullptr);
    const bool isFine = steps.did(gnutls_x509_crt_set_version(raw, 3)) &&
                        steps.did(gnutls_x509_crt_set_serial(raw, serial.data(), sizeof serial)) &&
                        steps.did(gnutls_x509_crt_set_dn(raw, name, nullptr)) &&
                        steps.did(gnutls_x509_crt_set_activation_time(raw, now - kDay)) &&
                        steps.did(gnutls_x509_crt_set_expiration_time(raw, now + kDay)) &&
                        steps.did(gnutls_x509_crt_set_key(raw, key.get()));
    return isFine ? std::move(certificate) : Certificate();
}

bool addNames(gnutls_x509_crt_t certificate, Steps& steps) {
    constexpr char kName[] = "localhost";
    constexpr std::array<unsigned char, 4> kAddress = {127, 0, 0, 1};
    return steps.did(gnutls_x509_crt_set_subject_alt_name(certificate, GNUTLS_SAN_DNSNAME, kName,
                                                          sizeof kName - 1, GNUTLS_FSAN_SET)) &&
           steps.did(gnutls_x509_crt_set_subject_alt_name(certificate, GNUTLS_SAN_IPADDRESS, kAddress.data(),
                                                          kAddress.size(), GNUTLS_FSAN_APPEND));
}

bool sign(const Certificate& certificate, const Certificate& by, const Key& key, Steps& steps) {
    return steps.did(gnutls_x509_crt_sign2(certificate.get(), by.get(), key.get(), GNUTLS_DIG_SHA256, 0));
}

QByteArray taken(const gnutls_datum_t& datum) {
    QByteArray text(reinterpret_cast<const char*>(datum.data), static_cast<qsizetype>(datum.size));
    gnutls_free(datum.data);
    return text;
}

QByteArray pemOf(const Certificate& certificate, Steps& steps) {
    gnutls_datum_t text = {};
    const bool isFine = steps.did(gnutls_x509_crt_export2(certificate.get(), GNUTLS_X509_FMT_PEM, &text));
    return isFine ? taken(text) : QByteArray();
}

QByteArray pemOf(const Key& key, Steps& steps) {
    gnutls_datum_t text = {};
    const bool isFine = steps.did(gnutls_x509_privkey_export2(key.get(), GNUTLS_X509_FMT_PEM, &text));
    return isFine ? taken(text) : QByteArray();
}

bool makeAuthority(const Key& key, Certificate& authority, Steps& steps) {
    authority = makeCertificate(key, "CN=Demonstration Account Service Authority", steps);
    return authority && steps.did(gnutls_x509_crt_set_basic_constraints(authority.get(), 1, 0)) &&
           steps.did(gnutls_x509_crt_set_key_usage(authority.get(), GNUTLS_KEY_KEY_CERT_SIGN)) &&
           sign(authority, authority, key, steps);
}

bool makeServer(const Key& key, Certificate& server, Steps& steps) {
    server = makeCertificate(key, "CN=localhost", steps);
    return server && steps.did(gnutls_x509_crt_set_basic_constraints(server.get(), 0, -1)) &&
           steps.did(gnutls_x509_crt_set_key_usage(server.get(), GNUTLS_KEY_DIGITAL_SIGNATURE)) &&
           steps.did(gnutls_x509_crt_set_key_purpose_oid(server.get(), GNUTLS_KP_TLS_WWW_SERVER, 0)) &&
           addNames(server.get(), steps);
}

} // namespace

std::optional<TlsIdentity> makeTlsIdentity(QString& reason) {
    Steps steps;
    const Key authorityKey = makeKey(steps);
    const Key serverKey = authorityKey ? makeKey(steps) : Key();
    Certificate authority;
    Certificate server;
    TlsIdentity identity;
    if (serverKey && makeAuthority(authorityKey, authority, steps) && makeServer(serverKey, server, steps) &&
        sign(server, authority, authorityKey, steps)) {
        identity.authority = pemOf(authority, steps);
        identity.certificate = pemOf(server, steps);
        identity.key = pemOf(serverKey, steps);
    }
    if (!steps.did(0)) {
        reason = steps.reason();
        return std::nullopt;
    }
    return identity;
}

} // namespace AccountService
