// A blade elsewhere: where its web door is, and who asks there.
#include "host/connect/Elsewhere.h"

#include "host/words/Error.h"

#include <algorithm>
#include <arpa/inet.h>
#include <array>
#include <cctype>
#include <charconv>
#include <netinet/in.h>
#include <string_view>

namespace bmhost {

namespace {

constexpr uint16_t TlsPort = 8443;
constexpr std::size_t LongestName = 253;
constexpr const char* Expected =
    "--connect: expected https://HOST[:PORT], or http://127.0.0.1:PORT on the same machine";

[[noreturn]] void RefuseUrl(const std::string& reason) {
    throw UsageError(std::string(Expected) + "; " + reason);
}

bool IsPlain(char letter) {
    const auto byte = static_cast<unsigned char>(letter);
    return byte < 0x80 && (isalnum(byte) != 0 || letter == '.' || letter == '-' || letter == '_');
}

bool IsSix(const std::string& host) {
    return host.find(':') != std::string::npos;
}

std::string LowerCased(std::string text) {
    std::ranges::transform(text, text.begin(), [](unsigned char letter) {
        return static_cast<char>(letter < 0x80 ? tolower(letter) : letter);
    });
    return text;
}

void CheckHost(const std::string& host) {
    if (host.empty()) RefuseUrl("there is no HOST in it");
    if (host.size() > LongestName) RefuseUrl("this HOST is too long");
    if (IsSix(host)) {
        std::array<unsigned char, sizeof(in6_addr)> bytes{};
        if (inet_pton(AF_INET6, host.c_str(), bytes.data()) != 1) RefuseUrl("'" + host + "' is no address");
        return;
    }
    if (!std::ranges::all_of(host, IsPlain) || host.front() == '-' || host.front() == '.')
        RefuseUrl("this HOST is neither a name nor an address; an IPv6 address stands in brackets");
}

uint16_t PortOf(std::string_view text) {
    uint16_t port = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), port);
    if (error != std::errc() || end != text.data() + text.size() || port == 0)
        RefuseUrl("PORT is a number from 1 to 65535");
    return port;
}

// No name is asked for: who answers for it would get the password.
bool IsLoopback(const std::string& host) {
    constexpr unsigned loopback = 127;
    std::array<unsigned char, sizeof(in6_addr)> bytes{};
    if (host == "localhost") return true;
    if (inet_pton(AF_INET, host.c_str(), bytes.data()) == 1) return bytes[0] == loopback;
    return inet_pton(AF_INET6, host.c_str(), bytes.data()) == 1 &&
           std::equal(bytes.begin(), bytes.end(), in6addr_loopback.s6_addr);
}

std::string Base64(const std::string& text) {
    constexpr std::string_view letters = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    constexpr unsigned low = 0x3F;
    std::string encoded;
    for (std::size_t i = 0; i < text.size(); i += 3) {
        const auto byte = [&](std::size_t at) {
            return at < text.size() ? static_cast<unsigned>(static_cast<unsigned char>(text[at])) : 0U;
        };
        const unsigned three = byte(i) << 16U | byte(i + 1) << 8U | byte(i + 2);
        const std::size_t bytes = std::min<std::size_t>(3, text.size() - i);
        for (unsigned k = 0; k < 4; ++k)
            encoded += k <= bytes ? letters[three >> (18U - 6 * k) & low] : '=';
    }
    return encoded;
}

} // namespace

std::string Elsewhere::Authority() const {
    return (IsSix(m_host) ? "[" + m_host + "]" : m_host) + ":" + std::to_string(m_port);
}

std::string Elsewhere::Url() const {
    return (m_tls ? "https://" : "http://") + Authority();
}

std::string Elsewhere::Authorization() const {
    return m_account.empty() ? "" : "Basic " + Base64(m_account + ":" + m_password);
}

Elsewhere ElsewhereOf(const std::string& url) {
    const std::size_t colon = std::min(url.find("://"), url.size());
    const std::string scheme = LowerCased(url.substr(0, colon));
    if (colon == url.size() || (scheme != "http" && scheme != "https")) throw UsageError(Expected);
    std::string rest = url.substr(colon + 3);
    if (rest.find('@') != std::string::npos)
        RefuseUrl("no account stands in it: --account and --password-file say who asks");
    if (rest.ends_with('/')) rest.pop_back();
    if (rest.find_first_of("/?#") != std::string::npos) RefuseUrl("nothing stands after PORT");
    Elsewhere place;
    place.m_tls = scheme == "https";
    std::string port;
    if (rest.starts_with('[')) {
        const std::size_t end = std::min(rest.find(']'), rest.size());
        place.m_host = LowerCased(rest.substr(1, end - 1));
        if (end == rest.size() || !IsSix(place.m_host)) RefuseUrl("brackets are for an IPv6 address");
        port = rest.substr(end + 1);
        if (!port.empty() && !port.starts_with(':')) RefuseUrl("after the brackets comes :PORT");
    } else {
        const std::size_t end = std::min(rest.find(':'), rest.size());
        place.m_host = LowerCased(rest.substr(0, end));
        port = rest.substr(end);
    }
    CheckHost(place.m_host);
    if (port.empty() && !place.m_tls) RefuseUrl("http:// needs its PORT");
    place.m_port = port.empty() ? TlsPort : PortOf(std::string_view(port).substr(1));
    if (!place.m_tls && !IsLoopback(place.m_host))
        RefuseUrl("http:// to " + place.m_host + " would send the password over the network in clear");
    return place;
}

} // namespace bmhost
