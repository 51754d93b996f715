// The accounts in their file.
#include "host/accounts/AccountFile.h"

#include "host/accounts/AccountParts.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

namespace {

using namespace bmhost;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

class AccountFileTest : public testing::Test {
protected:
    std::string ErrorOfText(const std::string& text) {
        WriteFile(m_path, text);
        return ErrorOf([this] { AccountFile::Read(m_path); });
    }
    void Add(const Account& account) {
        AccountFile::Update(m_path, [&](AccountFile& accounts) { accounts.Add(account); });
    }

    TestFolder m_folder;
    const std::string m_path = m_folder.Path() + "/accounts";
};

TEST_F(AccountFileTest, HasALineForEachAccount) {
    Add({"anna", Role::Operator, SomeHash('a')});
    Add({"bob.b-2_x", Role::Administrator, SomeHash('b'), true});
    EXPECT_EQ("anna:Operator:" + SomeHash('a') + "\nbob.b-2_x:Administrator:" + SomeHash('b') + ":locked\n",
              TextIn(m_path));
    EXPECT_THAT(AccountFile::Read(m_path).All(),
                ElementsAre(Account{"anna", Role::Operator, SomeHash('a')},
                            Account{"bob.b-2_x", Role::Administrator, SomeHash('b'), true}));
}

TEST_F(AccountFileTest, ChangesAnAccountAndLeavesTheOthers) {
    Add(SomeAccount("anna"));
    Add(SomeAccount("bob"));
    Add(SomeAccount("carl"));
    AccountFile::Update(m_path, [](AccountFile& accounts) {
        accounts.Remove("bob");
        accounts.SetPassword("carl", SomeHash('c'));
        accounts.SetRole("anna", Role::ReadOnly);
    });
    EXPECT_THAT(AccountFile::Read(m_path).All(), ElementsAre(Account{"anna", Role::ReadOnly, SomeHash()},
                                                             Account{"carl", Role::Operator, SomeHash('c')}));
}

TEST_F(AccountFileTest, FindsByTheExactName) {
    const AccountFile accounts({SomeAccount("anna")});
    ASSERT_NE(nullptr, accounts.Find("anna"));
    EXPECT_EQ("anna", accounts.Find("anna")->m_name);
    EXPECT_EQ(nullptr, accounts.Find("Anna"));
    EXPECT_EQ(nullptr, accounts.Find(""));
}

TEST_F(AccountFileTest, SaysWhatCannotBeChanged) {
    AccountFile accounts({SomeAccount("anna")});
    EXPECT_EQ("account anna is there already", ErrorOf([&] { accounts.Add(SomeAccount("anna")); }));
    EXPECT_EQ("there is no account bob", ErrorOf([&] { accounts.Remove("bob"); }));
    EXPECT_EQ("there is no account bob", ErrorOf([&] { accounts.SetPassword("bob", SomeHash()); }));
    EXPECT_EQ("there is no account bob", ErrorOf([&] { accounts.SetRole("bob", Role::Operator); }));
}

TEST_F(AccountFileTest, NamesHaveFewLetters) {
    for (const char* name : {"a", "Anna", "a.b", "a_b", "a-b", "0", "12345678901234567890123456789012"})
        EXPECT_TRUE(IsAccountName(name)) << name;
    for (const char* name : {"", "-a", "a b", "a:b", "a/b", "a\nb", "\xC3\xA4", "123456789012345678901234567890123"})
        EXPECT_FALSE(IsAccountName(name)) << name;
}

TEST_F(AccountFileTest, NoFileIsAnErrorOrNoAccounts) {
    EXPECT_EQ(m_path + ": No such file or directory", ErrorOf([this] { AccountFile::Read(m_path); }));
    EXPECT_TRUE(AccountFile::ReadIfThere(m_path).All().empty());
    WriteFile(m_path, "");
    EXPECT_TRUE(AccountFile::Read(m_path).All().empty());
}

TEST_F(AccountFileTest, OddLineIsNamedAndRefusesTheWholeFile) {
    const std::string good = "anna:Operator:" + SomeHash() + "\n";
    const auto at2 = [this](const std::string& reason) { return m_path + ":2: " + reason; };
    const std::string fields = "expected NAME:ROLE:HASH, or NAME:ROLE:HASH:locked";
    EXPECT_EQ(at2(fields), ErrorOfText(good + "\n"));
    EXPECT_EQ(at2(fields), ErrorOfText(good + "# a remark\n"));
    EXPECT_EQ(at2(fields), ErrorOfText(good + "bob:Operator\n"));
    EXPECT_EQ(at2(fields), ErrorOfText(good + "bob:Operator:" + SomeHash() + ":locked:\n"));
    EXPECT_EQ(at2("its name is none: expected 1 to 32 of A-Z, a-z, 0-9, '.', '_' and '-'"),
              ErrorOfText(good + "b b:Operator:" + SomeHash() + "\n"));
    EXPECT_EQ(at2("its role is none of ReadOnly, Operator and Administrator"),
              ErrorOfText(good + "bob:root:" + SomeHash() + "\n"));
    EXPECT_EQ(at2("its password is no whole hash of yescrypt with the cost that bmhost gives it"),
              ErrorOfText(good + "bob:Operator:geheim99\n"));
    EXPECT_EQ(at2("after the hash, expected 'locked' or nothing"),
              ErrorOfText(good + "bob:Operator:" + SomeHash() + ":no\n"));
    EXPECT_EQ(at2("account anna is there already"), ErrorOfText(good + good));
    EXPECT_EQ("no error", ErrorOfText(good));
}

TEST_F(AccountFileTest, HalfWrittenFileIsRefusedWhereverItEnds) {
    const std::string whole = "anna:Operator:" + SomeHash() + ":locked\nbob:Administrator:" + SomeHash() + "\n";
    const std::size_t firstLine = whole.find('\n') + 1;
    for (std::size_t size = 1; size < whole.size(); ++size) {
        if (size == firstLine) continue;
        EXPECT_THAT(ErrorOfText(whole.substr(0, size)),
                    HasSubstr(size < firstLine ? ":1: the line has no end" : ":2: the line has no end"))
            << size;
    }
}

TEST_F(AccountFileTest, ReasonsDoNotRepeatAHash) {
    EXPECT_THAT(ErrorOfText("anna:root:" + SomeHash() + "\n"), Not(HasSubstr("aaaa")));
}

TEST_F(AccountFileTest, OddFileIsNeverOverwritten) {
    for (const std::string& text :
         {std::string("anna:Operator"), std::string("something else\n"), std::string(2'000'000, 'x')}) {
        WriteFile(m_path, text);
        EXPECT_THAT(ErrorOf([this] { Add(SomeAccount("bob")); }), HasSubstr(m_path + ":"));
        EXPECT_EQ(text, TextIn(m_path));
    }
}

TEST_F(AccountFileTest, ChangeThatFailsWritesNothing) {
    Add(SomeAccount("anna"));
    EXPECT_EQ("there is no account carl", ErrorOf([this] {
                  AccountFile::Update(m_path, [](AccountFile& accounts) {
                      accounts.Add(SomeAccount("bob"));
                      accounts.Remove("carl");
                  });
              }));
    EXPECT_THAT(AccountFile::Read(m_path).All(), ElementsAre(SomeAccount("anna")));
}

TEST_F(AccountFileTest, WritersAtOnceLoseNothing) {
    constexpr int writers = 4;
    constexpr int each = 25;
    std::vector<std::thread> threads;
    for (int writer = 0; writer < writers; ++writer) {
        threads.emplace_back([this, writer] {
            for (int i = 0; i < each; ++i)
                Add(SomeAccount("a" + std::to_string(writer) + "." + std::to_string(i)));
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(static_cast<std::size_t>(writers * each), AccountFile::Read(m_path).All().size());
}

// Who reads meanwhile sees the old file or the new one.
TEST_F(AccountFileTest, ReadersSeeWholeFilesWhileItChanges) {
    Add(SomeAccount("anna"));
    std::atomic<bool> done = false;
    std::thread writer([&] {
        for (int i = 0; i < 100; ++i)
            Add(SomeAccount("b" + std::to_string(i)));
        done = true;
    });
    std::size_t seen = 0;
    while (!done) {
        const std::size_t now = AccountFile::Read(m_path).All().size();
        EXPECT_GE(now, seen);
        seen = now;
    }
    writer.join();
    EXPECT_EQ(101U, AccountFile::Read(m_path).All().size());
}

} // namespace
