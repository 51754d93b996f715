// Who comes in by a password, and what the others learn.
#include "host/accounts/PasswordCheck.h"

#include "host/accounts/AccountParts.h"
#include "host/accounts/Passwords.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <vector>

namespace {

using namespace bmhost;
using testing::ElementsAre;

AccountFile TwoAccounts() {
    return AccountFile({SomeAccount("anna"), {"bob", Role::Administrator, SomeHash('b'), true}});
}

TEST(PasswordCheck, LetsInWhoHasThePassword) {
    const AccountFile accounts({{"anna", Role::ReadOnly, HashOfPassword("correct horse")}});
    const PasswordCheck check;
    const auto account = check.Check(accounts, "anna", "correct horse");
    ASSERT_TRUE(account);
    EXPECT_EQ(Role::ReadOnly, account->m_role);
    EXPECT_FALSE(check.Check(accounts, "anna", "correct cow"));
    EXPECT_FALSE(check.Check(accounts, "Anna", "correct horse"));
}

// The time of a check is that of its one comparison, which is the same for all hashes of one cost.
TEST(PasswordCheck, ComparesOnceWhoeverAsksAndWhateverFor) {
    std::vector<std::string> hashes;
    const PasswordCheck check([&](const std::string&, const std::string& hash) {
        hashes.push_back(hash);
        return false;
    });
    check.Check(TwoAccounts(), "anna", "wrong password");
    check.Check(TwoAccounts(), "nobody", "wrong password");
    check.Check(TwoAccounts(), "bob", "wrong password");
    check.Check(TwoAccounts(), "anna", std::string(100'000, 'x'));
    check.Check(TwoAccounts(), "anna", "");
    EXPECT_THAT(hashes, ElementsAre(SomeHash(), HashOfNobody(), SomeHash('b'), SomeHash(), SomeHash()));
}

TEST(PasswordCheck, LetsNobodyInByAnAccountThatIsLockedOrNotThere) {
    const PasswordCheck check([](const std::string&, const std::string&) { return true; });
    EXPECT_TRUE(check.Check(TwoAccounts(), "anna", "right password"));
    EXPECT_FALSE(check.Check(TwoAccounts(), "bob", "right password"));
    EXPECT_FALSE(check.Check(TwoAccounts(), "nobody", "right password"));
    EXPECT_FALSE(check.Check(TwoAccounts(), "", "right password"));
}

// libcrypt would read it up to the zero byte.
TEST(PasswordCheck, ZeroByteDoesNotEndAPassword) {
    const AccountFile accounts({{"anna", Role::ReadOnly, HashOfPassword("correct horse")}});
    EXPECT_FALSE(PasswordCheck().Check(accounts, "anna", std::string("correct horse\0stable", 20)));
}

TEST(PasswordCheck, PasswordThatIsTooLongIsNotWorkedOn) {
    std::vector<std::string> passwords;
    const PasswordCheck check([&](const std::string& password, const std::string&) {
        passwords.push_back(password);
        return true;
    });
    EXPECT_FALSE(check.Check(TwoAccounts(), "anna", std::string(LongestPassword + 1, 'x')));
    EXPECT_TRUE(check.Check(TwoAccounts(), "anna", std::string(LongestPassword, 'x')));
    EXPECT_THAT(passwords, ElementsAre("", std::string(LongestPassword, 'x')));
}

} // namespace
