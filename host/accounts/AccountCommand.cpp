// `bmhost account`: adds, removes, lists accounts and changes their passwords.
#include "host/accounts/AccountCommand.h"

#include "host/accounts/AccountFile.h"
#include "host/accounts/PasswordInput.h"
#include "host/accounts/Passwords.h"
#include "host/output/Redirect.h"
#include "host/words/Error.h"

#include "bm_dev/Table.h"

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <functional>
#include <stdexcept>
#include <unistd.h>

namespace bmhost {

namespace {

struct AccountWords {
    std::string m_file = UsualAccountFile;
    std::string m_name;
    std::string m_role;
    std::string m_passwordFile;
    bool m_json = false;
};

std::string AccountRoles() {
    std::string names;
    for (const Role role : AllRoles)
        names.append(names.empty() ? "" : ", ").append(RoleName(role));
    return names;
}

void CheckAccountName(const std::string& name) {
    if (!IsAccountName(name))
        throw UsageError("NAME '" + name + "': expected 1 to 32 of A-Z, a-z, 0-9, '.', '_' and '-', and no '-' first");
}

Role RoleGiven(const std::string& name) {
    const auto role = RoleOf(name);
    if (!role) throw UsageError("--role '" + name + "': expected one of " + AccountRoles());
    return *role;
}

// Every reason names the file: the words may have meant another.
void Change(const AccountWords& words, AccountFile& accounts, const AccountFile::Change& change) {
    try {
        change(accounts);
    } catch (const std::runtime_error& error) {
        throw std::runtime_error(words.m_file + ": " + error.what());
    }
}

void ChangeFile(const AccountWords& words, const AccountFile::Change& change) {
    AccountFile::Update(words.m_file, [&](AccountFile& accounts) { Change(words, accounts, change); });
}

// What is wrong without any password is said before one is asked for.
void ChangeWithPassword(const AccountWords& words, AccountFile accounts,
                        const std::function<void(AccountFile& accounts, const std::string& hash)>& change) {
    Change(words, accounts, [&](AccountFile& tried) { change(tried, ""); });
    const std::string hash = HashOfPassword(PasswordFor(words.m_name, words.m_passwordFile));
    ChangeFile(words, [&](AccountFile& changed) { change(changed, hash); });
}

void AddAccount(const AccountWords& words) {
    const Role role = RoleGiven(words.m_role);
    ChangeWithPassword(words, AccountFile::ReadIfThere(words.m_file),
                       [&](AccountFile& accounts, const std::string& hash) {
                           accounts.Add({words.m_name, role, hash});
                       });
}

void RemoveAccount(const AccountWords& words) {
    ChangeFile(words, [&](AccountFile& accounts) { accounts.Remove(words.m_name); });
}

void ChangePassword(const AccountWords& words) {
    ChangeWithPassword(words, AccountFile::Read(words.m_file), [&](AccountFile& accounts, const std::string& hash) {
        accounts.SetPassword(words.m_name, hash);
    });
}

std::string AccountJson(const AccountFile& accounts, const std::string& file) {
    auto list = nlohmann::ordered_json::array();
    for (const Account& account : accounts.All())
        list.push_back({{"name", account.m_name}, {"role", RoleName(account.m_role)}, {"locked", account.m_locked}});
    return nlohmann::ordered_json({{"op", "account list"}, {"file", file}, {"accounts", list}}).dump() + "\n";
}

std::string AccountTable(const AccountFile& accounts) {
    bm_dev::TableRows rows = {{{"account"}, {"role"}, {"locked"}}};
    for (const Account& account : accounts.All())
        rows.push_back({{account.m_name}, {std::string(RoleName(account.m_role))}, {account.m_locked ? "yes" : "no"}});
    return bm_dev::FormatTable(rows, false, "  ");
}

void ListAccounts(const AccountWords& words) {
    const AccountFile accounts = AccountFile::Read(words.m_file);
    WriteAll(STDOUT_FILENO, words.m_json ? AccountJson(accounts, words.m_file) : AccountTable(accounts));
}

/// What each command does, and which of the words it has.
struct AccountKind {
    const char* m_name;
    const char* m_summary;
    bool m_hasName;
    bool m_hasRole;
    bool m_hasPassword;
    void (*m_run)(const AccountWords& words);
};

constexpr AccountKind AccountKinds[] = {
    {"add", "add an account", true, true, true, AddAccount},
    {"remove", "remove an account", true, false, false, RemoveAccount},
    {"list", "show the accounts", false, false, false, ListAccounts},
    {"passwd", "give an account another password", true, false, true, ChangePassword},
};

const AccountKind* KindGiven(const CLI::App& app) {
    for (const AccountKind& kind : AccountKinds) {
        if (app.got_subcommand(kind.m_name)) return &kind;
    }
    return nullptr;
}

void AddKinds(CLI::App& app, AccountWords& words) {
    for (const AccountKind& kind : AccountKinds) {
        CLI::App& command = *app.add_subcommand(kind.m_name, kind.m_summary);
        if (kind.m_hasName) command.add_option("NAME", words.m_name, "the account")->required();
        if (kind.m_hasRole) command.add_option("--role", words.m_role, AccountRoles())->required();
        if (kind.m_hasPassword)
            command.add_option(
                "--password-file", words.m_passwordFile,
                "the password is this file's only line, '-': standard input's; default: it is asked for");
        if (!kind.m_hasName) command.add_flag("--json", words.m_json, "one JSON object");
        command.add_option("--accounts", words.m_file, "the file of the accounts")->capture_default_str();
    }
}

} // namespace

int AccountCommand(const std::vector<std::string>& words) {
    AccountWords given;
    CLI::App app("The accounts of the web door.", "bmhost-web account");
    app.require_subcommand(1);
    AddKinds(app, given);
    try {
        app.parse(std::vector<std::string>(words.rbegin(), words.rend()));
    } catch (const CLI::CallForHelp&) {
        WriteAll(STDOUT_FILENO, app.help());
        return ExitAllOk;
    } catch (const CLI::ParseError& error) {
        throw UsageError(std::string("account: ") + error.what());
    }
    const AccountKind& kind = *KindGiven(app);
    const std::string operation = std::string("account ") + kind.m_name + ": ";
    try {
        if (kind.m_hasName) CheckAccountName(given.m_name);
        kind.m_run(given);
    } catch (const UsageError& error) {
        throw UsageError(operation + error.what());
    } catch (const std::runtime_error& error) {
        throw std::runtime_error(operation + error.what());
    }
    return ExitAllOk;
}

} // namespace bmhost
