// The accounts of the web door, in a file of their own.
#include "host/accounts/AccountFile.h"

#include "host/accounts/GuardedFile.h"
#include "host/accounts/Passwords.h"

#include <algorithm>
#include <cerrno>
#include <optional>
#include <stdexcept>
#include <system_error>

namespace bmhost {

namespace {

constexpr const char* DoorsGroup = "bmhost-web";
constexpr std::string_view LockedWord = "locked";
constexpr std::string_view NameLetters = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789._-";

std::vector<std::string_view> AccountFields(std::string_view line) {
    std::vector<std::string_view> fields;
    while (true) {
        const auto end = line.find(':');
        fields.push_back(line.substr(0, end));
        if (end == std::string_view::npos) return fields;
        line.remove_prefix(end + 1);
    }
}

// The reason does not repeat the line: it may have a password's hash in it.
Account AccountOf(std::string_view line) {
    const auto fields = AccountFields(line);
    if (fields.size() < 3 || fields.size() > 4)
        throw std::runtime_error("expected NAME:ROLE:HASH, or NAME:ROLE:HASH:locked");
    if (!IsAccountName(fields[0]))
        throw std::runtime_error("its name is none: expected 1 to 32 of A-Z, a-z, 0-9, '.', '_' and '-'");
    const auto role = RoleOf(fields[1]);
    if (!role) throw std::runtime_error("its role is none of ReadOnly, Operator and Administrator");
    if (!IsPasswordHash(fields[2]))
        throw std::runtime_error("its password is no whole hash of yescrypt with the cost that bmhost gives it");
    if (fields.size() == 4 && fields[3] != LockedWord)
        throw std::runtime_error("after the hash, expected 'locked' or nothing");
    return {std::string(fields[0]), *role, std::string(fields[2]), fields.size() == 4};
}

AccountFile AccountsOf(const std::string& text, const std::string& path) {
    AccountFile accounts;
    std::string_view rest = text;
    for (int number = 1; !rest.empty(); ++number) {
        try {
            const auto end = rest.find('\n');
            // Somebody has written half of it.
            if (end == std::string_view::npos) throw std::runtime_error("the line has no end");
            accounts.Add(AccountOf(rest.substr(0, end)));
            rest.remove_prefix(end + 1);
        } catch (const std::runtime_error& error) {
            throw std::runtime_error(path + ":" + std::to_string(number) + ": " + error.what());
        }
    }
    return accounts;
}

std::string AccountLines(const AccountFile& accounts) {
    std::string text;
    for (const Account& account : accounts.All()) {
        text.append(account.m_name).append(":").append(RoleName(account.m_role)).append(":").append(account.m_hash);
        if (account.m_locked) text.append(":").append(LockedWord);
        text.append("\n");
    }
    return text;
}

} // namespace

bool IsAccountName(std::string_view name) {
    return !name.empty() && name.size() <= LongestAccountName && name.front() != '-' &&
           name.find_first_not_of(NameLetters) == std::string_view::npos;
}

AccountFile AccountFile::Read(const std::string& path) {
    const auto text = ReadGuarded(path);
    if (!text) throw std::runtime_error(path + ": " + std::generic_category().message(ENOENT));
    return AccountsOf(*text, path);
}

AccountFile AccountFile::ReadIfThere(const std::string& path) {
    const auto text = ReadGuarded(path);
    return text ? AccountsOf(*text, path) : AccountFile();
}

void AccountFile::Update(const std::string& path, const Change& change) {
    const GuardLock lock(path);
    AccountFile accounts = ReadIfThere(path);
    change(accounts);
    ReplaceGuarded(path, AccountLines(accounts), DoorsGroup);
}

const Account* AccountFile::Find(std::string_view name) const {
    const auto found = std::ranges::find(m_accounts, name, &Account::m_name);
    return found == m_accounts.end() ? nullptr : &*found;
}

void AccountFile::Add(Account account) {
    if (Find(account.m_name) != nullptr) throw std::runtime_error("account " + account.m_name + " is there already");
    m_accounts.push_back(std::move(account));
}

void AccountFile::Remove(std::string_view name) {
    const Account& gone = Known(name);
    m_accounts.erase(m_accounts.begin() + (&gone - m_accounts.data()));
}

void AccountFile::SetPassword(std::string_view name, std::string hash) {
    Known(name).m_hash = std::move(hash);
}

void AccountFile::SetRole(std::string_view name, Role role) {
    Known(name).m_role = role;
}

Account& AccountFile::Known(std::string_view name) {
    const auto found = std::ranges::find(m_accounts, name, &Account::m_name);
    if (found == m_accounts.end()) throw std::runtime_error("there is no account " + std::string(name));
    return *found;
}

} // namespace bmhost
