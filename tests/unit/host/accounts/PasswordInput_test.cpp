// A new password from a file. tests/integration/test_account.py types one at a terminal.
#include "host/accounts/PasswordInput.h"

#include "host/UsageError.h"
#include "host/accounts/AccountParts.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace bmhost;
using testing::HasSubstr;

class PasswordInputTest : public testing::Test {
protected:
    std::string Of(const std::string& text) {
        WriteFile(m_path, text);
        return PasswordFor("anna", m_path);
    }

    TestFolder m_folder;
    const std::string m_path = m_folder.Path() + "/password";
};

TEST_F(PasswordInputTest, IsTheOnlyLineOfAFile) {
    for (const char* text : {"correct horse", "correct horse\n", "correct horse\r\n"})
        EXPECT_EQ("correct horse", Of(text));
    EXPECT_EQ("  blanks are kept  ", Of("  blanks are kept  \n"));
    EXPECT_EQ(std::string(256, 'x'), Of(std::string(256, 'x') + "\n"));
}

TEST_F(PasswordInputTest, OfSeveralLinesIsNone) {
    EXPECT_EQ("--password-file " + m_path + ": it has more than one line", ErrorOf([this] { Of("correct\nhorse\n"); }));
}

TEST_F(PasswordInputTest, ThatIsTooShortOrTooLongIsNotMeant) {
    EXPECT_THAT(UsageErrorOf([this] { Of("1234567\n"); }), HasSubstr("at least 8"));
    EXPECT_THAT(UsageErrorOf([this] { Of(""); }), HasSubstr("at least 8"));
    EXPECT_THAT(UsageErrorOf([this] { Of(std::string(257, 'x')); }), HasSubstr("at most 256"));
    EXPECT_THAT(UsageErrorOf([] { PasswordFor("anna", "/dev/zero"); }), HasSubstr("at most 256"));
    EXPECT_THAT(UsageErrorOf([this] { Of(std::string("1234\0005678", 9)); }), HasSubstr("control character"));
}

TEST_F(PasswordInputTest, FileThatCannotBeReadIsNamed) {
    EXPECT_EQ("--password-file " + m_path + ": No such file or directory",
              ErrorOf([this] { PasswordFor("anna", m_path); }));
    EXPECT_EQ("--password-file " + m_folder.Path() + ": Is a directory",
              ErrorOf([this] { PasswordFor("anna", m_folder.Path()); }));
}

} // namespace
