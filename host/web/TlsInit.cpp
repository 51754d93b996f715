// `bmhost-web tls-init`: a key, and a certificate that nobody else has signed.
#include "host/web/TlsInit.h"

#include "host/accounts/GuardedFile.h"
#include "host/http/Peer.h"
#include "host/output/Redirect.h"
#include "host/output/Time.h"
#include "host/words/Error.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <arpa/inet.h>
#include <array>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <gnutls/crypto.h>
#include <gnutls/gnutls.h>
#include <gnutls/x509.h>
#include <ifaddrs.h>
#include <memory>
#include <net/if.h>
#include <stdexcept>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace bmhost {

namespace {

constexpr std::chrono::hours Earlier(1); // clocks differ
constexpr std::size_t SerialSize = 16;
constexpr mode_t ForEverybody = 0644;

void CheckTls(int result) {
    if (result < 0) throw std::runtime_error(std::string("no certificate can be made: ") + gnutls_strerror(result));
}

using Key = std::unique_ptr<gnutls_x509_privkey_int, void (*)(gnutls_x509_privkey_t)>;
using Certificate = std::unique_ptr<gnutls_x509_crt_int, void (*)(gnutls_x509_crt_t)>;

Key NewKey() {
    gnutls_x509_privkey_t key = nullptr;
    CheckTls(gnutls_x509_privkey_init(&key));
    Key owned(key, gnutls_x509_privkey_deinit);
    CheckTls(gnutls_x509_privkey_generate(key, GNUTLS_PK_ECDSA, GNUTLS_CURVE_TO_BITS(GNUTLS_ECC_CURVE_SECP256R1), 0));
    return owned;
}

Certificate NoCertificate() {
    gnutls_x509_crt_t certificate = nullptr;
    CheckTls(gnutls_x509_crt_init(&certificate));
    return {certificate, gnutls_x509_crt_deinit};
}

Certificate FirstOf(const std::string& pem) {
    Certificate read = NoCertificate();
    std::string bytes = pem;
    const gnutls_datum_t text{reinterpret_cast<unsigned char*>(bytes.data()), static_cast<unsigned>(bytes.size())};
    const int result = gnutls_x509_crt_import(read.get(), &text, GNUTLS_X509_FMT_PEM);
    if (result < 0) throw std::runtime_error(std::string("this is no certificate: ") + gnutls_strerror(result));
    return read;
}

void AddName(gnutls_x509_crt_t certificate, const std::string& name) {
    std::array<unsigned char, sizeof(in6_addr)> bytes{};
    const auto add = [&](gnutls_x509_subject_alt_name_t type, const void* data, std::size_t size) {
        CheckTls(gnutls_x509_crt_set_subject_alt_name(certificate, type, data, static_cast<unsigned>(size),
                                                      GNUTLS_FSAN_APPEND));
    };
    if (inet_pton(AF_INET, name.c_str(), bytes.data()) == 1) return add(GNUTLS_SAN_IPADDRESS, bytes.data(), 4);
    if (inet_pton(AF_INET6, name.c_str(), bytes.data()) == 1)
        return add(GNUTLS_SAN_IPADDRESS, bytes.data(), bytes.size());
    add(GNUTLS_SAN_DNSNAME, name.data(), name.size());
}

std::string Taken(gnutls_datum_t& datum) {
    std::string text(reinterpret_cast<const char*>(datum.data), datum.size);
    gnutls_memset(datum.data, 0, datum.size);
    gnutls_free(datum.data);
    return text;
}

// The machine's own names and addresses, the host name first.
std::vector<std::string> OwnNames() {
    std::array<char, 256> name{};
    gethostname(name.data(), name.size() - 1);
    std::vector<std::string> names;
    if (name[0] != '\0') names.emplace_back(name.data());
    names.insert(names.end(), {"localhost", "127.0.0.1", "::1"});
    ifaddrs* all = nullptr;
    if (getifaddrs(&all) != 0) return names;
    const std::unique_ptr<ifaddrs, void (*)(ifaddrs*)> owned(all, freeifaddrs);
    for (const ifaddrs* each = all; each != nullptr; each = each->ifa_next) {
        if (each->ifa_addr == nullptr) continue;
        const std::string address = AddressText(*each->ifa_addr);
        if (!address.empty() && !address.starts_with("fe80:")) names.push_back(address);
    }
    return names;
}

struct InitWords {
    std::string m_folder = "/etc/bmhost";
    std::vector<std::string> m_names;
    bool m_force = false;
    std::string m_answer;
};

InitWords ReadInitWords(const std::vector<std::string>& words) {
    InitWords given;
    CLI::App app("Makes a key and a certificate for the web door, which nobody else has signed.",
                 "bmhost-web tls-init");
    app.add_option("--dir", given.m_folder, "the folder of both files")->type_name("DIR");
    app.add_option("--server-name", given.m_names, "another name or address of this server; may be repeated")
        ->type_name("NAME");
    app.add_flag("--force", given.m_force, "replace the files that are there");
    std::vector<std::string> reversed(words.rbegin(), words.rend());
    try {
        app.parse(std::move(reversed));
    } catch (const CLI::CallForHelp&) {
        given.m_answer = app.help();
    } catch (const CLI::ParseError& error) {
        throw UsageError(error.what());
    }
    return given;
}

} // namespace

Tls MakeSelfSigned(const std::vector<std::string>& names) {
    const Key key = NewKey();
    const Certificate certificate = NoCertificate();
    std::array<unsigned char, SerialSize> serial{};
    CheckTls(gnutls_rnd(GNUTLS_RND_NONCE, serial.data(), serial.size()));
    serial[0] = (serial[0] & 0x7FU) | 0x40U; // positive, and of the full length
    const auto now = std::chrono::system_clock::now();
    CheckTls(gnutls_x509_crt_set_version(certificate.get(), 3));
    CheckTls(gnutls_x509_crt_set_serial(certificate.get(), serial.data(), serial.size()));
    CheckTls(
        gnutls_x509_crt_set_activation_time(certificate.get(), std::chrono::system_clock::to_time_t(now - Earlier)));
    CheckTls(gnutls_x509_crt_set_expiration_time(certificate.get(),
                                                 std::chrono::system_clock::to_time_t(now + CertificateDays)));
    constexpr std::size_t longestCommonName = 64;
    const std::string common = names.front().substr(0, longestCommonName);
    CheckTls(gnutls_x509_crt_set_dn_by_oid(certificate.get(), GNUTLS_OID_X520_COMMON_NAME, 0, common.data(),
                                           static_cast<unsigned>(common.size())));
    for (auto name = names.begin(); name != names.end(); ++name) {
        if (std::find(names.begin(), name, *name) == name) AddName(certificate.get(), *name);
    }
    CheckTls(gnutls_x509_crt_set_basic_constraints(certificate.get(), 0, -1));
    CheckTls(gnutls_x509_crt_set_key_usage(certificate.get(), GNUTLS_KEY_DIGITAL_SIGNATURE));
    CheckTls(gnutls_x509_crt_set_key_purpose_oid(certificate.get(), GNUTLS_KP_TLS_WWW_SERVER, 0));
    CheckTls(gnutls_x509_crt_set_key(certificate.get(), key.get()));
    CheckTls(gnutls_x509_crt_sign2(certificate.get(), certificate.get(), key.get(), GNUTLS_DIG_SHA256, 0));
    Tls tls;
    gnutls_datum_t text{};
    CheckTls(gnutls_x509_crt_export2(certificate.get(), GNUTLS_X509_FMT_PEM, &text));
    tls.m_certificate = Taken(text);
    CheckTls(gnutls_x509_privkey_export2_pkcs8(key.get(), GNUTLS_X509_FMT_PEM, nullptr, GNUTLS_PKCS_PLAIN, &text));
    tls.m_key = Taken(text);
    return tls;
}

WallTime ExpiryOf(const std::string& certificate) {
    const time_t expires = gnutls_x509_crt_get_expiration_time(FirstOf(certificate).get());
    if (expires == static_cast<time_t>(-1)) throw std::runtime_error("a certificate does not say when it expires");
    return std::chrono::time_point_cast<WallTime::duration>(std::chrono::system_clock::from_time_t(expires));
}

std::string FingerprintOf(const std::string& certificate) {
    const Certificate read = FirstOf(certificate);
    constexpr std::size_t digestSize = 32;
    std::array<unsigned char, digestSize> digest{};
    std::size_t size = digest.size();
    CheckTls(gnutls_x509_crt_get_fingerprint(read.get(), GNUTLS_DIG_SHA256, digest.data(), &size));
    constexpr std::string_view digits = "0123456789ABCDEF";
    std::string shown;
    for (const unsigned char byte : digest) {
        if (!shown.empty()) shown += ':';
        shown += {digits[byte >> 4U], digits[byte & 0x0FU]};
    }
    return shown;
}

int TlsInitCommand(const std::vector<std::string>& words) {
    const InitWords given = ReadInitWords(words);
    if (!given.m_answer.empty()) {
        WriteAll(STDOUT_FILENO, given.m_answer);
        return ExitAllOk;
    }
    const std::string key = given.m_folder + "/web.key";
    const std::string certificate = given.m_folder + "/web.crt";
    for (const std::string& file : {key, certificate}) {
        std::error_code unknown;
        if (!given.m_force && std::filesystem::exists(std::filesystem::symlink_status(file, unknown)))
            throw std::runtime_error(file + " is there already: --force replaces it");
    }
    std::vector<std::string> names = OwnNames();
    names.insert(names.begin(), given.m_names.begin(), given.m_names.end());
    const Tls tls = MakeSelfSigned(names);
    ReplaceGuarded(key, tls.m_key, "bmhost-web");
    ReplaceGuarded(certificate, tls.m_certificate, "bmhost-web");
    if (chmod(certificate.c_str(), ForEverybody) != 0)
        throw std::runtime_error(certificate + ": " + std::strerror(errno));
    WriteAll(STDOUT_FILENO, certificate + ", " + key + "\nvalid for " + std::to_string(CertificateDays.count()) +
                                " days\nSHA-256 " + FingerprintOf(tls.m_certificate) + "\n");
    return ExitAllOk;
}

} // namespace bmhost
