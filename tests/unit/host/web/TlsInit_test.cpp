// A key and a certificate for the web door: what is in them, and that nothing is overwritten.
#include "host/web/TlsInit.h"

#include "host/words/Error.h"

#include <array>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <gnutls/x509.h>
#include <gtest/gtest.h>
#include <iterator>
#include <sys/stat.h>

namespace {

using namespace bmhost;
using testing::HasSubstr;
using testing::MatchesRegex;

/// What the library shows of a certificate to people.
std::string TextOf(const std::string& pem) {
    gnutls_x509_crt_t certificate = nullptr;
    gnutls_x509_crt_init(&certificate);
    std::string bytes = pem;
    const gnutls_datum_t from{reinterpret_cast<unsigned char*>(bytes.data()), static_cast<unsigned>(bytes.size())};
    gnutls_datum_t shown{};
    std::string text;
    if (gnutls_x509_crt_import(certificate, &from, GNUTLS_X509_FMT_PEM) == 0 &&
        gnutls_x509_crt_print(certificate, GNUTLS_CRT_PRINT_FULL, &shown) == 0) {
        text.assign(reinterpret_cast<const char*>(shown.data), shown.size);
        gnutls_free(shown.data);
    }
    gnutls_x509_crt_deinit(certificate);
    return text;
}

std::string FileText(const std::string& path) {
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

class TlsFolder : public testing::Test {
protected:
    TlsFolder() {
        std::string name = testing::TempDir() + "tls.XXXXXX";
        m_folder = mkdtemp(name.data());
    }
    ~TlsFolder() override { std::filesystem::remove_all(m_folder); }

    std::string m_folder;
};

TEST(SelfSigned, HasItsNamesAndAKeyOnP256) {
    const std::string text =
        TextOf(MakeSelfSigned({"blade.example", "192.0.2.7", "2001:db8::7", "blade.example"}).m_certificate);
    EXPECT_THAT(text, HasSubstr("Subject: CN=blade.example"));
    EXPECT_THAT(text, HasSubstr("DNSname: blade.example"));
    EXPECT_THAT(text, HasSubstr("IPAddress: 192.0.2.7"));
    EXPECT_THAT(text, HasSubstr("IPAddress: 2001:db8::7"));
    EXPECT_EQ(text.find("DNSname: blade.example"), text.rfind("DNSname: blade.example")) << "each name once";
    EXPECT_THAT(text, HasSubstr("Curve:	SECP256R1"));
    EXPECT_THAT(text, HasSubstr("Certificate Authority (CA): FALSE"));
    EXPECT_THAT(text, HasSubstr("TLS WWW Server"));
}

TEST(SelfSigned, FingerprintIsTheCertificatesOwn) {
    const Tls one = MakeSelfSigned({"blade"});
    EXPECT_THAT(FingerprintOf(one.m_certificate), MatchesRegex("([0-9A-F][0-9A-F]:){31}[0-9A-F][0-9A-F]"));
    EXPECT_EQ(FingerprintOf(one.m_certificate), FingerprintOf(one.m_certificate));
    EXPECT_NE(FingerprintOf(one.m_certificate), FingerprintOf(MakeSelfSigned({"blade"}).m_certificate));
    EXPECT_THROW(FingerprintOf("none"), std::runtime_error);
}

TEST(SelfSigned, ExpiresAsItSays) {
    const WallTime before = WallNow() + CertificateDays - std::chrono::hours(2);
    const WallTime expires = ExpiryOf(MakeSelfSigned({"blade"}).m_certificate);
    EXPECT_GT(expires, before);
    EXPECT_LE(expires, WallNow() + CertificateDays);
    EXPECT_THROW(ExpiryOf("none"), std::runtime_error);
}

TEST_F(TlsFolder, TheKeyIsForNobodyElseAndTheCertificateForEverybody) {
    testing::internal::CaptureStdout();
    EXPECT_EQ(TlsInitCommand({"--dir", m_folder, "--server-name", "blade.example", "--server-name", "blade2"}), 0);
    const std::string shown = testing::internal::GetCapturedStdout();
    const std::string certificate = FileText(m_folder + "/web.crt");
    EXPECT_THAT(shown, HasSubstr("\nvalid for 825 days\nSHA-256 " + FingerprintOf(certificate) + "\n"));
    EXPECT_THAT(TextOf(certificate), HasSubstr("DNSname: blade2"));
    EXPECT_THAT(TextOf(certificate), HasSubstr("DNSname: localhost"));
    EXPECT_THAT(TextOf(certificate), HasSubstr("IPAddress: 127.0.0.1"));
    struct stat state = {};
    ASSERT_EQ(stat((m_folder + "/web.key").c_str(), &state), 0);
    EXPECT_EQ(state.st_mode & 0037U, 0U);
    ASSERT_EQ(stat((m_folder + "/web.crt").c_str(), &state), 0);
    EXPECT_EQ(state.st_mode & 0777U, 0644U);
    EXPECT_THAT(FileText(m_folder + "/web.key"), HasSubstr("BEGIN PRIVATE KEY"));
}

TEST_F(TlsFolder, NothingIsReplacedUnlessForced) {
    testing::internal::CaptureStdout();
    TlsInitCommand({"--dir", m_folder});
    const std::string first = FileText(m_folder + "/web.crt");
    EXPECT_THROW(TlsInitCommand({"--dir", m_folder}), std::runtime_error);
    std::filesystem::remove(m_folder + "/web.key");
    EXPECT_THROW(TlsInitCommand({"--dir", m_folder}), std::runtime_error) << "one of them is enough";
    EXPECT_FALSE(std::filesystem::exists(m_folder + "/web.key"));
    EXPECT_EQ(FileText(m_folder + "/web.crt"), first);
    EXPECT_EQ(TlsInitCommand({"--force", "--dir", m_folder}), 0);
    EXPECT_NE(FileText(m_folder + "/web.crt"), first);
    testing::internal::GetCapturedStdout();
}

TEST_F(TlsFolder, WordsThatNobodyKnowsAreRefused) {
    EXPECT_THROW(TlsInitCommand({"--dirr", m_folder}), UsageError);
}

} // namespace
