// `bmhost account`: the accounts of the web door, which a program of its own keeps.
#include "host/context/Context.h"
#include "host/context/OtherProgram.h"
#include "host/words/Commands.h"

#include <string>
#include <vector>

namespace bmhost {

namespace {

struct AccountWords {
    std::string m_name;
    std::string m_role;
    std::string m_passwordFile;
    std::string m_accounts;
};

constexpr const char* FileText =
    "The file is /etc/bmhost/accounts unless --accounts names another; root may write to it.\n";
constexpr const char* PasswordText =
    "The password is asked for twice at the terminal, which does not show it; --password-file takes the only line\n"
    "of a file, or of standard input with '-'. It has 8 to 256 bytes: shorter ones are soon guessed.\n";

const OptionText RoleOption{"--role",
                            "ROLE",
                            "ReadOnly looks, Operator gives orders too, Administrator may do everything",
                            {"ReadOnly", "Operator", "Administrator"},
                            true};
const OptionText PasswordOption{"--password-file", "FILE", "the file with the password, '-' for standard input",
                                Choices::Kind::File};
const OptionText FileOption{"--accounts", "FILE", "the file of the accounts", Choices::Kind::File};

// The other program checks what was typed.
[[noreturn]] void Become(const std::string& command, const GlobalOptions& globals, const AccountWords& own) {
    std::vector<std::string> words = {"account", command};
    const auto add = [&words](const char* option, const std::string& value) {
        if (!value.empty()) words.push_back(option + ("=" + value));
    };
    add("--role", own.m_role);
    add("--password-file", own.m_passwordFile);
    add("--accounts", own.m_accounts);
    if (command == "list" && globals.m_json) words.emplace_back("--json");
    if (command != "list") words.insert(words.end(), {"--", own.m_name});
    BecomeProgram("bmhost-web", words);
}

void RunIt(Command& command, const std::shared_ptr<AccountWords>& words) {
    command.OnlyHere().Run(
        [words, name = command.Name()](Context& context) -> bool { Become(name, context.Globals(), *words); });
}

} // namespace

void AddAccount(Commands& commands) {
    Command& family = commands.Add("account", "the accounts of the web door", OnCommandLine);

    Command& add = family.Add("add", "add an account");
    const auto added = add.Own<AccountWords>();
    add.Word("NAME", added->m_name)
        .Option(RoleOption, added->m_role)
        .Option(PasswordOption, added->m_passwordFile)
        .Option(FileOption, added->m_accounts)
        .WithoutTimeLimit()
        .Details(std::string(PasswordText) +
                 "NAME has 1 to 32 of A-Z, a-z, 0-9, '.', '_' and '-'. Makes the file if it is not there.\n" + FileText)
        .Example("bmhost account add bob --role Operator --password-file password --accounts accounts");
    RunIt(add, added);

    Command& remove = family.Add("remove", "remove an account");
    const auto removed = remove.Own<AccountWords>();
    remove.Word("NAME", removed->m_name).Option(FileOption, removed->m_accounts);
    remove.Details(FileText).Example("bmhost account remove anna --accounts accounts");
    RunIt(remove, removed);

    Command& list = family.Add("list", "show the accounts with their roles");
    const auto listed = list.Own<AccountWords>();
    list.Option(FileOption, listed->m_accounts).Details(FileText).Example("bmhost account list --accounts accounts");
    RunIt(list, listed);

    Command& passwd = family.Add("passwd", "give an account another password");
    const auto changed = passwd.Own<AccountWords>();
    passwd.Word("NAME", changed->m_name)
        .Option(PasswordOption, changed->m_passwordFile)
        .Option(FileOption, changed->m_accounts)
        .WithoutTimeLimit()
        .Details(std::string(PasswordText) + FileText)
        .Example("bmhost account passwd anna --password-file password --accounts accounts");
    RunIt(passwd, changed);
}

} // namespace bmhost
