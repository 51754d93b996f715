// Whether somebody is who he says, without telling which accounts there are.
#pragma once

#include "host/accounts/AccountFile.h"

#include <functional>
#include <optional>
#include <string>

namespace bmhost {

/// Takes as long for an account that is not there, that is locked, or whose password is too long. It takes tens of
/// milliseconds: not on a thread that others wait for. Any thread, several at once.
class PasswordCheck {
public:
    /// Whether the password leads to the hash; to be called once a check.
    using Matcher = std::function<bool(const std::string& password, const std::string& hash)>;

    /// Compares by libcrypt.
    PasswordCheck();
    explicit PasswordCheck(Matcher matcher) : m_matches(std::move(matcher)) {}

    /// The account if the password is its own. Why it is not is not told, since nobody outside may learn it.
    std::optional<Account> Check(const AccountFile& accounts, const std::string& name,
                                 const std::string& password) const;

private:
    Matcher m_matches;
};

} // namespace bmhost
