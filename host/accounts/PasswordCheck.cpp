// Whether somebody is who he says, without telling which accounts there are.
#include "host/accounts/PasswordCheck.h"

#include "host/accounts/Passwords.h"

namespace bmhost {

PasswordCheck::PasswordCheck() : PasswordCheck(PasswordMatches) {}

std::optional<Account> PasswordCheck::Check(const AccountFile& accounts, const std::string& name,
                                            const std::string& password) const {
    const Account* account = accounts.Find(name);
    // libcrypt reads up to a zero byte, and refuses what is too long without any work.
    const bool canBe = password.size() <= LongestPassword && password.find('\0') == std::string::npos;
    const bool matches = m_matches(canBe ? password : "", account == nullptr ? HashOfNobody() : account->m_hash);
    if (account == nullptr || account->m_locked || !canBe || !matches) return std::nullopt;
    return *account;
}

} // namespace bmhost
