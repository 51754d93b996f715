// Passwords and their hashes.
#include "host/accounts/Passwords.h"

#include "host/accounts/AccountParts.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace bmhost;
using testing::HasSubstr;
using testing::StartsWith;

TEST(Passwords, MatchTheirOwnHashOnly) {
    const std::string hash = HashOfPassword("correct horse");
    EXPECT_THAT(hash, StartsWith("$y$j9T$"));
    EXPECT_TRUE(IsPasswordHash(hash));
    EXPECT_TRUE(PasswordMatches("correct horse", hash));
    EXPECT_FALSE(PasswordMatches("correct hors", hash));
    EXPECT_FALSE(PasswordMatches("", hash));
}

TEST(Passwords, HaveASaltOfTheirOwn) {
    EXPECT_NE(HashOfPassword("correct horse"), HashOfPassword("correct horse"));
}

TEST(Passwords, NobodysHashLooksLikeAnyOtherAndIsWorkedOnLikeAnyOther) {
    EXPECT_TRUE(IsPasswordHash(HashOfNobody()));
    EXPECT_EQ(HashOfPassword("correct horse").size(), HashOfNobody().size());
    EXPECT_FALSE(PasswordMatches("", HashOfNobody()));
    EXPECT_FALSE(PasswordMatches("correct horse", HashOfNobody()));
}

TEST(Passwords, AHashThatIsNotWholeIsNone) {
    const std::string hash = SomeHash();
    EXPECT_TRUE(IsPasswordHash(hash));
    for (const std::string& other :
         {std::string(), hash.substr(0, hash.size() - 1), hash + "a", "$6$" + hash.substr(3),
          "$y$j75$" + hash.substr(7), std::string("$y$j9T$$") + std::string(43, 'a'),
          hash.substr(0, hash.size() - 1) + ":", "$y$j9T$" + std::string(22, '!') + "$" + std::string(43, 'a')})
        EXPECT_FALSE(IsPasswordHash(other)) << other;
    EXPECT_FALSE(PasswordMatches("correct horse", "$y$"));
    EXPECT_FALSE(PasswordMatches("*0", "*0"));
}

TEST(Passwords, HaveEightToTwoHundredFiftySixBytesAndNoControlCharacter) {
    EXPECT_NO_THROW(CheckPassword("12345678"));
    EXPECT_NO_THROW(CheckPassword(std::string(256, 'x')));
    EXPECT_NO_THROW(CheckPassword("p\xC3\xA4ssw\xC3\xB6rd: ok"));
    EXPECT_EQ("the password has 7 bytes: at least 8 are expected, since shorter ones are soon guessed",
              ErrorOf([] { CheckPassword("1234567"); }));
    EXPECT_EQ("the password has 257 bytes: at most 256 are expected",
              ErrorOf([] { CheckPassword(std::string(257, 'x')); }));
    for (const std::string& password :
         {std::string("1234\n5678"), std::string("1234\0005678", 9), std::string("12345678\x7F")})
        EXPECT_THAT(ErrorOf([&] { CheckPassword(password); }), HasSubstr("control character"));
}

TEST(Passwords, TheLongestOneIsReadToItsEnd) {
    const std::string password(LongestPassword, 'x');
    const std::string hash = HashOfPassword(password);
    EXPECT_TRUE(PasswordMatches(password, hash));
    EXPECT_FALSE(PasswordMatches(password.substr(1), hash));
}

} // namespace
