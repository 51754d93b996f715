// A blade elsewhere: where its web door is, and who asks there.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>

namespace bmhost {

struct Elsewhere {
    bool m_tls = false;
    std::string m_host; ///< a name, or an address without brackets
    uint16_t m_port = 0;
    std::string m_account{}; ///< empty: nobody, which is enough for looks on a plain loopback address
    std::string m_password{};
    std::string m_tlsCa{}; ///< the file with who is trusted; empty: whom the system trusts

    /// "https://blade7.example:8443".
    std::string Url() const;
    /// "blade7.example:8443", "[::1]:18080".
    std::string Authority() const;
    /// "Basic …"; empty without an account.
    std::string Authorization() const;
};

/// Of "https://HOST[:PORT]", or of "http://ADDRESS:PORT" with a loopback address. Throws UsageError for any other text,
/// which it does not repeat where a password may stand in it.
Elsewhere ElsewhereOf(const std::string& url);

/// The blade elsewhere cannot be reached now.
class Unreachable : public std::runtime_error {
    using std::runtime_error::runtime_error;
};
/// It is not to be asked like this: neither now nor by asking again.
class NotAdmitted : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

} // namespace bmhost
