// Who asks at the web door: by a password, or by the token of a session.
#include "host/web/Logins.h"

#include "host/web/DoorLog.h"

#include <algorithm>
#include <array>
#include <gnutls/crypto.h>
#include <gnutls/gnutls.h>
#include <stdexcept>
#include <utility>

namespace bmhost {

namespace {

constexpr std::size_t KeySize = 32;
constexpr std::size_t LongestCredentials = 1024;

std::string RandomKey() {
    std::string key(KeySize, '\0');
    if (gnutls_rnd(GNUTLS_RND_KEY, key.data(), key.size()) != 0)
        throw std::runtime_error("there are no random numbers");
    return key;
}

std::string RetryAfter(std::chrono::milliseconds wait) {
    return std::to_string(std::chrono::ceil<std::chrono::seconds>(wait).count());
}

/// GnuTLS decodes what stands before a letter that is none, and takes it for the whole.
bool IsBase64(std::string_view text) {
    constexpr std::string_view letters = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    const std::size_t end = std::min(text.find_first_not_of(letters), text.size());
    const std::string_view padding = text.substr(end);
    return text.size() % 4 == 0 && (padding.empty() || padding == "=" || padding == "==");
}

} // namespace

std::optional<Credentials> BasicCredentials(std::string_view authorization) {
    constexpr std::string_view scheme = "basic ";
    if (authorization.size() <= scheme.size() || authorization.size() > LongestCredentials) return std::nullopt;
    for (std::size_t i = 0; i < scheme.size(); ++i) {
        if ((authorization[i] | (scheme[i] & 0x20)) != scheme[i]) return std::nullopt;
    }
    std::string encoded(authorization.substr(scheme.size()));
    if (!IsBase64(encoded)) return std::nullopt;
    gnutls_datum_t from{reinterpret_cast<unsigned char*>(encoded.data()), static_cast<unsigned>(encoded.size())};
    gnutls_datum_t decoded{};
    if (gnutls_base64_decode2(&from, &decoded) != 0) return std::nullopt;
    const std::string text(reinterpret_cast<const char*>(decoded.data), decoded.size);
    gnutls_free(decoded.data);
    const std::size_t colon = text.find(':');
    if (colon == std::string::npos || colon == 0) return std::nullopt;
    return Credentials{text.substr(0, colon), text.substr(colon + 1)};
}

Logins::Logins(AccountFile accounts, const LoginLimits& limits, PasswordCheck check)
    : m_limits(limits),
      m_check(std::move(check)),
      m_key(RandomKey()),
      m_accounts(std::make_shared<const AccountFile>(std::move(accounts))),
      m_lane(limits.m_threads, limits.m_waiting) {}

void Logins::Set(AccountFile accounts) {
    const auto next = std::make_shared<const AccountFile>(std::move(accounts));
    std::shared_ptr<const AccountFile> before;
    {
        const std::lock_guard lock(m_guard);
        before = std::exchange(m_accounts, next);
        m_known.clear();
    }
    for (const Account& account : before->All()) {
        const Account* const now = next->Find(account.m_name);
        if (now == nullptr || now->m_locked || now->m_hash != account.m_hash) m_sessions.CloseAllOf(account.m_name);
    }
}

std::shared_ptr<const AccountFile> Logins::Accounts() const {
    const std::lock_guard lock(m_guard);
    return m_accounts;
}

std::optional<Visitor> Logins::WithToken(std::string_view token, const std::string& address) {
    const auto session = m_sessions.Use(token);
    if (!session) return std::nullopt;
    const auto accounts = Accounts();
    const Account* const account = accounts->Find(session->m_account);
    if (account == nullptr || account->m_locked) return std::nullopt;
    return Visitor{account->m_name, account->m_role, address, session->m_id};
}

std::string Logins::DigestOf(const Credentials& credentials) const {
    const std::string text = credentials.m_name + ":" + credentials.m_password;
    std::string digest(gnutls_hmac_get_len(GNUTLS_MAC_SHA256), '\0');
    if (gnutls_hmac_fast(GNUTLS_MAC_SHA256, m_key.data(), m_key.size(), text.data(), text.size(), digest.data()) != 0)
        throw std::runtime_error("a password cannot be digested");
    return digest;
}

std::optional<Visitor> Logins::Remembered(const Credentials& credentials, const std::string& address) {
    const std::string digest = DigestOf(credentials);
    const std::lock_guard lock(m_guard);
    const auto known = m_known.find(credentials.m_name);
    if (known == m_known.end() || known->second.m_digest != digest) return std::nullopt;
    if (std::chrono::steady_clock::now() >= known->second.m_until) return std::nullopt;
    const Account* const account = m_accounts->Find(credentials.m_name);
    if (account == nullptr || account->m_locked || account->m_hash != known->second.m_hash) return std::nullopt;
    return Visitor{account->m_name, account->m_role, address, std::nullopt};
}

void Logins::Remember(const Credentials& credentials, const Account& account) {
    const auto now = std::chrono::steady_clock::now();
    Known known{DigestOf(credentials), account.m_hash, now + m_limits.m_remembered};
    const std::lock_guard lock(m_guard);
    std::erase_if(m_known, [&](const auto& each) { return each.second.m_until <= now; });
    if (m_known.size() < m_limits.m_mostRemembered) m_known[account.m_name] = std::move(known);
}

void Logins::Check(const Credentials& credentials, const std::string& address, Done done) {
    const auto shared = std::make_shared<Done>(std::move(done));
    const bool given = m_lane.Give([this, credentials, address, shared] {
        try {
            (*shared)(Compare(credentials, address));
        } catch (const std::exception& error) {
            (*shared)(Refusal(500, "", error.what()));
        }
    });
    if (!given) (*shared)(Refusal(503, "", "too many logins at once", {{"Retry-After", "1"}}));
}

Logins::Login Logins::Compare(const Credentials& credentials, const std::string& address) {
    // Several requests that came together need one comparison.
    if (const auto visitor = Remembered(credentials, address)) return *visitor;
    if (const auto wait = m_brake.Try(credentials.m_name, address); wait.count() > 0) {
        LogDoor("login of " + credentials.m_name + " from " + address + " has to wait");
        return Refusal(429, "", "too many wrong passwords", {{"Retry-After", RetryAfter(wait)}});
    }
    const auto accounts = Accounts();
    const auto account = m_check.Check(*accounts, credentials.m_name, credentials.m_password);
    if (!account) {
        ++m_failed;
        LogDoor("login of " + credentials.m_name + " from " + address + " failed");
        return Refusal(401, "", "unknown account or wrong password", {{"WWW-Authenticate", "Basic realm=\"bmhost\""}});
    }
    m_brake.Succeeded(credentials.m_name, address);
    Remember(credentials, *account);
    return Visitor{account->m_name, account->m_role, address, std::nullopt};
}

} // namespace bmhost
