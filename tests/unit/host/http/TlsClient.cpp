// A client that speaks TLS, and certificates for the server that it speaks to.
#include "TlsClient.h"

#include <gnutls/x509.h>

#include <array>
#include <ctime>
#include <memory>
#include <stdexcept>

namespace {

void Check(int result) {
    if (result < 0) throw std::runtime_error(gnutls_strerror(result));
}

std::string TextOf(gnutls_datum_t& datum) {
    std::string text(reinterpret_cast<const char*>(datum.data), datum.size);
    gnutls_free(datum.data);
    return text;
}

} // namespace

bmhost::Tls MakeTls(const std::string& name) {
    gnutls_x509_privkey_t key = nullptr;
    gnutls_x509_crt_t certificate = nullptr;
    Check(gnutls_x509_privkey_init(&key));
    const std::unique_ptr<gnutls_x509_privkey_int, void (*)(gnutls_x509_privkey_t)> keyGuard(
        key, gnutls_x509_privkey_deinit);
    Check(gnutls_x509_crt_init(&certificate));
    const std::unique_ptr<gnutls_x509_crt_int, void (*)(gnutls_x509_crt_t)> guard(certificate, gnutls_x509_crt_deinit);
    Check(gnutls_x509_privkey_generate(key, GNUTLS_PK_ECDSA, GNUTLS_CURVE_TO_BITS(GNUTLS_ECC_CURVE_SECP256R1), 0));
    Check(gnutls_x509_crt_set_version(certificate, 3));
    Check(gnutls_x509_crt_set_serial(certificate, "\1", 1));
    Check(gnutls_x509_crt_set_activation_time(certificate, time(nullptr) - 60));
    Check(gnutls_x509_crt_set_expiration_time(certificate, time(nullptr) + 3600));
    Check(gnutls_x509_crt_set_dn_by_oid(certificate, GNUTLS_OID_X520_COMMON_NAME, 0, name.data(),
                                        static_cast<unsigned>(name.size())));
    Check(gnutls_x509_crt_set_key(certificate, key));
    Check(gnutls_x509_crt_sign2(certificate, certificate, key, GNUTLS_DIG_SHA256, 0));
    gnutls_datum_t text{};
    Check(gnutls_x509_crt_export2(certificate, GNUTLS_X509_FMT_PEM, &text));
    bmhost::Tls tls;
    tls.m_certificate = TextOf(text);
    Check(gnutls_x509_privkey_export2(key, GNUTLS_X509_FMT_PEM, &text));
    tls.m_key = TextOf(text);
    return tls;
}

TlsClient::TlsClient(uint16_t port, const char* priorities) : Client(port) {
    Check(gnutls_certificate_allocate_credentials(&m_credentials));
    Check(gnutls_init(&m_session, GNUTLS_CLIENT | GNUTLS_NO_SIGNAL));
    Check(gnutls_priority_set_direct(m_session, priorities, nullptr));
    Check(gnutls_credentials_set(m_session, GNUTLS_CRD_CERTIFICATE, m_credentials));
    gnutls_transport_set_int(m_session, m_socket);
    int result = 0;
    do {
        result = gnutls_handshake(m_session);
    } while (result < 0 && gnutls_error_is_fatal(result) == 0);
    if (result >= 0) return;
    gnutls_deinit(m_session);
    gnutls_certificate_free_credentials(m_credentials);
    Check(result);
}

TlsClient::~TlsClient() {
    gnutls_deinit(m_session);
    gnutls_certificate_free_credentials(m_credentials);
}

std::string TlsClient::ServerName() const {
    unsigned count = 0;
    const gnutls_datum_t* chain = gnutls_certificate_get_peers(m_session, &count);
    if (count == 0) return "";
    gnutls_x509_crt_t certificate = nullptr;
    Check(gnutls_x509_crt_init(&certificate));
    const std::unique_ptr<gnutls_x509_crt_int, void (*)(gnutls_x509_crt_t)> guard(certificate, gnutls_x509_crt_deinit);
    Check(gnutls_x509_crt_import(certificate, chain, GNUTLS_X509_FMT_DER));
    std::array<char, 256> name{};
    std::size_t size = name.size();
    Check(gnutls_x509_crt_get_dn_by_oid(certificate, GNUTLS_OID_X520_COMMON_NAME, 0, 0, name.data(), &size));
    return {name.data(), size};
}

ssize_t TlsClient::Write(const char* bytes, std::size_t size) const {
    return gnutls_record_send(m_session, bytes, size);
}

ssize_t TlsClient::ReadByte(char& byte) const {
    ssize_t got = 0;
    do {
        got = gnutls_record_recv(m_session, &byte, 1);
    } while (got == GNUTLS_E_INTERRUPTED);
    if (got == GNUTLS_E_AGAIN) throw std::runtime_error("nothing comes");
    return got;
}
