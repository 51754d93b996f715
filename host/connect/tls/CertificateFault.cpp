// Why a certificate is not trusted, in words.
#include "host/connect/tls/CertificateFault.h"

#include <gnutls/gnutls.h>

#include <algorithm>
#include <iterator>

namespace bmhost {

namespace {

struct Fault {
    unsigned m_flag;
    const char* m_text;
};

// The first one is told: what else is wrong with a certificate of a stranger says nothing.
constexpr Fault Faults[] = {
    {GNUTLS_CERT_SIGNER_NOT_FOUND | GNUTLS_CERT_SIGNER_NOT_CA | GNUTLS_CERT_SIGNATURE_FAILURE,
     "nobody who is trusted here has signed its certificate; --tls-ca FILE names who is, or is that certificate itself"},
    {GNUTLS_CERT_REVOKED, "its certificate is revoked"},
    {GNUTLS_CERT_EXPIRED,
     "its certificate has expired; `bmhost tls-init --force` makes a new one there, if no clock is wrong"},
    {GNUTLS_CERT_NOT_ACTIVATED, "its certificate is not valid yet; is a clock wrong, there or here?"},
    {GNUTLS_CERT_INSECURE_ALGORITHM, "its certificate is signed in a way that is not secure"},
};

} // namespace

std::string CertificateFault(unsigned status, const std::string& host) {
    if (status == 0) return "";
    const auto* const fault = std::find_if(std::begin(Faults), std::end(Faults),
                                           [&](const Fault& each) { return (status & each.m_flag) != 0; });
    if (fault != std::end(Faults)) return fault->m_text;
    if ((status & GNUTLS_CERT_UNEXPECTED_OWNER) != 0)
        return "its certificate is for another name than " + host +
               "; ask by a name in it, or make it with `bmhost tls-init --server-name " + host + "` there";
    return "its certificate is not good";
}

} // namespace bmhost
