// Why a certificate is not trusted, in words.
#include "host/connect/tls/CertificateFault.h"

#include <gmock/gmock.h>
#include <gnutls/gnutls.h>
#include <gtest/gtest.h>

namespace {

using bmhost::CertificateFault;
using testing::HasSubstr;

TEST(CertificateFault, EachHasItsTextAndTheOneOfTheSignerComesFirst) {
    struct FaultCase {
        unsigned m_status;
        const char* m_text;
    };
    const FaultCase cases[] = {
        {GNUTLS_CERT_INVALID | GNUTLS_CERT_SIGNER_NOT_FOUND, "nobody who is trusted here has signed"},
        {GNUTLS_CERT_INVALID | GNUTLS_CERT_SIGNER_NOT_CA, "nobody who is trusted here has signed"},
        {GNUTLS_CERT_INVALID | GNUTLS_CERT_SIGNATURE_FAILURE, "nobody who is trusted here has signed"},
        {GNUTLS_CERT_INVALID | GNUTLS_CERT_SIGNER_NOT_FOUND | GNUTLS_CERT_EXPIRED | GNUTLS_CERT_UNEXPECTED_OWNER,
         "nobody who is trusted here has signed its certificate; --tls-ca FILE names who is"},
        {GNUTLS_CERT_INVALID | GNUTLS_CERT_REVOKED | GNUTLS_CERT_EXPIRED, "is revoked"},
        {GNUTLS_CERT_INVALID | GNUTLS_CERT_EXPIRED, "has expired; `bmhost tls-init --force` makes a new one"},
        {GNUTLS_CERT_INVALID | GNUTLS_CERT_NOT_ACTIVATED, "is not valid yet; is a clock wrong"},
        {GNUTLS_CERT_INVALID | GNUTLS_CERT_INSECURE_ALGORITHM, "signed in a way that is not secure"},
        {GNUTLS_CERT_INVALID | GNUTLS_CERT_UNEXPECTED_OWNER, "for another name than blade7; ask by a name in it"},
        {GNUTLS_CERT_INVALID, "is not good"},
    };
    for (const FaultCase& testCase : cases)
        EXPECT_THAT(CertificateFault(testCase.m_status, "blade7"), HasSubstr(testCase.m_text));
    EXPECT_EQ("", CertificateFault(0, "blade7"));
}

} // namespace
