// Why a certificate is not trusted, in words.
#pragma once

#include <string>

namespace bmhost {

/// @param status  what GnuTLS says of it, as flags
/// @param host    by which name or address the server was asked
/// Empty when nothing is wrong.
std::string CertificateFault(unsigned status, const std::string& host);

} // namespace bmhost
