// Which requests a browser may have been talked into by a page from elsewhere: by what they say of host and origin.
#pragma once

#include "host/http/Request.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace bmhost {

/// An address and a port, as in --listen.
struct ListenAddress {
    std::string m_address; ///< "192.0.2.7", "::1"; without brackets
    uint16_t m_port = 0;

    /// "192.0.2.7:443", "[::1]:18080".
    std::string Text() const;
    bool IsLoopback() const;
    /// All addresses of the machine.
    bool IsWildcard() const;
};

/// "192.0.2.7:443", "[2001:db8::7]:443". Throws UsageError.
ListenAddress ListenAddressOf(const std::string& text);

/// How one listener may be called.
class HostNames {
public:
    /// @param names  --server-name
    HostNames(const ListenAddress& listen, const std::vector<std::string>& names);

    /// Throws Refusal: 400 unless there is one header Host, 421 for a name that is not this blade's (a name that a
    /// page's owner made lead here), 403 for an origin that is not this very server.
    void Check(const Request& request) const;

private:
    bool Has(std::string_view host) const;

    ListenAddress m_listen;
    std::vector<std::string> m_names; ///< in lower case
};

} // namespace bmhost
