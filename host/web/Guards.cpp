// Which requests a browser may have been talked into by a page from elsewhere.
#include "host/web/Guards.h"

#include "host/words/Error.h"
#include "host/words/Names.h"
#include "host/words/Value.h"

#include <algorithm>
#include <arpa/inet.h>
#include <array>
#include <cctype>
#include <limits>
#include <utility>

namespace bmhost {

namespace {

// One spelling for each address; nothing for what is none.
std::optional<std::string> PlainAddress(const std::string& text) {
    std::array<unsigned char, sizeof(in6_addr)> bytes{};
    std::array<char, INET6_ADDRSTRLEN> plain{};
    for (const int family : {AF_INET, AF_INET6}) {
        if (inet_pton(family, text.c_str(), bytes.data()) == 1)
            return inet_ntop(family, bytes.data(), plain.data(), plain.size());
    }
    return std::nullopt;
}

bool IsLoopbackAddress(const std::string& address) {
    return address == "::1" || (address.starts_with("127.") && address.find(':') == std::string::npos);
}

/// "name:port", "[address]:port", either without the port.
struct Authority {
    std::string m_host; ///< in lower case, an address in its plain spelling; in brackets if it is one of IPv6
    std::string m_port;
};

std::optional<Authority> AuthorityOf(std::string_view text) {
    const std::string lower = LowerCase(text);
    Authority authority;
    std::size_t end = 0;
    if (lower.starts_with('[')) {
        end = lower.find(']');
        if (end == std::string::npos) return std::nullopt;
        const auto address = PlainAddress(lower.substr(1, end - 1));
        if (!address) return std::nullopt;
        authority.m_host = "[" + *address + "]";
        ++end;
    } else {
        end = std::min(lower.find(':'), lower.size());
        authority.m_host = lower.substr(0, end);
    }
    if (authority.m_host.empty()) return std::nullopt;
    if (end == lower.size()) return authority;
    authority.m_port = lower.substr(end + 1);
    const bool number = !authority.m_port.empty() && std::all_of(authority.m_port.begin(), authority.m_port.end(),
                                                                 [](unsigned char letter) { return isdigit(letter); });
    if (lower[end] != ':' || !number) return std::nullopt;
    return authority;
}

std::string WithPort(const Authority& authority, bool secure) {
    const std::string usual = secure ? "443" : "80";
    return authority.m_host + ":" + (authority.m_port.empty() ? usual : authority.m_port);
}

std::vector<std::string_view> Values(const Request& request, std::string_view name) {
    std::vector<std::string_view> values;
    for (const auto& [header, value] : request.m_headers) {
        if (LowerCase(header) == name) values.push_back(value);
    }
    return values;
}

} // namespace

std::string ListenAddress::Text() const {
    const bool six = m_address.find(':') != std::string::npos;
    return (six ? "[" + m_address + "]" : m_address) + ":" + std::to_string(m_port);
}

bool ListenAddress::IsLoopback() const {
    return IsLoopbackAddress(m_address);
}

bool ListenAddress::IsWildcard() const {
    return m_address == "0.0.0.0" || m_address == "::";
}

ListenAddress ListenAddressOf(const std::string& text) {
    const std::string expected = "'" + text +
                                 "' is no address to listen at: expected ADDRESS:PORT, with an IPv6 "
                                 "address in brackets, as in 127.0.0.1:18080 or [::1]:18080";
    const std::size_t colon = text.rfind(':');
    if (colon == std::string::npos) throw UsageError(expected);
    std::string address = text.substr(0, colon);
    const bool brackets = address.size() > 2 && address.front() == '[' && address.back() == ']';
    if (brackets) address = address.substr(1, address.size() - 2);
    const auto plain = PlainAddress(address);
    const std::string port = text.substr(colon + 1);
    const bool digits =
        !port.empty() && std::all_of(port.begin(), port.end(), [](unsigned char letter) { return isdigit(letter); });
    const int64_t number = digits ? ParseNumber(port).value_or(-1) : -1;
    const bool six = plain && plain->find(':') != std::string::npos;
    if (!plain || six != brackets || number < 0 || number > std::numeric_limits<uint16_t>::max())
        throw UsageError(expected);
    return {*plain, static_cast<uint16_t>(number)};
}

HostNames::HostNames(const ListenAddress& listen, const std::vector<std::string>& names) : m_listen(listen) {
    const auto add = [this](const std::string& name) {
        const auto address = PlainAddress(name);
        const bool six = address && address->find(':') != std::string::npos;
        m_names.push_back(six ? "[" + *address + "]" : LowerCase(address.value_or(name)));
    };
    for (const std::string& name : names)
        add(name);
    add(listen.m_address);
    if (!listen.IsLoopback() && !listen.IsWildcard()) return;
    for (const char* const name : {"localhost", "127.0.0.1", "::1"})
        add(name);
}

// At all addresses of the machine each of them is a name. No page can have an address as its name but one that this
// very address has served.
bool HostNames::Has(std::string_view host) const {
    if (std::find(m_names.begin(), m_names.end(), host) != m_names.end()) return true;
    return m_listen.IsWildcard() && (host.starts_with('[') || PlainAddress(std::string(host)).has_value());
}

void HostNames::Check(const Request& request) const {
    const auto hosts = Values(request, "host");
    if (hosts.size() != 1) throw Refusal(400, "Host", "expected one header Host");
    const auto host = AuthorityOf(hosts.front());
    if (!host) throw Refusal(400, std::string(hosts.front()), "expected Host: NAME or NAME:PORT");
    if (!Has(host->m_host)) {
        throw Refusal(421, std::string(hosts.front()),
                      "this server has another name: --server-name says which names it answers to");
    }
    for (const std::string_view origin : Values(request, "origin")) {
        const std::string_view scheme = request.m_peer.m_secure ? "https://" : "http://";
        const auto from = origin.starts_with(scheme) ? AuthorityOf(origin.substr(scheme.size())) : std::nullopt;
        if (!from || WithPort(*from, request.m_peer.m_secure) != WithPort(*host, request.m_peer.m_secure))
            throw Refusal(403, std::string(origin), "a page from elsewhere asks, which this server does not answer");
    }
}

} // namespace bmhost
