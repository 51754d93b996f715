// The shelf's certificate authority: made anew for each shelf, it signs the certificate of each blade.
#include "sim/shelf/Authority.h"

#include "sim/base/Error.h"

#include <arpa/inet.h>
#include <gnutls/crypto.h>
#include <gnutls/gnutls.h>
#include <gnutls/x509.h>

#include <array>
#include <ctime>

namespace bladesim {
namespace {

constexpr time_t Earlier = 3600; // a test may set a clock back
constexpr time_t Lifetime = 30 * 24 * 3600;
constexpr size_t SerialSize = 16;
constexpr char CommonName[] = "simulated shelf";

void Check(int result) {
    if (result < 0) throw BladeError(std::string("no certificate can be made: ") + gnutls_strerror(result));
}

using Key = std::unique_ptr<gnutls_x509_privkey_int, void (*)(gnutls_x509_privkey_t)>;
using Issued = std::unique_ptr<gnutls_x509_crt_int, void (*)(gnutls_x509_crt_t)>;

Key NewKey() {
    gnutls_x509_privkey_t key = nullptr;
    Check(gnutls_x509_privkey_init(&key));
    Key owned(key, gnutls_x509_privkey_deinit);
    Check(gnutls_x509_privkey_generate(key, GNUTLS_PK_ECDSA, GNUTLS_CURVE_TO_BITS(GNUTLS_ECC_CURVE_SECP256R1), 0));
    return owned;
}

/// What every certificate has: serial number, time and key.
Issued NewCertificate(const Key& key, const std::string& commonName) {
    gnutls_x509_crt_t certificate = nullptr;
    Check(gnutls_x509_crt_init(&certificate));
    Issued owned(certificate, gnutls_x509_crt_deinit);
    std::array<unsigned char, SerialSize> serial{};
    Check(gnutls_rnd(GNUTLS_RND_NONCE, serial.data(), serial.size()));
    serial[0] = (serial[0] & 0x7FU) | 0x40U; // positive, and of the full length
    Check(gnutls_x509_crt_set_version(certificate, 3));
    Check(gnutls_x509_crt_set_serial(certificate, serial.data(), serial.size()));
    const time_t now = ::time(nullptr);
    Check(gnutls_x509_crt_set_activation_time(certificate, now - Earlier));
    Check(gnutls_x509_crt_set_expiration_time(certificate, now + Lifetime));
    Check(gnutls_x509_crt_set_dn_by_oid(certificate, GNUTLS_OID_X520_COMMON_NAME, 0, commonName.data(),
                                        static_cast<unsigned>(commonName.size())));
    Check(gnutls_x509_crt_set_key(certificate, key.get()));
    return owned;
}

void AddName(const Issued& certificate, const std::string& name) {
    in_addr address{};
    const bool isAddress = ::inet_pton(AF_INET, name.c_str(), &address) == 1;
    const void* const data = isAddress ? static_cast<const void*>(&address) : name.data();
    const size_t size = isAddress ? sizeof(address) : name.size();
    Check(gnutls_x509_crt_set_subject_alt_name(certificate.get(), isAddress ? GNUTLS_SAN_IPADDRESS : GNUTLS_SAN_DNSNAME,
                                               data, static_cast<unsigned>(size), GNUTLS_FSAN_APPEND));
}

std::string Taken(gnutls_datum_t& datum) {
    std::string text(reinterpret_cast<const char*>(datum.data), datum.size);
    gnutls_free(datum.data);
    return text;
}

std::string PemOf(const Issued& certificate) {
    gnutls_datum_t text{};
    Check(gnutls_x509_crt_export2(certificate.get(), GNUTLS_X509_FMT_PEM, &text));
    return Taken(text);
}

std::string PemOf(const Key& key) {
    gnutls_datum_t text{};
    Check(gnutls_x509_privkey_export2_pkcs8(key.get(), GNUTLS_X509_FMT_PEM, nullptr, GNUTLS_PKCS_PLAIN, &text));
    return Taken(text);
}

} // namespace

struct Authority::Material {
    Key m_key = NewKey();
    Issued m_certificate = NewCertificate(m_key, CommonName);
};

Authority::Authority() {
    auto own = std::make_unique<Material>();
    const Issued& certificate = own->m_certificate;
    Check(gnutls_x509_crt_set_basic_constraints(certificate.get(), 1, 0));
    Check(gnutls_x509_crt_set_key_usage(certificate.get(), GNUTLS_KEY_KEY_CERT_SIGN));
    Check(gnutls_x509_crt_sign2(certificate.get(), certificate.get(), own->m_key.get(), GNUTLS_DIG_SHA256, 0));
    m_certificate = PemOf(certificate);
    m_own = std::move(own);
}

Authority::~Authority() = default;

SignedKey Authority::Sign(const std::vector<std::string>& names) const {
    const Key key = NewKey();
    const Issued certificate = NewCertificate(key, names.front());
    for (const std::string& name : names)
        AddName(certificate, name);
    Check(gnutls_x509_crt_set_basic_constraints(certificate.get(), 0, -1));
    Check(gnutls_x509_crt_set_key_usage(certificate.get(), GNUTLS_KEY_DIGITAL_SIGNATURE));
    Check(gnutls_x509_crt_set_key_purpose_oid(certificate.get(), GNUTLS_KP_TLS_WWW_SERVER, 0));
    Check(
        gnutls_x509_crt_sign2(certificate.get(), m_own->m_certificate.get(), m_own->m_key.get(), GNUTLS_DIG_SHA256, 0));
    return {PemOf(certificate), PemOf(key)};
}

} // namespace bladesim
