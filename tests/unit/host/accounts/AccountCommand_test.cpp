// `bmhost-web account`: what its words do to the file.
#include "host/accounts/AccountCommand.h"

#include "host/UsageError.h"
#include "host/accounts/AccountParts.h"
#include "host/accounts/PasswordCheck.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

namespace {

using namespace bmhost;
using testing::AllOf;
using testing::HasSubstr;
using testing::StartsWith;

class AccountCommandTest : public testing::Test {
protected:
    AccountCommandTest() { WriteFile(m_password, "correct horse\n"); }

    int Run(std::vector<std::string> words) const {
        words.insert(words.end(), {"--accounts", m_accounts});
        return AccountCommand(words);
    }
    int Add(const std::string& name, const std::string& role = "Operator") const {
        return Run({"add", name, "--role", role, "--password-file", m_password});
    }
    bool IsPassword(const std::string& password) const {
        return PasswordCheck().Check(AccountFile::Read(m_accounts), "anna", password).has_value();
    }
    std::string Listed(std::vector<std::string> words) const {
        words.insert(words.begin(), "list");
        testing::internal::CaptureStdout();
        EXPECT_EQ(0, Run(words));
        return testing::internal::GetCapturedStdout();
    }

    TestFolder m_folder;
    const std::string m_accounts = m_folder.Path() + "/accounts";
    const std::string m_password = m_folder.Path() + "/password";
};

TEST_F(AccountCommandTest, AddsAnAccountWhosePasswordIsRight) {
    EXPECT_EQ(0, Add("anna", "Administrator"));
    EXPECT_TRUE(IsPassword("correct horse"));
    EXPECT_FALSE(IsPassword("correct horse\n"));
    EXPECT_EQ(Role::Administrator, AccountFile::Read(m_accounts).Find("anna")->m_role);
}

TEST_F(AccountCommandTest, ChangesAPasswordAndNothingElse) {
    Add("anna", "ReadOnly");
    Add("bob");
    const Account before = *AccountFile::Read(m_accounts).Find("bob");
    WriteFile(m_password, "another horse\n");
    EXPECT_EQ(0, Run({"passwd", "anna", "--password-file", m_password}));
    EXPECT_TRUE(IsPassword("another horse"));
    EXPECT_FALSE(IsPassword("correct horse"));
    EXPECT_EQ(Role::ReadOnly, AccountFile::Read(m_accounts).Find("anna")->m_role);
    EXPECT_EQ(before, *AccountFile::Read(m_accounts).Find("bob"));
}

TEST_F(AccountCommandTest, RemovesAnAccount) {
    Add("anna");
    EXPECT_EQ(0, Run({"remove", "anna"}));
    EXPECT_TRUE(AccountFile::Read(m_accounts).All().empty());
}

TEST_F(AccountCommandTest, ListsThemWithoutTheirHashes) {
    AccountFile::Update(m_accounts, [](AccountFile& accounts) {
        accounts.Add(SomeAccount("anna"));
        accounts.Add({"bob", Role::ReadOnly, SomeHash(), true});
    });
    EXPECT_EQ("  account  role      locked\n"
              "  anna     Operator  no\n"
              "  bob      ReadOnly  yes\n",
              Listed({}));
    EXPECT_EQ(R"({"op":"account list","file":")" + m_accounts +
                  R"(","accounts":[{"name":"anna","role":"Operator","locked":false},)"
                  R"({"name":"bob","role":"ReadOnly","locked":true}]})"
                  "\n",
              Listed({"--json"}));
}

TEST_F(AccountCommandTest, NamesOperationAndReasonOfWhatFails) {
    Add("anna");
    EXPECT_EQ("account add: " + m_accounts + ": account anna is there already", ErrorOf([this] { Add("anna"); }));
    EXPECT_EQ("account remove: " + m_accounts + ": there is no account bob", ErrorOf([this] {
                  Run({"remove", "bob"});
              }));
    EXPECT_EQ("account passwd: " + m_accounts + ": there is no account bob", ErrorOf([this] {
                  Run({"passwd", "bob"});
              }));
    WriteFile(m_accounts, "odd\n");
    EXPECT_THAT(ErrorOf([this] { Run({"list"}); }), StartsWith("account list: " + m_accounts + ":1: expected NAME:"));
    EXPECT_THAT(ErrorOf([this] { Run({"remove", "anna"}); }), StartsWith("account remove: " + m_accounts + ":1: "));
}

TEST_F(AccountCommandTest, RefusesWordsThatCannotBeMeant) {
    EXPECT_THAT(UsageErrorOf([this] { Add("an:na"); }), StartsWith("account add: NAME 'an:na': expected 1 to 32 of"));
    EXPECT_EQ("account add: --role 'Root': expected one of ReadOnly, Operator, Administrator",
              UsageErrorOf([this] { Add("anna", "Root"); }));
    WriteFile(m_password, "short\n");
    EXPECT_THAT(UsageErrorOf([this] { Add("anna"); }), StartsWith("account add: the password has 5 bytes: at least 8"));
    EXPECT_THAT(UsageErrorOf([] { AccountCommand({}); }), StartsWith("account: "));
    EXPECT_THAT(UsageErrorOf([] { AccountCommand({"ad"}); }), StartsWith("account: "));
    EXPECT_THAT(UsageErrorOf([this] { Run({"add", "anna"}); }), AllOf(StartsWith("account: "), HasSubstr("--role")));
    EXPECT_FALSE(std::filesystem::exists(m_accounts));
}

} // namespace
