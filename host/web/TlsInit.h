// `bmhost-web tls-init`: a key, and a certificate that nobody else has signed.
#pragma once

#include "host/http/Server.h"
#include "host/output/Time.h"

#include <chrono>
#include <string>
#include <vector>

namespace bmhost {

/// How long a new certificate is valid: longer ones are refused by some clients.
constexpr std::chrono::days CertificateDays(825);

/// A key on the curve P-256, and a certificate for it that it has signed itself, valid from now.
/// @param names  of the server: host names and addresses, the first one its common name
Tls MakeSelfSigned(const std::vector<std::string>& names);
/// The SHA-256 of the first certificate, "AB:CD:…". Throws std::runtime_error when it is none.
std::string FingerprintOf(const std::string& certificate);
/// When the first certificate expires. Throws std::runtime_error when it is none.
WallTime ExpiryOf(const std::string& certificate);

/// Makes web.key and web.crt in a folder and shows the fingerprint. Throws UsageError; std::runtime_error for files
/// that are there already.
int TlsInitCommand(const std::vector<std::string>& words);

} // namespace bmhost
