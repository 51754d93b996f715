// The options of bmhost-web when it serves: of its command line, and of its configuration file.
#pragma once

#include "host/web/Guards.h"

#include <cstdint>
#include <string>
#include <vector>

namespace bmhost {

struct WebOptions {
    std::vector<ListenAddress> m_listen;
    std::string m_certificate; ///< its file; empty: no TLS
    std::string m_key;         ///< its file
    std::string m_accounts;
    std::vector<std::string> m_serverNames;
    uint64_t m_imageSize = 512ULL * 1024 * 1024; ///< bytes

    std::string m_answer; ///< to --help or --version: nothing else is wanted

    bool HasTls() const { return !m_certificate.empty(); }
};

/// Throws UsageError naming what was expected.
WebOptions ReadWebOptions(const std::vector<std::string>& words);

/// Throws UsageError with the reason why nobody may be served at this address: another than a loopback one needs TLS
/// and accounts.
/// @param accounts  how many there are that somebody comes in by
void CheckListenAddress(const ListenAddress& address, const WebOptions& options, std::size_t accounts);

} // namespace bmhost
