// The accounts of the web door, in a file of their own.
#pragma once

#include "host/accounts/Roles.h"

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace bmhost {

constexpr const char* UsualAccountFile = "/etc/bmhost/accounts";
constexpr std::size_t LongestAccountName = 32;

/// One line of the file: NAME:ROLE:HASH, or NAME:ROLE:HASH:locked.
struct Account {
    std::string m_name;
    Role m_role = Role::ReadOnly;
    std::string m_hash;    ///< of the password: libcrypt's yescrypt
    bool m_locked = false; ///< it is there, and nobody comes in by it

    bool operator==(const Account&) const = default;
};

/// Letters, digits, '.', '_' and '-', at most 32 of them, the first one no '-'.
bool IsAccountName(std::string_view name);

/// What the file holds. A file that is odd in any way is refused as a whole and left as it is: half of the accounts
/// could be the wrong half.
class AccountFile {
public:
    /// What makes a change; throws what stops it.
    using Change = std::function<void(AccountFile& accounts)>;

    AccountFile() = default;
    explicit AccountFile(std::vector<Account> accounts) : m_accounts(std::move(accounts)) {}

    /// Throws std::runtime_error that names file, line and reason: also for a file that is not there, that somebody
    /// else may write, or that everybody may read.
    static AccountFile Read(const std::string& path);
    /// The same; no file is no accounts.
    static AccountFile ReadIfThere(const std::string& path);
    /// Reads, changes and writes the file while no other process does the same; makes it if it is not there. It is
    /// written as a whole or not at all, and is on disk on return. A new file belongs to the group bmhost-web, where
    /// there is one, and this group may read it. Waits for others that change it. Throws std::runtime_error.
    static void Update(const std::string& path, const Change& change);

    const std::vector<Account>& All() const { return m_accounts; }
    /// Null if there is none.
    const Account* Find(std::string_view name) const;

    /// These throw std::runtime_error that names account and reason.
    void Add(Account account);
    void Remove(std::string_view name);
    void SetPassword(std::string_view name, std::string hash);
    void SetRole(std::string_view name, Role role);

private:
    Account& Known(std::string_view name);

    std::vector<Account> m_accounts;
};

} // namespace bmhost
