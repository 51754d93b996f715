// The sessions of the web door: who has logged in, known by a token.
#include "host/accounts/Sessions.h"

#include "host/accounts/ConstantTime.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <stdexcept>
#include <sys/random.h>
#include <system_error>

namespace bmhost {

namespace {

constexpr std::size_t TokenBytes = 32;
constexpr std::string_view TokenLetters = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_";

std::array<unsigned char, TokenBytes> RandomBytes() {
    std::array<unsigned char, TokenBytes> bytes{};
    ssize_t got = -1;
    do { // up to 256 bytes come as a whole, or not at all
        got = getrandom(bytes.data(), bytes.size(), 0);
    } while (got < 0 && errno == EINTR);
    if (got != static_cast<ssize_t>(bytes.size()))
        throw std::runtime_error("no random bytes for a session: " + std::generic_category().message(errno));
    return bytes;
}

// base64url without '=', which a header takes as it is.
std::string MakeToken() {
    std::string token;
    unsigned bits = 0;
    int count = 0;
    for (const unsigned char byte : RandomBytes()) {
        bits = (bits << 8U | byte) & 0xFFFFU;
        for (count += 8; count >= 6; count -= 6)
            token += TokenLetters[bits >> static_cast<unsigned>(count - 6) & 0x3FU];
    }
    return token + TokenLetters[bits << static_cast<unsigned>(6 - count) & 0x3FU];
}

} // namespace

std::optional<Sessions::Opened> Sessions::Open(const std::string& account, const std::string& address) {
    const std::string token = MakeToken();
    const auto now = m_clocks.m_steady();
    const WallTime created = m_clocks.m_wall();
    const std::lock_guard lock(m_guard);
    EndIdle(now);
    const auto own = std::ranges::count_if(m_rows, [&](const Row& row) { return row.m_session.m_account == account; });
    if (m_rows.size() >= m_limits.m_most || static_cast<std::size_t>(own) >= m_limits.m_mostOfAccount)
        return std::nullopt;
    m_rows.push_back({{++m_lastId, account, address, created}, token, now});
    return Opened{m_rows.back().m_session, token};
}

std::optional<WebSession> Sessions::Use(std::string_view token) {
    const auto now = m_clocks.m_steady();
    const std::lock_guard lock(m_guard);
    EndIdle(now);
    Row* found = nullptr;
    for (Row& row : m_rows) {
        if (SameSecret(row.m_token, token)) found = &row; // no end at the first: the time would tell which it was
    }
    if (found == nullptr) return std::nullopt;
    found->m_used = now;
    return found->m_session;
}

std::vector<WebSession> Sessions::List() {
    const auto now = m_clocks.m_steady();
    const std::lock_guard lock(m_guard);
    EndIdle(now);
    std::vector<WebSession> sessions;
    for (const Row& row : m_rows)
        sessions.push_back(row.m_session);
    return sessions;
}

std::optional<WebSession> Sessions::Find(uint64_t id) {
    const std::vector<WebSession> sessions = List();
    const auto found = std::ranges::find(sessions, id, &WebSession::m_id);
    return found == sessions.end() ? std::nullopt : std::optional(*found);
}

bool Sessions::Close(uint64_t id) {
    const auto now = m_clocks.m_steady();
    const std::lock_guard lock(m_guard);
    EndIdle(now);
    return std::erase_if(m_rows, [id](const Row& row) { return row.m_session.m_id == id; }) > 0;
}

void Sessions::CloseAllOf(std::string_view account) {
    const std::lock_guard lock(m_guard);
    std::erase_if(m_rows, [account](const Row& row) { return row.m_session.m_account == account; });
}

void Sessions::EndIdle(std::chrono::steady_clock::time_point now) {
    std::erase_if(m_rows, [&](const Row& row) { return now - row.m_used >= m_limits.m_idle; });
}

} // namespace bmhost
