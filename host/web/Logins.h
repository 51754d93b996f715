// Who asks at the web door: by a password, or by the token of a session.
#pragma once

#include "host/accounts/AccountFile.h"
#include "host/accounts/LoginBrake.h"
#include "host/accounts/PasswordCheck.h"
#include "host/accounts/Sessions.h"
#include "host/http/Reply.h"
#include "host/http/Request.h"
#include "host/resident/Lane.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace bmhost {

/// Somebody who has shown that an account is his.
struct Visitor {
    std::string m_name;
    Role m_role = Role::ReadOnly;
    std::string m_address;
    std::optional<uint64_t> m_session; ///< none: the password came with the request

    /// "anna (192.0.2.7)", as the resident host's log and journal show it.
    std::string Text() const { return m_name + " (" + m_address + ")"; }
};

struct Credentials {
    std::string m_name;
    std::string m_password;
};

/// Those of "Authorization: Basic …"; nothing for any other text.
std::optional<Credentials> BasicCredentials(std::string_view authorization);

struct LoginLimits {
    unsigned m_threads = 2;
    std::size_t m_waiting = 32;
    /// A password that was right is taken for as long without the costly comparison.
    std::chrono::milliseconds m_remembered{60'000};
    std::size_t m_mostRemembered = 256;
};

/// Every member on any thread; none but the checking threads compares passwords.
class Logins {
public:
    using Login = std::variant<Visitor, Refusal>;
    using Done = std::function<void(Login login)>;

    explicit Logins(AccountFile accounts, const LoginLimits& limits = {}, PasswordCheck check = PasswordCheck());
    Logins(const Logins&) = delete;
    Logins& operator=(const Logins&) = delete;

    /// From now on these are the accounts. Sessions of those that are gone, or have another password, end.
    void Set(AccountFile accounts);
    std::shared_ptr<const AccountFile> Accounts() const;
    Sessions& OpenSessions() { return m_sessions; }

    /// Nothing unless the token is an open session's and its account may still come in.
    std::optional<Visitor> WithToken(std::string_view token, const std::string& address);
    /// Nothing unless this very password was right a short while ago.
    std::optional<Visitor> Remembered(const Credentials& credentials, const std::string& address);
    /// Compares the password on a thread of its own, and tells the log when it is wrong. Refusals: 401; 429 for whoever
    /// has to wait after wrong ones, 503 when too many wait, both with Retry-After.
    /// @param done  called once, perhaps before this returns
    void Check(const Credentials& credentials, const std::string& address, Done done);
    /// Since the start: wrong passwords and unknown names.
    uint64_t Failed() const { return m_failed; }

private:
    struct Known {
        std::string m_digest; ///< of the password, by a key that nobody else has
        std::string m_hash;   ///< the account's, when it was right
        std::chrono::steady_clock::time_point m_until;
    };

    Login Compare(const Credentials& credentials, const std::string& address);
    void Remember(const Credentials& credentials, const Account& account);
    std::string DigestOf(const Credentials& credentials) const;

    const LoginLimits m_limits;
    const PasswordCheck m_check;
    const std::string m_key;
    std::atomic<uint64_t> m_failed{0};
    LoginBrake m_brake;
    Sessions m_sessions;
    mutable std::mutex m_guard; ///< of the two that follow
    std::shared_ptr<const AccountFile> m_accounts;
    std::map<std::string, Known> m_known;
    Lane m_lane; // last, since its threads use the other members
};

} // namespace bmhost
